// Structures: members at fixed byte offsets. There may be gaps, and signals may overlap.
#ifndef INTROSPECTION_XTYPES_STRUCT_TYPE_HPP
#define INTROSPECTION_XTYPES_STRUCT_TYPE_HPP

#include <cstdint>
#include <string>

#include "introspection/xtypes/aggregation_type.hpp"

namespace qor::introspection::xtypes {

// Built empty, filled by add_member_at, then only read. Copies are deep.
class QORCPP_API struct_type : public aggregation_type {
public:
    explicit struct_type(std::string name);
    struct_type(const struct_type& other);
    struct_type(struct_type&& other) noexcept;
    struct_type& operator=(const struct_type& other);
    struct_type& operator=(struct_type&& other) noexcept;
    ~struct_type() override;

    // Adds a member at `offset`. The size of the structure becomes offset + extra + the member's size, also where that
    // makes it smaller: the member added last rules. With `check`, a member that is no signal must not begin before the
    // present end.
    // Throws: std::invalid_argument "invalid offset specified for structure 'NAME' member 'MEMBER', offset OFFSET is
    // less than current structure size SIZE", and what add_member throws.
    member_record& add_member_at(member_record record, std::uint64_t offset, std::uint64_t extra, bool check);

    // What instance_size gives. A builder that knows the size better than the last member sets it at the end.
    std::uint64_t memory_size() const noexcept { return memory_size_; }
    void set_memory_size(std::uint64_t size) noexcept { memory_size_ = size; }

    std::uint64_t instance_size() const override;
    void construct(std::uint8_t* instance) const override;
    void copy(std::uint8_t* destination, const std::uint8_t* source) const override;
    // Members are paired by position. A structure with one member hands primitives and structures on to it.
    // Throws: std::runtime_error "cannot copy data from different types: from 'SOURCE' to 'NAME'".
    void copy_from(std::uint8_t* destination, const std::uint8_t* source,
                   const dynamic_type& source_type) const override;
    void move(std::uint8_t* destination, std::uint8_t* source, bool flag) const override;
    // From the last member to the first.
    void destroy(std::uint8_t* instance) const override;
    bool compare(const std::uint8_t* left, const std::uint8_t* right) const override;
    void walk_instance_named(const instance_node& node, const std::string& path,
                             named_instance_visitor visitor) const override;
    void walk_instance(const instance_node& node, instance_visitor visitor) const override;
    // 0 for an empty structure.
    std::uint64_t hash(const std::uint8_t* instance) const override;
    std::uint32_t compatibility(const dynamic_type& other) const override;
    void walk_type_named(const type_node& node, const std::string& path, named_type_visitor visitor) const override;
    void walk_path(const type_node& node, const std::string& path, path_visitor visitor) const override;
    void walk_type(const type_node& node, type_visitor visitor) const override;
    std::shared_ptr<dynamic_type> clone() const override;

private:
    std::uint64_t memory_size_ = 0;
};

} // namespace qor::introspection::xtypes

#endif
