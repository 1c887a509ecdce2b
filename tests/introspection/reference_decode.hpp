// The plain decoder: bit for bit the walk through the bytes that signals are defined by, with no thought of speed. The
// fast one is held against it, by a test and by a fuzzer.
#ifndef TESTS_INTROSPECTION_REFERENCE_DECODE_HPP
#define TESTS_INTROSPECTION_REFERENCE_DECODE_HPP

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#if defined(__SSE2__) && defined(__x86_64__)
#include <emmintrin.h>
#endif

#include "introspection/xtypes/scalar_kinds.hpp"
#include "introspection/xtypes/signal_parameters.hpp"

namespace tavi::test {

using namespace qor::introspection::xtypes;

// Truncating conversions: the processor's own where it is the one whose patterns are asked for.
#if defined(__SSE2__) && defined(__x86_64__)
inline std::int32_t reference_int32(double y) {
    return _mm_cvttsd_si32(_mm_set_sd(y));
}
inline std::int64_t reference_int64(double y) {
    return _mm_cvttsd_si64(_mm_set_sd(y));
}
#else
inline std::int32_t reference_int32(double y) {
    return std::abs(std::trunc(y)) < 0x1p31 ? static_cast<std::int32_t>(y) : std::numeric_limits<std::int32_t>::min();
}
inline std::int64_t reference_int64(double y) {
    return std::abs(y) < 0x1p63 ? static_cast<std::int64_t>(y) : std::numeric_limits<std::int64_t>::min();
}
#endif

template<typename T>
T reference_output(double y) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(y);
    } else if constexpr (sizeof(T) < 4 || std::is_same_v<T, std::int32_t>) {
        return static_cast<T>(reference_int32(y));
    } else if constexpr (!std::is_same_v<T, std::uint64_t>) {
        return static_cast<T>(reference_int64(y));
    } else if (y < 9223372036854775808.0) {
        return static_cast<T>(reference_int64(y));
    } else {
        const double rest = y - 9223372036854775808.0;
        const T offset = rest < 9223372036854775808.0 ? T{1} << 63 : T{0};
        return static_cast<T>(reference_int64(rest)) + offset;
    }
}

// `destination` holds (bit_length + 7) / 8 bytes. Reads no byte that the walk does not name.
inline void reference_read_bits(const signal_parameters& signal, std::uint8_t* destination,
                                const std::uint8_t* source) {
    const bool little = signal.byte_order == signal_byte_order::little_endian;
    if (!little && signal.byte_order != signal_byte_order::inconsistent_big_endian) {
        throw std::runtime_error("signal reading for the current byte order is not supported");
    }
    std::uint64_t offset = signal.bit_offset;
    std::uint64_t remaining = signal.bit_length;
    const std::uint64_t size = primitive_size(signal.raw_kind);
    if (offset == 0 && remaining == 8 * size) {
        for (std::uint64_t i = 0; i < size; ++i) {
            destination[i] = source[little ? i : size - 1 - i];
        }
        return;
    }
    if (remaining == 0) {
        return;
    }
    const unsigned shift = offset % 8;
    for (std::size_t k = 0;; ++k) {
        const std::uint64_t index = offset / 8;
        unsigned byte = source[index] >> shift;
        if (remaining < 8 - shift) {
            destination[k] = static_cast<std::uint8_t>(byte & (0xFF >> (8 - remaining)));
            return;
        }
        remaining -= 8 - shift;
        if (remaining != 0 && (little || index != 0)) {
            byte = (byte | (source[little ? index + 1 : index - 1] << (8 - shift))) & 0xFF;
        }
        if (remaining != 0 && remaining < shift) {
            destination[k] = static_cast<std::uint8_t>(byte & (0xFF >> (shift - remaining)));
            return;
        }
        remaining -= remaining != 0 ? shift : 0;
        destination[k] = static_cast<std::uint8_t>(byte);
        if (remaining == 0) {
            return;
        }
        if (!little && offset < 8) {
            throw std::runtime_error("invalid bit offset " + std::to_string(signal.bit_offset) +
                                     ", cannot read the complete signal data");
        }
        offset = little ? offset + 8 : offset - 8;
    }
}

// The low bytes of a raw variable.
template<typename Raw>
Raw reference_raw(const signal_parameters& signal, const std::uint8_t* source) {
    std::uint8_t bytes[64] = {};
    reference_read_bits(signal, bytes, source);
    Raw r;
    std::memcpy(&r, bytes, sizeof(r));
    return r;
}

