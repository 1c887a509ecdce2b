// Strings: an instance is a std::string that lives in the block.
#ifndef INTROSPECTION_XTYPES_STRING_TYPE_HPP
#define INTROSPECTION_XTYPES_STRING_TYPE_HPP

#include <cstdint>
#include <string_view>

#include "introspection/xtypes/collection_type.hpp"

namespace qor::introspection::xtypes {

struct string_type_name {
    static constexpr std::string_view value = "std::string";
};

// Named "std::string", or "std::string_3" with a bound of 3. The content type is primitive_type<char>.
// Requires: blocks aligned like std::string.
template<typename Char, std::uint32_t Kind, typename Name>
class QORCPP_API basic_string_type final : public mutable_collection_type {
public:
    explicit basic_string_type(std::uint64_t bound);
    basic_string_type(const basic_string_type& other);
    ~basic_string_type() override;

    // 32, with every standard library.
    std::uint64_t instance_size() const override;
    // An empty string with room for `bound` characters.
    void construct(std::uint8_t* instance) const override;
    // The destination is raw memory; what exceeds the bound is cut.
    void copy(std::uint8_t* destination, const std::uint8_t* source) const override;
    // From strings, and structures with one member.
    // Throws: std::runtime_error "cannot copy data from different types: from 'SOURCE' to 'NAME'".
    void copy_from(std::uint8_t* destination, const std::uint8_t* source,
                   const dynamic_type& source_type) const override;
    // The destination is raw memory.
    void move(std::uint8_t* destination, std::uint8_t* source, bool flag) const override;
    // Releases the buffer and leaves an empty string.
    void destroy(std::uint8_t* instance) const override;
    bool compare(const std::uint8_t* left, const std::uint8_t* right) const override;
    void walk_instance_named(const instance_node& node, const std::string& path,
                             named_instance_visitor visitor) const override;
    void walk_instance(const instance_node& node, instance_visitor visitor) const override;
    // 64-bit FNV-1a of the characters.
    std::uint64_t hash(const std::uint8_t* instance) const override;
    std::uint32_t compatibility(const dynamic_type& other) const override;
    void walk_type_named(const type_node& node, const std::string& path, named_type_visitor visitor) const override;
    void walk_path(const type_node& node, const std::string& path, path_visitor visitor) const override;
    void walk_type(const type_node& node, type_visitor visitor) const override;
    std::shared_ptr<dynamic_type> clone() const override;

    const std::uint8_t* element_at(const std::uint8_t* instance, std::uint64_t index) const override;
    std::uint64_t element_count(const std::uint8_t* instance) const override;
};

using string_type = basic_string_type<char, static_cast<std::uint32_t>(type_kind::string), string_type_name>;

extern template class QORCPP_API
    basic_string_type<char, static_cast<std::uint32_t>(type_kind::string), string_type_name>;

} // namespace qor::introspection::xtypes

#endif
