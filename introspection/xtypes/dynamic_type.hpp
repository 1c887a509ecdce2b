// The base of all run-time types. A type says how many bytes an instance takes, how to construct, copy, compare and
// destroy one in raw memory, and how to walk its inner structure. It owns no instance: an instance is a plain block of
// bytes, and every operation takes a pointer to it. Unless a type says otherwise, a block needs no alignment.
//
// Thread: types have no locks; once a type is complete, its const operations may run in many threads.
// Owner: types live behind std::shared_ptr or as values in their builder's hands, see type_reference.
#ifndef INTROSPECTION_XTYPES_DYNAMIC_TYPE_HPP
#define INTROSPECTION_XTYPES_DYNAMIC_TYPE_HPP

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "introspection/xtypes/annotation.hpp"
#include "introspection/xtypes/type_kind.hpp"
#include "introspection/xtypes/walking.hpp"
#include "qorcpp/export.hpp"
#include "qorcpp/instanceable.hpp"

namespace qor::introspection::xtypes {

// The result of dynamic_type::compatibility: 0 for equal, `incompatible`, or an OR of the others.
namespace compatibility_flag {
inline constexpr std::uint32_t signedness = 0x0001;
inline constexpr std::uint32_t instance_size = 0x0002;
inline constexpr std::uint32_t dimension = 0x0008;
inline constexpr std::uint32_t string_bound = 0x0010;
inline constexpr std::uint32_t member_name = 0x0020;
inline constexpr std::uint32_t member_count = 0x0040;
inline constexpr std::uint32_t needs_decoding = 0x0100;
inline constexpr std::uint32_t member_offset = 0x0200;
inline constexpr std::uint32_t structure_size = 0x0400;
inline constexpr std::uint32_t incompatible = 0xFFFFFFFF;
} // namespace compatibility_flag

class QORCPP_API dynamic_type : public instanceable, public std::enable_shared_from_this<dynamic_type> {
public:
    ~dynamic_type() override;

    // Bytes of one instance.
    virtual std::uint64_t instance_size() const = 0;
    // Puts a fresh instance into raw memory.
    virtual void construct(std::uint8_t* instance) const = 0;
    // Copies an instance of this very type.
    virtual void copy(std::uint8_t* destination, const std::uint8_t* source) const = 0;
    // Copies with conversion from an instance of `source_type`. Throws: std::runtime_error "cannot copy data ...".
    virtual void copy_from(std::uint8_t* destination, const std::uint8_t* source,
                           const dynamic_type& source_type) const = 0;
    // Moves an instance; the flag is handed down unchanged.
    virtual void move(std::uint8_t* destination, std::uint8_t* source, bool flag) const = 0;
    // Ends an instance.
    virtual void destroy(std::uint8_t* instance) const = 0;
    // True when equal.
    virtual bool compare(const std::uint8_t* left, const std::uint8_t* right) const = 0;

    // Walks an instance, with and without a path such as ".a.b[2]".
    virtual void walk_instance_named(const instance_node& node, const std::string& path,
                                     named_instance_visitor visitor) const = 0;
    virtual void walk_instance(const instance_node& node, instance_visitor visitor) const = 0;

    // How far `other` can stand in for this type: see compatibility_flag.
    virtual std::uint32_t compatibility(const dynamic_type& other) const = 0;

    // Walks the type; walk_path follows a dotted path through it.
    // Throws: std::runtime_error "invalid path fragment, 'FRAGMENT' is not member of type 'NAME'" (walk_path).
    virtual void walk_type_named(const type_node& node, const std::string& path, named_type_visitor visitor) const = 0;
    virtual void walk_path(const type_node& node, const std::string& path, path_visitor visitor) const = 0;
    virtual void walk_type(const type_node& node, type_visitor visitor) const = 0;

    // A deep copy with a self-reference of its own.
    virtual std::shared_ptr<dynamic_type> clone() const = 0;

    type_kind kind() const noexcept { return kind_; }
    const std::string& name() const noexcept { return name_; }
    // 64-bit FNV-1a of the name; a structure mixes in its members'.
    std::uint64_t name_hash() const noexcept { return name_hash_; }
    const std::vector<applied_annotation>& annotations() const noexcept { return annotations_; }

    // Appends, and returns this type.
    dynamic_type& add_annotation(const applied_annotation& annotation);

protected:
    dynamic_type(type_kind kind, std::string name);
    dynamic_type(const dynamic_type& other);
    dynamic_type(dynamic_type&& other) noexcept;
    dynamic_type& operator=(const dynamic_type& other);
    dynamic_type& operator=(dynamic_type&& other) noexcept;

    void set_name_hash(std::uint64_t value) noexcept { name_hash_ = value; }

    // The type itself, or what an alias stands for in the end.
    static const dynamic_type& resolve_alias(const dynamic_type& type);

private:
    type_kind kind_;
    std::string name_;
    std::uint64_t name_hash_;
    std::vector<applied_annotation> annotations_;
};

} // namespace qor::introspection::xtypes

#endif
