// Reading the physical value of a signal.
//
// All that can be decided when the type is built is decided then: how the bytes are loaded (bit_reader), whether and
// how a sign is extended, and the conversion. Together they choose a row of functions, one for each kind that a value
// can be read as, and decode is a look-up in that row and a call. Example: 12 bits at offset 19, little endian, of an
// int16 with factor 0.5, are in 2 bytes, have the sign bit 0x800 and a linear conversion: the row is that of
// word_strategy<bytes_2, false, linear>, and its float64 function stores 0.5 times the number with its sign extended.
// Bytes 0xA8, 0x7D are the number 0xFB5, which is -75 with the sign: -37.5.
//
// The strategies:
//      word_strategy<Load, Reversed, Conversion>   integers of up to eight bytes, without sign or in two's complement
//      any_integer_strategy                        the rest: nine bytes, the other encodings, 64 bits without sign
//      floating_strategy<Raw>                      raw floats and doubles
// The strategies for integers don't depend on the raw type, as every raw integer is an int64_t with its sign extended.
#ifndef INTROSPECTION_XTYPES_SIGNAL_SIGNAL_DECODER_HPP
#define INTROSPECTION_XTYPES_SIGNAL_SIGNAL_DECODER_HPP

#include <array>
#include <cstddef>
#include <cstdint>

#include "introspection/xtypes/signal/bit_reader.hpp"
#include "introspection/xtypes/signal/scalar_kinds.hpp"
#include "introspection/xtypes/signal/signal_parameters.hpp"

namespace qor::introspection::xtypes {

// The place of a scalar kind in a row: its low four bits, which no two kinds share.
constexpr std::size_t row_place(type_kind kind) noexcept {
    return static_cast<std::uint32_t>(kind) % 16;
}

inline constexpr std::size_t row_size = 16;

// The kind for each place of a row. A place without kind holds a value that belongs to another place, so that nothing
// finds it.
inline constexpr std::array<type_kind, row_size> row_kinds = [] {
    std::array<type_kind, row_size> kinds{static_cast<type_kind>(1)};
    any_scalar([&kinds](const auto& scalar) {
        kinds[row_place(scalar.kind)] = scalar.kind;
        return false;
    });
    return kinds;
}();

// `kind` if it is one of the eleven, otherwise `fallback`, as the place in a row.
constexpr std::size_t row_place_or(type_kind kind, std::size_t fallback) noexcept {
    const std::size_t place = row_place(kind);
    return row_kinds[place] == kind ? place : fallback;
}

class QORCPP_API signal_decoder {
public:
    // `raw_size`, `raw_signed` and `raw_floating` tell of the raw C type, `converted_kind` what a kind outside the
    // eleven reads.
    signal_decoder(const signal_parameters& signal, std::size_t raw_size, bool raw_signed, bool raw_floating,
                   type_kind converted_kind);

    // Throws: what bit_reader::read throws; the destination is then unchanged.
    void decode(type_kind kind, std::uint8_t* destination, const std::uint8_t* source) const {
        (*row_)[row_place_or(kind, converted_place_)](*this, destination, source);
    }

    using decode_function = void (*)(const signal_decoder&, std::uint8_t* destination, const std::uint8_t* source);
    using decode_row = std::array<decode_function, row_size>;

    const bit_reader& reader() const noexcept { return reader_; }
    const signal_coefficients& coefficients() const noexcept { return coefficients_; }
    signal_conversion conversion() const noexcept { return conversion_; }
    signal_encoding encoding() const noexcept { return encoding_; }
    // The highest bit of a signal with sign, 0 for one without.
    std::uint64_t sign_bit() const noexcept { return sign_bit_; }
    bool raw_signed() const noexcept { return raw_signed_; }

private:
    const decode_row& choose_row(std::size_t raw_size, bool raw_floating) const noexcept;

    const decode_row* row_;
    bit_reader reader_;
    std::uint64_t sign_bit_;
    signal_coefficients coefficients_;
    signal_conversion conversion_;
    signal_encoding encoding_;
    std::uint8_t converted_place_;
    bool raw_signed_;
};

} // namespace qor::introspection::xtypes

#endif
