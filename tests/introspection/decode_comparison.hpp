// The plain decoder, bit for bit the walk through the bytes that signals are defined by, with no thought of speed; and
// one read by a type and by it, and whether they agree. For a test and for a fuzzer.
#ifndef TESTS_INTROSPECTION_DECODE_COMPARISON_HPP
#define TESTS_INTROSPECTION_DECODE_COMPARISON_HPP

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <stdexcept>

#include "introspection/xtypes/bytes.hpp"
#include "introspection/xtypes/signal/conversion.hpp"
#include "introspection/xtypes/signal/make_signal_type.hpp"
#include "introspection/xtypes/signal/scalar_kinds.hpp"

namespace tavi::test {

using namespace qor::introspection::xtypes;

// Where the walk begins: the order's inconsistency is that a signal of all bits at bit 0 runs from its last byte down.
inline std::uint64_t first_bit(const signal_parameters& signal) {
    const std::uint64_t whole = 8 * primitive_size(signal.raw_kind);
    const bool forward = signal.byte_order != signal_byte_order::inconsistent_big_endian;
    return !forward && signal.bit_offset == 0 && signal.bit_length == whole ? whole - 8 : signal.bit_offset;
}

// The low bytes of a raw variable, bit by bit; no bit stands beyond it. Before the first byte all bits are 0, but only
// within the eight bits that begin in it.
template<typename Raw>
Raw reference_raw(const signal_parameters& signal, const std::uint8_t* source) {
    const bool little = signal.byte_order == signal_byte_order::little_endian;
    if (!little && signal.byte_order != signal_byte_order::inconsistent_big_endian) {
        throw std::runtime_error("signal reading for the current byte order is not supported");
    }
    const std::uint64_t first_byte = first_bit(signal) / 8;
    if (!little && signal.bit_length > 8 * (first_byte + 1)) {
        throw std::runtime_error("invalid bit offset " + std::to_string(signal.bit_offset) +
                                 ", cannot read the complete signal data");
    }
    std::uint8_t bytes[64] = {};
    for (std::uint64_t i = 0; i < signal.bit_length; ++i) {
        const std::uint64_t bit = signal.bit_offset % 8 + i;
        if (little || bit / 8 <= first_byte) {
            const unsigned byte = source[little ? first_byte + bit / 8 : first_byte - bit / 8];
            bytes[i / 8] |= static_cast<std::uint8_t>((byte >> bit % 8 & 1) << i % 8);
        }
    }
    return load<Raw>(bytes);
}

// Signed raws alone; char is taken as int8_t.
template<typename Raw>
Raw reference_sign(const signal_parameters& signal, Raw r) {
    const std::uint64_t bits = static_cast<std::make_unsigned_t<Raw>>(r);
    const std::uint64_t top = signal.bit_length != 0 ? std::uint64_t{1} << (signal.bit_length - 1) : 0;
    if ((bits & top) == 0) {
        return r;
    }
    if (signal.encoding == signal_encoding::sign_magnitude) {
        return static_cast<Raw>(top - bits);
    }
    return static_cast<Raw>(bits - 2 * top + (signal.encoding == signal_encoding::ones_complement ? 1 : 0));
}

// Products and sums in the order that is promised.
inline double reference_polynomial(double c2, double c1, double c0, double x) {
    const double square = (c2 * x) * x;
    return c0 + (c1 * x + square);
}

// The physical value of x as a T, of which a zero denominator makes a NaN or 0.
template<typename T>
T reference_convert(const signal_parameters& signal, double x) {
    const signal_coefficients& c = signal.coefficients;
    if (signal.conversion == signal_conversion::linear) {
        return convert_real<T>(c.numerator_x1 * x + c.numerator_x0);
    }
    const double denominator = reference_polynomial(c.denominator_x2, c.denominator_x1, c.denominator_x0, x);
    if (denominator == 0.0) {
        return std::numeric_limits<T>::quiet_NaN(); // 0 for integers
    }
    return convert_real<T>(reference_polynomial(c.numerator_x2, c.numerator_x1, c.numerator_x0, x) / denominator);
}

template<typename Raw, typename T>
T reference_value(const signal_parameters& signal, const std::uint8_t* source) {
    const bool identity = signal.conversion == signal_conversion::identity;
    if constexpr (std::is_floating_point_v<Raw>) {
        const Raw r = reference_raw<Raw>(signal, source);
        if (!std::isfinite(r)) {
            return convert_real<T>(std::numeric_limits<Raw>::quiet_NaN());
        }
        return convert_real<T>(identity ? r : reference_convert<Raw>(signal, r));
    } else {
        using number = std::conditional_t<std::is_same_v<Raw, char>, std::int8_t, Raw>;
        auto r = reference_raw<number>(signal, source);
        if constexpr (std::is_signed_v<number>) {
            r = reference_sign(signal, r);
        }
        double x = static_cast<double>(r);
        if constexpr (std::is_same_v<Raw, std::uint64_t>) {
            x = static_cast<double>(static_cast<std::int64_t>(r));
            x += x < 0 ? 0x1p64 : 0.0;
        }
        return identity ? static_cast<T>(r) : reference_convert<T>(signal, x);
    }
}

// Writes the value as `kind`, or as `converted` if `kind` is none of the eleven.
template<typename Raw>
void reference_decode(const signal_parameters& signal, type_kind kind, type_kind converted, std::uint8_t* destination,
                      const std::uint8_t* source) {
    const auto read_as = [&](type_kind wanted) {
        return any_scalar([&](const auto& scalar) {
            using type = typename std::remove_cvref_t<decltype(scalar)>::type;
            if (scalar.kind != wanted) {
                return false;
            }
            using output = std::conditional_t<std::is_same_v<type, char>, std::int8_t, type>;
            const output value = reference_value<Raw, output>(signal, source);
            store(destination, value);
            return true;
        });
    };
    static_cast<void>(read_as(kind) || read_as(converted));
}

// Bytes from the start of an instance to the last one that the signal's bits touch, at least one: in a block of that
// size the address sanitizer stops every read beyond.
inline std::size_t touched_size(const signal_parameters& signal) {
    const bool backward = signal.byte_order == signal_byte_order::inconsistent_big_endian;
    const std::uint64_t end = first_bit(signal) + (backward ? 1 : signal.bit_length);
    return std::max<std::size_t>((end + 7) / 8, 1);
}

inline std::shared_ptr<dynamic_type> make_type(type_kind converted, const signal_parameters& signal) {
    const signal_coefficients& c = signal.coefficients;
    std::shared_ptr<dynamic_type> type;
    make_signal_type(converted, signal.raw_kind, type, signal.byte_order, signal.bit_offset, signal.bit_length,
                     c.numerator_x2, c.numerator_x1, c.numerator_x0, c.denominator_x2, c.denominator_x1,
                     c.denominator_x0, signal.signal_suffix, signal.encoding);
    return type;
}

// What a read leaves behind in a buffer, or the text of its failure.
struct outcome {
    std::string failure;
    std::array<std::uint8_t, 80> buffer = {};

