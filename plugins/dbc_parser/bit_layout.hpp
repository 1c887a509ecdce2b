// Where the bits of a signal lie, from the way in which a DBC numbers them.
//
// Intel: the start bit is the lowest one; bit n is bit n mod 8 of byte n / 8, more significant bits follow upwards.
// Motorola: the start bit is the highest one in the same numbering; the value runs down to bit 0 of its byte and goes
// on at bit 7 of the next. Example: 12 bits from start bit 3 take bits 3 to 0 of byte 0 and all of byte 1:
//
//      byte 0            byte 1
//      7 6 5 4 3 2 1 0   7 6 5 4 3 2 1 0
//              ^ highest               ^ lowest
//
// The catalogue wants the first byte that is touched, and from there the lowest bit: byte 0, bit 8.
#ifndef PLUGINS_DBC_PARSER_BIT_LAYOUT_HPP
#define PLUGINS_DBC_PARSER_BIT_LAYOUT_HPP

#include <cstdint>

namespace dbc_parser {

struct bit_layout {
    // First byte that the bits touch, and how many they touch.
    uint32_t byte_offset = 0;
    uint32_t byte_count = 0;
    // The lowest bit, counted from the first byte.
    uint32_t bit_offset = 0;
    uint32_t bit_length = 0;
    bool motorola = false;

    bool operator==(const bit_layout&) const = default;

    uint32_t end() const noexcept { return byte_offset + byte_count; }
};

// Requires: 1 to 64 bits, a start bit below 2^31.
bit_layout lay_out(uint32_t start_bit, uint32_t bit_length, bool motorola) noexcept;

} // namespace dbc_parser

#endif
