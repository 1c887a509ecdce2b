// The kinds of types. A kind is a word of flags, and code tests flags as well as whole values:
//
//      bit 0x8000  constructed: an instance can't be treated as plain bytes
//      bit 0x4000  primitive
//      bit 0x2000  signal: added to the kind of the value that the signal presents, so 0x6006 presents an int32
//      bit 0x0400  enumeration
//      bit 0x0080  unsigned
#ifndef INTROSPECTION_XTYPES_TYPE_KIND_HPP
#define INTROSPECTION_XTYPES_TYPE_KIND_HPP

#include <cstdint>
#include <optional>
#include <string_view>

#include "qorcpp/export.hpp"

namespace qor::introspection::xtypes {

enum class type_kind : std::uint32_t {
    boolean = 0x4001,
    int8 = 0x4002,
    uint8 = 0x4083,
    int16 = 0x4004,
    uint16 = 0x4085,
    int32 = 0x4006,
    uint32 = 0x4087,
    int64 = 0x4008,
    uint64 = 0x4089,
    float32 = 0x400A,
    float64 = 0x400B,
    float128 = 0x400C,
    char8 = 0x400D,
    char16 = 0x400E,
    wide_char = 0x400F,
    enumeration = 0x0400,
    alias = 0x8003,
    structure = 0x810A,
    array = 0x8204,
    string = 0x8206,
};

inline constexpr std::uint32_t constructed_flag = 0x8000;
inline constexpr std::uint32_t primitive_flag = 0x4000;
inline constexpr std::uint32_t signal_flag = 0x2000;
inline constexpr std::uint32_t enumeration_flag = 0x0400;
inline constexpr std::uint32_t unsigned_flag = 0x0080;

constexpr bool has_flag(type_kind kind, std::uint32_t flag) noexcept {
    return (static_cast<std::uint32_t>(kind) & flag) != 0;
}

// The kind of a signal that presents values of `kind`.
constexpr type_kind with_signal(type_kind kind) noexcept {
    return static_cast<type_kind>(static_cast<std::uint32_t>(kind) | signal_flag);
}

constexpr type_kind without_signal(type_kind kind) noexcept {
    return static_cast<type_kind>(static_cast<std::uint32_t>(kind) & ~signal_flag);
}

// Bytes of a value of one of the fifteen primitive kinds; the signal flag is ignored.
// Throws: std::invalid_argument "the specified type kind does not represent a primitive type".
QORCPP_API std::uint64_t primitive_size(type_kind kind);

// The enumerator's name ("uint32", "structure"), empty for a value that is none. The signal flag is not ignored.
QORCPP_API std::string_view kind_name(type_kind kind) noexcept;

// The kind of that name, nothing for a text that is none.
QORCPP_API std::optional<type_kind> kind_of_name(std::string_view name) noexcept;

} // namespace qor::introspection::xtypes

#endif
