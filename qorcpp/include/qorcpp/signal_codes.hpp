// The codes by which a catalogue describes a signal: byte orders and encodings, each in one list. A row of a list is
//
//      row(enumerator, value, its part of a signal type's name)
//
// and the enumerator is also the word for it in schemas and in SDL. A row that is added here is known to all of them.
// Code that distinguishes the codes is a switch without default, so that the compiler names the place that does not
// treat the new one; what follows the switch is for numbers that are not in the list, which a catalogue may hold.
#ifndef QORCPP_SIGNAL_CODES_HPP
#define QORCPP_SIGNAL_CODES_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "qorc/type_node.h"

// little_endian            Bits beyond the first byte continue in the byte after it.
// big_endian               Can be described, named and compared, but not read.
// inconsistent_big_endian  Bits beyond the first byte continue in the byte before it; a signal of all bits of its
//                          storage type at bit 0 runs forward instead.
#define QOR_SIGNAL_BYTE_ORDERS(row)                                                                                    \
    row(little_endian, QOR_BYTE_ORDER_LITTLE_ENDIAN, "_le") row(big_endian, QOR_BYTE_ORDER_BIG_ENDIAN, "_be")          \
        row(inconsistent_big_endian, QOR_BYTE_ORDER_INCONSISTENT_BIG_ENDIAN, "_ibe")

// How negative numbers are stored; `unspecified` and numbers that are not in the list are decoded as twos_complement.
#define QOR_SIGNAL_ENCODINGS(row)                                                                                      \
    row(unspecified, QOR_ENCODING_UNSPECIFIED, "_2c") row(sign_magnitude, QOR_ENCODING_SIGN_MAGNITUDE, "_sm")          \
        row(ones_complement, QOR_ENCODING_ONES_COMPLEMENT, "_1c")                                                      \
            row(twos_complement, QOR_ENCODING_TWOS_COMPLEMENT, "_2c")

namespace qor {

#define QOR_SIGNAL_CODE_ENUMERATOR(enumerator, value, name_part) enumerator = (value),
enum class signal_byte_order : std::uint8_t { QOR_SIGNAL_BYTE_ORDERS(QOR_SIGNAL_CODE_ENUMERATOR) };
enum class signal_encoding : std::uint32_t { QOR_SIGNAL_ENCODINGS(QOR_SIGNAL_CODE_ENUMERATOR) };
#undef QOR_SIGNAL_CODE_ENUMERATOR

template<typename Code>
struct signal_code {
    Code code;
    std::string_view word;
    std::string_view name_part;
};

#define QOR_SIGNAL_CODE_ROW(enumerator, value, name_part) signal_code<code>{code::enumerator, #enumerator, name_part},
inline constexpr auto signal_byte_orders = [] {
    using code = signal_byte_order;
    return std::array{QOR_SIGNAL_BYTE_ORDERS(QOR_SIGNAL_CODE_ROW)};
}();
inline constexpr auto signal_encodings = [] {
    using code = signal_encoding;
    return std::array{QOR_SIGNAL_ENCODINGS(QOR_SIGNAL_CODE_ROW)};
}();
#undef QOR_SIGNAL_CODE_ROW

// The list of a code.
constexpr const auto& signal_codes(signal_byte_order) noexcept {
    return signal_byte_orders;
}
constexpr const auto& signal_codes(signal_encoding) noexcept {
    return signal_encodings;
}

// The row of a code; null for a number that is not in the list.
template<typename Code>
constexpr const signal_code<Code>* find_signal_code(Code code) noexcept {
    for (const signal_code<Code>& row : signal_codes(code)) {
        if (row.code == code) {
            return &row;
        }
    }
    return nullptr;
}

// The code of a word; nothing for a text that is not in the list.
template<typename Code>
constexpr std::optional<Code> signal_code_of(std::string_view word) noexcept {
    for (const signal_code<Code>& row : signal_codes(Code{})) {
        if (row.word == word) {
            return row.code;
        }
    }
    return std::nullopt;
}

// Whether negative numbers are decoded as two's complement.
constexpr bool is_twos_complement(signal_encoding encoding) noexcept {
    switch (encoding) {
    case signal_encoding::sign_magnitude:
    case signal_encoding::ones_complement:
        return false;
    case signal_encoding::unspecified:
    case signal_encoding::twos_complement:
        break;
    }
    return true;
}

} // namespace qor

#endif