// Signed raws alone; char is taken as int8_t.
template<typename Raw>
Raw reference_sign(const signal_parameters& signal, Raw r) {
    using bits = std::make_unsigned_t<Raw>;
    const unsigned width = 8 * sizeof(Raw);
    const unsigned length = signal.bit_length;
    if (length == 0) {
        return r;
    }
    const auto top = static_cast<bits>(bits{1} << (length - 1));
    const auto unsigned_r = static_cast<bits>(r);
    if (signal.encoding == signal_encoding::sign_magnitude) {
        const auto magnitude = static_cast<bits>(unsigned_r & ~top);
        return static_cast<Raw>((unsigned_r & top) != 0 ? -std::int64_t(magnitude) : std::int64_t(magnitude));
    }
    if (signal.encoding == signal_encoding::ones_complement && (unsigned_r & top) != 0) {
        r = static_cast<Raw>(static_cast<bits>(unsigned_r + 1));
    }
    if (length == width) {
        return r;
    }
    const auto shifted = static_cast<Raw>(static_cast<bits>(static_cast<bits>(r) << (width - length)));
    return static_cast<Raw>(shifted >> (width - length));
}

// The physical value of x, and false for a zero denominator. Products and sums in the order that is promised.
inline bool reference_convert(const signal_parameters& signal, double x, double& y) {
    const signal_coefficients& c = signal.coefficients;
    if (signal.conversion == signal_conversion::linear) {
        const double product = c.numerator_x1 * x;
        y = product + c.numerator_x0;
        return true;
    }
    const double q = (c.denominator_x2 * x) * x;
    const double p = c.denominator_x1 * x;
    const double s = p + q;
    const double den = c.denominator_x0 + s;
    if (den == 0.0) {
        return false;
    }
    const double nq = (c.numerator_x2 * x) * x;
    const double np = c.numerator_x1 * x;
    const double ns = np + nq;
    y = (c.numerator_x0 + ns) / den;
    return true;
}

template<typename Raw, typename T>
T reference_value(const signal_parameters& signal, const std::uint8_t* source) {
    double y = 0;
    if constexpr (std::is_floating_point_v<Raw>) {
        const Raw r = reference_raw<Raw>(signal, source);
        Raw f = r;
        if (std::isnan(r) || std::isinf(r)) {
            f = std::numeric_limits<Raw>::quiet_NaN();
        } else if (signal.conversion != signal_conversion::identity) {
            f = reference_convert(signal, r, y) ? static_cast<Raw>(y) : std::numeric_limits<Raw>::quiet_NaN();
        }
        return reference_output<T>(f);
    } else {
        using number = std::conditional_t<std::is_same_v<Raw, char>, std::int8_t, Raw>;
        auto r = reference_raw<number>(signal, source);
        if constexpr (std::is_signed_v<number>) {
            r = reference_sign(signal, r);
        }
        if (signal.conversion == signal_conversion::identity) {
            return static_cast<T>(r);
        }
        double x = static_cast<double>(r);
        if constexpr (std::is_same_v<Raw, std::uint64_t>) {
            x = static_cast<double>(static_cast<std::int64_t>(r));
            x += x < 0 ? 18446744073709551616.0 : 0.0;
        }
        if (!reference_convert(signal, x, y)) {
            return std::is_floating_point_v<T> ? std::numeric_limits<T>::quiet_NaN() : T{0};
        }
        return reference_output<T>(y);
    }
}

// What a read leaves behind: the bytes of the value, or the text of the failure.
struct reading {
    std::vector<std::uint8_t> bytes;
    std::string failure;
    bool is_real = false;
};

template<typename Raw>
reading reference_decode(const signal_parameters& signal, type_kind kind, type_kind converted,
                         const std::uint8_t* source) {
    reading result;
    const auto read_as = [&](const auto& scalar, type_kind wanted) {
        using type = typename std::remove_cvref_t<decltype(scalar)>::type;
        if (scalar.kind != wanted) {
            return false;
        }
        // char and int8_t are the same value.
        using output = std::conditional_t<std::is_same_v<type, char>, std::int8_t, type>;
        const output value = reference_value<Raw, output>(signal, source);
        result.bytes.resize(sizeof(output));
        std::memcpy(result.bytes.data(), &value, sizeof(output));
        result.is_real = std::is_floating_point_v<output>;
        return true;
    };
    try {
        if (!any_scalar([&](const auto& scalar) { return read_as(scalar, kind); })) {
            any_scalar([&](const auto& scalar) { return read_as(scalar, converted); });
        }
    } catch (const std::runtime_error& error) {
        result.failure = error.what();
    }
    return result;
}

} // namespace tavi::test

#endif
