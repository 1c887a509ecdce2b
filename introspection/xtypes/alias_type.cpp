#include "introspection/xtypes/alias_type.hpp"

#include <utility>

namespace qor::introspection::xtypes {

alias_type::alias_type(std::string name, const dynamic_type& target)
    : dynamic_type(type_kind::alias, std::move(name)), target_(&target) {}

alias_type::alias_type(const alias_type& other) = default;
alias_type::~alias_type() = default;

std::uint64_t alias_type::instance_size() const {
    return target_->instance_size();
}

void alias_type::construct(std::uint8_t* instance) const {
    target_->construct(instance);
}

void alias_type::copy(std::uint8_t* destination, const std::uint8_t* source) const {
    target_->copy(destination, source);
}

void alias_type::copy_from(std::uint8_t* destination, const std::uint8_t* source,
                           const dynamic_type& source_type) const {
    target_->copy_from(destination, source, source_type);
}

void alias_type::move(std::uint8_t* destination, std::uint8_t* source, bool flag) const {
    target_->move(destination, source, flag);
}

void alias_type::destroy(std::uint8_t* instance) const {
    target_->destroy(instance);
}

bool alias_type::compare(const std::uint8_t* left, const std::uint8_t* right) const {
    return target_->compare(left, right);
}

void alias_type::decode(type_kind kind, std::uint8_t* destination, const std::uint8_t* source) const {
    target_->decode(kind, destination, source);
}

void alias_type::encode(type_kind kind, const std::uint8_t* source, std::uint8_t* destination) const {
    target_->encode(kind, source, destination);
}

void alias_type::walk_instance_named(const instance_node& node, const std::string& path,
                                     named_instance_visitor visitor) const {
    target_->walk_instance_named(node, path, std::move(visitor));
}

void alias_type::walk_instance(const instance_node& node, instance_visitor visitor) const {
    target_->walk_instance(node, std::move(visitor));
}

std::uint64_t alias_type::hash(const std::uint8_t* instance) const {
    return target_->hash(instance);
}

std::uint32_t alias_type::compatibility(const dynamic_type& other) const {
    return resolve_alias(*this).compatibility(other);
}

void alias_type::walk_type_named(const type_node& node, const std::string& path, named_type_visitor visitor) const {
    target_->walk_type_named(node, path, std::move(visitor));
}

void alias_type::walk_path(const type_node& node, const std::string& path, path_visitor visitor) const {
    target_->walk_path(node, path, std::move(visitor));
}

void alias_type::walk_type(const type_node& node, type_visitor visitor) const {
    target_->walk_type(node, std::move(visitor));
}

std::shared_ptr<dynamic_type> alias_type::clone() const {
    return std::make_shared<alias_type>(*this);
}

} // namespace qor::introspection::xtypes
