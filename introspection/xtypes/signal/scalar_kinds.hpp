// The one list of the eleven scalar kinds that signals are made of. Names, sizes, the 121 signal types and the choice
// among them at run time all come from here; a kind that joins the list joins them all.
#ifndef INTROSPECTION_XTYPES_SIGNAL_SCALAR_KINDS_HPP
#define INTROSPECTION_XTYPES_SIGNAL_SCALAR_KINDS_HPP

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "introspection/xtypes/type_kind.hpp"

namespace qor::introspection::xtypes {

template<typename T>
struct scalar {
    using type = T;
    type_kind kind;
    // As in kind_name().
    std::string_view name;
    // As it stands in the names of types.
    std::string_view c_name;
};

inline constexpr std::tuple scalars{
    scalar<char>{type_kind::char8, "char8", "char"},
    scalar<std::int8_t>{type_kind::int8, "int8", "int8_t"},
    scalar<std::uint8_t>{type_kind::uint8, "uint8", "uint8_t"},
    scalar<std::int16_t>{type_kind::int16, "int16", "int16_t"},
    scalar<std::uint16_t>{type_kind::uint16, "uint16", "uint16_t"},
    scalar<std::int32_t>{type_kind::int32, "int32", "int32_t"},
    scalar<std::uint32_t>{type_kind::uint32, "uint32", "uint32_t"},
    scalar<std::int64_t>{type_kind::int64, "int64", "int64_t"},
    scalar<std::uint64_t>{type_kind::uint64, "uint64", "uint64_t"},
    scalar<float>{type_kind::float32, "float32", "float"},
    scalar<double>{type_kind::float64, "float64", "double"},
};

inline constexpr std::size_t scalar_count = std::tuple_size_v<decltype(scalars)>;

// Calls visit(scalar<T>) in the order of the list until a call returns true; returns whether one did.
template<typename Visit>
constexpr bool any_scalar(Visit&& visit) {
    return std::apply([&visit](const auto&... each) { return (visit(each) || ...); }, scalars);
}

// The list's entry of a C type.
template<typename T>
constexpr const scalar<T>& scalar_of() noexcept {
    return std::get<scalar<T>>(scalars);
}

// char counts as signed, whatever the compiler's own choice is.
template<typename T>
inline constexpr bool is_signed_integer = std::is_integral_v<T> && (std::is_same_v<T, char> || std::is_signed_v<T>);

} // namespace qor::introspection::xtypes

#endif
