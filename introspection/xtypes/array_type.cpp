#include "introspection/xtypes/array_type.hpp"

#include <algorithm>
#include <cstring>

#include "introspection/xtypes/composite_source.hpp"

namespace qor::introspection::xtypes {

array_type::array_type(const dynamic_type& content, std::uint64_t dimension)
    : collection_type(type_kind::array, "array_" + std::to_string(dimension) + "_" + content.name(), content),
      dimension_(dimension) {}

array_type::array_type(const array_type& other) = default;
array_type::~array_type() = default;

bool array_type::is_block() const noexcept {
    return !has_flag(content_type().kind(), constructed_flag);
}

std::uint64_t array_type::instance_size() const {
    return dimension_ * content_type().instance_size();
}

void array_type::construct(std::uint8_t* instance) const {
    const std::uint64_t size = content_type().instance_size();
    for (std::uint64_t i = 0; i < dimension_; ++i) {
        content_type().construct(instance + i * size);
    }
}

void array_type::copy(std::uint8_t* destination, const std::uint8_t* source) const {
    if (dimension_ == 0) {
        return;
    }
    if (is_block()) {
        std::memcpy(destination, source, instance_size());
        return;
    }
    const std::uint64_t size = content_type().instance_size();
    for (std::uint64_t i = 0; i < dimension_; ++i) {
        content_type().copy(destination + i * size, source + i * size);
    }
}

void array_type::copy_from(std::uint8_t* destination, const std::uint8_t* source,
                           const dynamic_type& source_type) const {
    const dynamic_type* type = &resolve_alias(source_type);
    while (const dynamic_type* const member = only_member_type(*type)) {
        type = &resolve_alias(*member);
    }
    const auto* const other = type->kind() == type_kind::array ? dynamic_cast<const array_type*>(type) : nullptr;
    if (other == nullptr) {
        throw_different_types(*type, *this);
    }
    const std::uint64_t count = std::min(dimension_, other->dimension_);
    const std::uint64_t size = content_type().instance_size();
    const std::uint64_t other_size = other->content_type().instance_size();
    if (count == 0) {
        return;
    }
    if (is_block() && size == other_size) {
        std::memcpy(destination, source, count * size);
        return;
    }
    for (std::uint64_t i = 0; i < count; ++i) {
        content_type().copy_from(destination + i * size, source + i * other_size, other->content_type());
    }
}

void array_type::move(std::uint8_t* destination, std::uint8_t* source, bool flag) const {
    if (dimension_ == 0) {
        return;
    }
    if (is_block()) {
        std::memcpy(destination, source, instance_size());
        return;
    }
    const std::uint64_t size = content_type().instance_size();
    for (std::uint64_t i = 0; i < dimension_; ++i) {
        content_type().move(destination + i * size, source + i * size, flag);
    }
}

void array_type::destroy(std::uint8_t* instance) const {
    if (is_block()) {
        return;
    }
    const std::uint64_t size = content_type().instance_size();
    for (std::uint64_t i = dimension_; i > 0; --i) {
        content_type().destroy(instance + (i - 1) * size);
    }
}

bool array_type::compare(const std::uint8_t* left, const std::uint8_t* right) const {
    if (dimension_ == 0) {
        return true;
    }
    if (is_block()) {
        return std::memcmp(left, right, instance_size()) == 0;
    }
    const std::uint64_t size = content_type().instance_size();
    bool equal = true;
    for (std::uint64_t i = 0; i < dimension_; ++i) {
        // Every element is asked, as each may refuse to be compared.
        equal = content_type().compare(left + i * size, right + i * size) && equal;
    }
    return equal;
}

void array_type::walk_instance_named(const instance_node& node, const std::string& path,
                                     named_instance_visitor visitor) const {
    visitor(path, node);
    const std::uint64_t size = content_type().instance_size();
    for (std::uint64_t i = 0; i < dimension_; ++i) {
        const instance_node child{
            &node, &content_type(), node.instance + i * size, node.depth + 1, i, i + 1 == dimension_, nullptr};
        content_type().walk_instance_named(child, path + "[" + std::to_string(i) + "]", visitor);
    }
}

void array_type::walk_instance(const instance_node& node, instance_visitor visitor) const {
    visitor(node);
    const std::uint64_t size = content_type().instance_size();
    for (std::uint64_t i = 0; i < dimension_; ++i) {
        const instance_node child{
            &node, &content_type(), node.instance + i * size, node.depth + 1, i, i + 1 == dimension_, nullptr};
        content_type().walk_instance(child, visitor);
    }
}

std::uint32_t array_type::compatibility(const dynamic_type& other) const {
    const dynamic_type& type = resolve_alias(other);
    if (type.kind() == type_kind::structure) {
        return type.compatibility(*this);
    }
    const auto* const array = type.kind() == type_kind::array ? dynamic_cast<const array_type*>(&type) : nullptr;
    if (array == nullptr) {
        return compatibility_flag::incompatible;
    }
    const std::uint32_t flags = content_type().compatibility(array->content_type());
    return dimension_ != array->dimension_ ? flags | compatibility_flag::dimension : flags;
}

void array_type::walk_type_named(const type_node& node, const std::string& path, named_type_visitor visitor) const {
    visitor(path, node);
}

void array_type::walk_path(const type_node& node, const std::string& path, path_visitor visitor) const {
    visitor(node, path);
    const type_node child{&node, &content_type(), node.depth + 1, 0, nullptr, false};
    content_type().walk_path(child, path, visitor);
}

void array_type::walk_type(const type_node& node, type_visitor visitor) const {
    visitor(node);
    const type_node child{&node, &content_type(), node.depth + 1, 0, nullptr, false};
    content_type().walk_type(child, visitor);
}

std::shared_ptr<dynamic_type> array_type::clone() const {
    return std::make_shared<array_type>(*this);
}

const std::uint8_t* array_type::element_at(const std::uint8_t* instance, std::uint64_t index) const {
    return instance + index * content_type().instance_size();
}

std::uint64_t array_type::element_count(const std::uint8_t*) const {
    return dimension_;
}

} // namespace qor::introspection::xtypes
