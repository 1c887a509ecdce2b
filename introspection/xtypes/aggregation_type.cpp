#include "introspection/xtypes/aggregation_type.hpp"

#include <stdexcept>
#include <utility>

#include "introspection/xtypes/checked_map.hpp"

namespace qor::introspection::xtypes {

member_record::member_record(std::string name, const dynamic_type* type) : name(std::move(name)), type(type) {}

aggregation_type::aggregation_type(type_kind kind, std::string name) : dynamic_type(kind, std::move(name)) {}
aggregation_type::aggregation_type(const aggregation_type& other) = default;
aggregation_type::aggregation_type(aggregation_type&& other) noexcept = default;
aggregation_type& aggregation_type::operator=(const aggregation_type& other) = default;
aggregation_type& aggregation_type::operator=(aggregation_type&& other) noexcept = default;
aggregation_type::~aggregation_type() = default;

bool aggregation_type::has_member(const std::string& name) const {
    return member_index_.count(name) != 0;
}

const member_record& aggregation_type::member(const std::string& name) const {
    if (!has_member(name)) {
        throw std::out_of_range("type '" + this->name() + "' doesn't have a member named '" + name + "'");
    }
    return members_[value_at(member_index_, name)];
}

const member_record& aggregation_type::member(std::uint64_t index) const {
    if (index >= members_.size()) {
        throw std::out_of_range("member(" + std::to_string(index) + ") is out of bounds");
    }
    return members_[index];
}

member_record& aggregation_type::add_member(member_record record) {
    if (has_member(record.name)) {
        throw std::runtime_error("type '" + name() + "' already have a member named '" + record.name + "'.");
    }
    if (!record.type) {
        throw std::invalid_argument("argument 'type' was not initialized");
    }
    members_.push_back(std::move(record));
    try {
        member_index_.emplace(members_.back().name, members_.size() - 1);
    } catch (...) {
        members_.pop_back();
        throw;
    }
    // The hash of the name with those of the member types mixed in, in order.
    std::uint64_t hash = name_hash();
    hash_combine(hash, members_.back().type->name_hash());
    set_name_hash(hash);
    return members_.back();
}

void aggregation_type::set_parent(const aggregation_type& parent) {
    if (parent_) {
        throw std::logic_error("only one parent is allowed");
    }
    if (!members_.empty()) {
        throw std::logic_error("cannot set parent to a type with already defined members");
    }
    parent_ = type_reference(&parent);
}

} // namespace qor::introspection::xtypes
