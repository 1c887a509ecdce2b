// Primitive types: the parameters of annotations, the characters of strings, and what signals are copied into.
#ifndef INTROSPECTION_XTYPES_PRIMITIVE_TYPE_HPP
#define INTROSPECTION_XTYPES_PRIMITIVE_TYPE_HPP

#include <cstdint>
#include <memory>

#include "introspection/xtypes/dynamic_type.hpp"

namespace qor::introspection::xtypes {

// Instantiated for char, uint32_t and uint64_t.
template<typename T>
class QORCPP_API primitive_type final : public dynamic_type {
public:
    primitive_type(type_kind kind, std::string name);
    ~primitive_type() override;

    // The one object of the type, named like T; references made from it share it.
    static const std::shared_ptr<dynamic_type>& instance();

    std::uint64_t instance_size() const override;
    // Stores zero.
    void construct(std::uint8_t* instance) const override;
    void copy(std::uint8_t* destination, const std::uint8_t* source) const override;
    // Converts from primitives, signals, and structures with one member; reals are cut toward zero.
    // Throws: std::runtime_error "cannot copy data from type 'SOURCE' to type 'NAME'", "primitive dynamic data of an
    // unknown type: 'NAME'", and what decoding a signal throws.
    void copy_from(std::uint8_t* destination, const std::uint8_t* source,
                   const dynamic_type& source_type) const override;
    void move(std::uint8_t* destination, std::uint8_t* source, bool flag) const override;
    void destroy(std::uint8_t* instance) const override;
    bool compare(const std::uint8_t* left, const std::uint8_t* right) const override;
    // As copy, whatever the kind.
    void decode(type_kind kind, std::uint8_t* destination, const std::uint8_t* source) const override;
    void walk_instance_named(const instance_node& node, const std::string& path,
                             named_instance_visitor visitor) const override;
    void walk_instance(const instance_node& node, instance_visitor visitor) const override;
    std::uint32_t compatibility(const dynamic_type& other) const override;
    void walk_type_named(const type_node& node, const std::string& path, named_type_visitor visitor) const override;
    void walk_path(const type_node& node, const std::string& path, path_visitor visitor) const override;
    void walk_type(const type_node& node, type_visitor visitor) const override;
    // Annotations stay behind.
    std::shared_ptr<dynamic_type> clone() const override;
};

extern template class QORCPP_API primitive_type<char>;
extern template class QORCPP_API primitive_type<std::uint32_t>;
extern template class QORCPP_API primitive_type<std::uint64_t>;

} // namespace qor::introspection::xtypes

#endif
