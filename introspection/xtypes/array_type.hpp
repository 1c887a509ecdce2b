// A fixed number of elements, one behind the other without gaps.
#ifndef INTROSPECTION_XTYPES_ARRAY_TYPE_HPP
#define INTROSPECTION_XTYPES_ARRAY_TYPE_HPP

#include <cstdint>

#include "introspection/xtypes/collection_type.hpp"

namespace qor::introspection::xtypes {

// Named "array_3_x" for three elements of type "x". Elements that are plain bytes are copied and compared in one block;
// signals count as such.
class QORCPP_API array_type final : public collection_type {
public:
    array_type(const dynamic_type& content, std::uint64_t dimension);
    array_type(const array_type& other);
    ~array_type() override;

    // The number of elements.
    std::uint64_t dimension() const noexcept { return dimension_; }

    std::uint64_t instance_size() const override;
    void construct(std::uint8_t* instance) const override;
    void copy(std::uint8_t* destination, const std::uint8_t* source) const override;
    // From arrays, and structures with one member; elements beyond the smaller dimension stay as they are.
    // Throws: std::runtime_error "cannot copy data from different types: from 'SOURCE' to 'NAME'".
    void copy_from(std::uint8_t* destination, const std::uint8_t* source,
                   const dynamic_type& source_type) const override;
    void move(std::uint8_t* destination, std::uint8_t* source, bool flag) const override;
    void destroy(std::uint8_t* instance) const override;
    bool compare(const std::uint8_t* left, const std::uint8_t* right) const override;
    void walk_instance_named(const instance_node& node, const std::string& path,
                             named_instance_visitor visitor) const override;
    void walk_instance(const instance_node& node, instance_visitor visitor) const override;
    std::uint32_t compatibility(const dynamic_type& other) const override;
    // Goes no deeper than the array itself.
    void walk_type_named(const type_node& node, const std::string& path, named_type_visitor visitor) const override;
    void walk_path(const type_node& node, const std::string& path, path_visitor visitor) const override;
    void walk_type(const type_node& node, type_visitor visitor) const override;
    std::shared_ptr<dynamic_type> clone() const override;

    const std::uint8_t* element_at(const std::uint8_t* instance, std::uint64_t index) const override;
    std::uint64_t element_count(const std::uint8_t* instance) const override;

private:
    bool is_block() const noexcept;

    std::uint64_t dimension_;
};

} // namespace qor::introspection::xtypes

#endif
