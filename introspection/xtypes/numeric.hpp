// Conversions and shifts that the language leaves undefined for some values, with the results of an x86 processor on
// every processor.
#ifndef INTROSPECTION_XTYPES_NUMERIC_HPP
#define INTROSPECTION_XTYPES_NUMERIC_HPP

#include <cstdint>
#include <limits>
#include <type_traits>

namespace qor::introspection::xtypes {

static_assert(std::numeric_limits<float>::is_iec559 && std::numeric_limits<double>::is_iec559,
              "a double beyond the floats has to become infinity");

// Cuts toward zero; the indefinite integer 0x80000000 for NaN and for what 32 signed bits can't hold.
constexpr std::int32_t truncate_to_int32(double value) noexcept {
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<std::int32_t>(value)
                                                         : std::numeric_limits<std::int32_t>::min();
}

// Cuts toward zero; the indefinite integer 0x8000000000000000 for NaN and for what 64 signed bits can't hold.
constexpr std::int64_t truncate_to_int64(double value) noexcept {
    return value >= -0x1p63 && value < 0x1p63 ? static_cast<std::int64_t>(value)
                                              : std::numeric_limits<std::int64_t>::min();
}

// Below 2^63 as the signed conversion, so that -1.0 gives all ones; the indefinite integer from 2^64 on and for NaN.
constexpr std::uint64_t truncate_to_uint64(double value) noexcept {
    if (value < 0x1p63) {
        return static_cast<std::uint64_t>(truncate_to_int64(value));
    }
    const double rest = value - 0x1p63;
    const auto converted = static_cast<std::uint64_t>(truncate_to_int64(rest));
    return rest < 0x1p63 ? converted + (std::uint64_t{1} << 63) : converted;
}

// A real as any scalar type: rounded to nearest for float, cut for integers. 8- and 16-bit integers keep the low bits
// of the 32-bit conversion, uint32_t those of the 64-bit one.
template<typename T>
constexpr T convert_real(double value) noexcept {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(value);
    } else if constexpr (std::is_same_v<T, std::uint64_t>) {
        return truncate_to_uint64(value);
    } else if constexpr (std::is_same_v<T, std::uint32_t> || std::is_same_v<T, std::int64_t>) {
        return static_cast<T>(truncate_to_int64(value));
    } else {
        return static_cast<T>(truncate_to_int32(value));
    }
}

// By way of the signed number, to which 2^64 is added where it is negative; above 2^63 this rounds twice.
template<typename Real>
constexpr Real unsigned_to_real(std::uint64_t value) noexcept {
    const auto number = static_cast<Real>(static_cast<std::int64_t>(value));
    return number < Real{0} ? number + static_cast<Real>(0x1p64) : number;
}

// The count is taken modulo 32, for 64-bit types modulo 64; narrow types are shifted as 32 bits and cut.
template<typename T>
constexpr T shift_left(T value, std::uint32_t count) noexcept {
    using wide = std::conditional_t<sizeof(T) == 8, std::uint64_t, std::uint32_t>;
    return static_cast<T>(static_cast<wide>(value) << (count % (8 * sizeof(wide))));
}

// Arithmetic: the sign moves in. The count is taken as in shift_left.
template<typename T>
constexpr T shift_right(T value, std::uint32_t count) noexcept {
    using wide = std::conditional_t<sizeof(T) == 8, std::int64_t, std::int32_t>;
    return static_cast<T>(static_cast<wide>(value) >> (count % (8 * sizeof(wide))));
}

} // namespace qor::introspection::xtypes

#endif
