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
#include "introspection/xtypes/conversion.hpp"
#include "introspection/xtypes/make_signal_type.hpp"
#include "introspection/xtypes/scalar_kinds.hpp"

namespace tavi::test {

using namespace qor::introspection::xtypes;

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

// The low bytes of a raw variable; no bit stands beyond it.
template<typename Raw>
Raw reference_raw(const signal_parameters& signal, const std::uint8_t* source) {
    std::uint8_t bytes[64] = {};
    reference_read_bits(signal, bytes, source);
    return load<Raw>(bytes);
}

// Signed raws alone; char is taken as int8_t.
template<typename Raw>
Raw reference_sign(const signal_parameters& signal, Raw r) {
    using bits = std::make_unsigned_t<Raw>;
    const unsigned unused = 8 * sizeof(Raw) - signal.bit_length;
    if (signal.bit_length == 0) {
        return r;
    }
    const auto top = static_cast<bits>(bits{1} << (signal.bit_length - 1));
    const bool negative = (static_cast<bits>(r) & top) != 0;
    if (signal.encoding == signal_encoding::sign_magnitude) {
        const auto magnitude = static_cast<std::int64_t>(static_cast<bits>(r) & ~std::uint64_t{top});
        return static_cast<Raw>(negative ? -magnitude : magnitude);
    }
    if (signal.encoding == signal_encoding::ones_complement && negative) {
        r = static_cast<Raw>(static_cast<bits>(static_cast<bits>(r) + 1));
    }
    return static_cast<Raw>(static_cast<Raw>(static_cast<bits>(static_cast<bits>(r) << unused)) >> unused);
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
    const std::size_t forward = (std::uint64_t{signal.bit_offset} + signal.bit_length + 7) / 8;
    const bool backward = signal.byte_order == signal_byte_order::inconsistent_big_endian &&
                          (signal.bit_offset != 0 || signal.bit_length != 8 * primitive_size(signal.raw_kind));
    return backward ? signal.bit_offset / 8 + std::size_t{1} : std::max<std::size_t>(forward, 1);
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

    std::string text() const {
        std::string text = failure;
        for (const std::uint8_t byte : buffer) {
            text += ' ' + std::to_string(byte);
        }
        return text;
    }
};

// Which NaN comes out of NaN coefficients is the processor's choice.
template<typename Real>
void unify_nan(std::uint8_t* value) {
    const Real real = load<Real>(value);
    store(value, std::isnan(real) ? std::numeric_limits<Real>::quiet_NaN() : real);
}

inline std::string difference_of(const std::string& what, const outcome& actual, const outcome& expected) {
    return actual == expected ? "" : what + ":" + actual.text() + " for" + expected.text();
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
