// Negative numbers in the bits of a signal: how they are read, and how they are put back.
#ifndef INTROSPECTION_XTYPES_SIGNAL_SIGN_ENCODING_HPP
#define INTROSPECTION_XTYPES_SIGNAL_SIGN_ENCODING_HPP

#include <cstdint>

#include "introspection/xtypes/numeric.hpp"
#include "introspection/xtypes/signal/signal_parameters.hpp"

namespace qor::introspection::xtypes {

// `sign_bit` is the highest bit of the signal, 0 for numbers without sign, which stay as they are.
constexpr std::int64_t extend_sign(std::uint64_t bits, std::uint64_t sign_bit) noexcept {
    return static_cast<std::int64_t>((bits ^ sign_bit) - sign_bit);
}

// The number that `bits` stand for; `sign_bit` as above, the bits beyond it are 0.
constexpr std::int64_t decode_sign(std::uint64_t bits, std::uint64_t sign_bit, signal_encoding encoding) noexcept {
    const bool negative = (bits & sign_bit) != 0;
    switch (encoding) {
    case signal_encoding::sign_magnitude: {
        const std::uint64_t magnitude = bits & ~sign_bit;
        return static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude);
    }
    case signal_encoding::ones_complement:
        // Minus zero is all ones: adding 1 carries out of the signal, and what was carried is not part of it.
        return extend_sign(negative ? (bits + 1) & (sign_bit | (sign_bit - 1)) : bits, sign_bit);
    case signal_encoding::unspecified:
    case signal_encoding::twos_complement:
        break;
    }
    return extend_sign(bits, sign_bit);
}

// The bits for a negative number, computed in Raw. Only sign and magnitude is the inverse of decode_sign: the other two
// are what hosts have always got.
template<typename Raw>
constexpr Raw encode_sign(Raw value, std::uint32_t bit_length, signal_encoding encoding) noexcept {
    // Sums in 64 bits, cut to Raw, are those of Raw, and can't overflow. The plus makes what is less than int one
    // first.
    const auto r = static_cast<std::uint64_t>(+value);
    const auto top = static_cast<std::uint64_t>(+shift_left(Raw{1}, bit_length - 1));
    const auto sign = static_cast<std::uint64_t>(+shift_right(value, bit_length - 1));
    switch (encoding) {
    case signal_encoding::sign_magnitude:
        return static_cast<Raw>(((r + sign) ^ sign) | top);
    case signal_encoding::ones_complement:
        return static_cast<Raw>(r ^ (static_cast<std::uint64_t>(shift_left(Raw{1}, bit_length)) - 1));
    case signal_encoding::unspecified:
    case signal_encoding::twos_complement:
        break;
    }
    return static_cast<Raw>((((top & r) - r) & sign) | (~sign & r));
}

} // namespace qor::introspection::xtypes

#endif
