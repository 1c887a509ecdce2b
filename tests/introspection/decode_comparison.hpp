// One read by the type and by the plain decoder, and whether they agree.
#ifndef TESTS_INTROSPECTION_DECODE_COMPARISON_HPP
#define TESTS_INTROSPECTION_DECODE_COMPARISON_HPP

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "introspection/xtypes/conversion.hpp"
#include "introspection/xtypes/make_signal_type.hpp"
#include "tests/introspection/reference_decode.hpp"

namespace tavi::test {

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
    Real real;
    std::memcpy(&real, value, sizeof(real));
    real = std::isnan(real) ? std::numeric_limits<Real>::quiet_NaN() : real;
    std::memcpy(value, &real, sizeof(real));
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
    const outcome expected([&](std::uint8_t* raw) {
        std::uint8_t bits[64] = {};
        reference_read_bits(signal, bits, source);
        std::memcpy(raw, bits, sizeof(Raw)); // no bit stands beyond the variable
    });
    return difference_of(type.name(), outcome([&](std::uint8_t* raw) { type.read_bits(raw, source); }), expected);
}

} // namespace tavi::test

#endif
