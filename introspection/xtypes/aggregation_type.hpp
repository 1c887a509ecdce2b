// Types with named members.
#ifndef INTROSPECTION_XTYPES_AGGREGATION_TYPE_HPP
#define INTROSPECTION_XTYPES_AGGREGATION_TYPE_HPP

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "introspection/xtypes/dynamic_type.hpp"

namespace qor::introspection::xtypes {

struct QORCPP_API member_record {
    // Holds `type` by the rules of type_reference: shares a primitive, clones everything else.
    member_record(std::string name, const dynamic_type* type);

    std::string name;
    type_reference type;
    // Free for whoever builds types: carried along, read by nothing here.
    std::int32_t id = -1;
    bool is_key = false;
    bool is_optional = false;
    // Bytes from the start of the structure.
    std::uint64_t offset = 0;
};

class QORCPP_API aggregation_type : public dynamic_type {
public:
    ~aggregation_type() override;

    // Null unless copied from a type that has one. Owner: this type.
    const dynamic_type* parent() const noexcept { return parent_.get(); }

    // In order of addition.
    const std::vector<member_record>& members() const noexcept { return members_; }

    bool has_member(const std::string& name) const;

    // Throws: std::out_of_range "type 'NAME' doesn't have a member named 'MEMBER'", "member(INDEX) is out of bounds".
    const member_record& member(const std::string& name) const;
    const member_record& member(std::uint64_t index) const;

    // Appends and returns the stored record, which stays valid until the next member is added.
    // Throws: std::runtime_error "type 'NAME' already have a member named 'MEMBER'.", std::invalid_argument
    // "argument 'type' was not initialized" for a record without type.
    member_record& add_member(member_record record);

protected:
    aggregation_type(type_kind kind, std::string name);
    aggregation_type(const aggregation_type& other);
    aggregation_type(aggregation_type&& other) noexcept;
    aggregation_type& operator=(const aggregation_type& other);
    aggregation_type& operator=(aggregation_type&& other) noexcept;

    // For types that inherit members, of which there are none yet.
    // Throws: std::logic_error "only one parent is allowed", "cannot set parent to a type with already defined
    // members".
    void set_parent(const aggregation_type& parent);

private:
    type_reference parent_;
    std::map<std::string, std::uint64_t> member_index_;
    std::vector<member_record> members_;
};

} // namespace qor::introspection::xtypes

#endif