    template<typename Read>
    explicit outcome(Read&& read) {
        try {
            read(buffer.data());
        } catch (const std::runtime_error& error) {
            failure = error.what();
        }
    }
    bool operator==(const outcome&) const = default;
};

// Which NaN comes out of NaN coefficients is the processor's choice.
template<typename Real>
void unify_nan(std::uint8_t* value) {
    const Real real = load<Real>(value);
    store(value, std::isnan(real) ? std::numeric_limits<Real>::quiet_NaN() : real);
}

inline std::string difference_of(const std::string& what, const outcome& actual, const outcome& expected) {
    if (actual == expected) {
        return "";
    }
    std::string text = what + ":";
    for (const outcome* const side : {&actual, &expected}) {
        text += ' ' + side->failure;
        for (const std::uint8_t byte : side->buffer) {
            text += ' ' + std::to_string(byte);
        }
    }
    return text;
}

// The read of a type made from `signal`, as `kind`; empty if both agree, else what differs.
template<typename Raw>
std::string compare_decoding(const dynamic_type& type, const signal_parameters& signal, type_kind kind,
                             const std::uint8_t* source) {
    const type_kind converted = without_signal(type.kind());
    const bool is_scalar = any_scalar([&](const auto& each) { return each.kind == kind; });
    const auto reading = [&](auto&& decode) {
        return outcome([&](std::uint8_t* value) {
            std::memset(value, 0x5A, 16); // so that a byte too many or too few shows
            decode(value);
            const type_kind written = is_scalar ? kind : converted;
            if (written == type_kind::float32) {
                unify_nan<float>(value);
            } else if (written == type_kind::float64) {
                unify_nan<double>(value);
            }
        });
    };
    return difference_of(
        type.name() + " as " + std::string(kind_name(kind)),
        reading([&](std::uint8_t* value) { type.decode(kind, value, source); }),
        reading([&](std::uint8_t* value) { reference_decode<Raw>(signal, kind, converted, value, source); }));
}

// The same for read_bits.
template<typename Raw>
std::string compare_read_bits(const signal_type_base& type, const signal_parameters& signal,
                              const std::uint8_t* source) {
    const outcome expected([&](std::uint8_t* raw) { store(raw, reference_raw<Raw>(signal, source)); });
    return difference_of(type.name(), outcome([&](std::uint8_t* raw) { type.read_bits(raw, source); }), expected);
}

} // namespace tavi::test

#endif
