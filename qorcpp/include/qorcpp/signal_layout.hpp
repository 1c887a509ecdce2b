// Where the bits of a signal are in its instance: the one place of the rules by which readers, writers, conditions of
// presence and plans find them.
//
// Bit n of an instance is bit n mod 8 of byte n / 8, bit 0 the least significant. bit_offset is the position of the
// signal's lowest bit. From there a signal continues at higher bits of its byte, and then at bit 0 of the byte after
// it (little endian) or before it (inconsistent big endian, called reversed here: its first byte is the highest).
// 12 bits at offset 12, with the hexadecimal digits of the value from 0, the lowest:
//
//      little endian                              inconsistent big endian
//      byte      0         1         2            byte      0         1
//             ........  3210....  ba987654               ba987654  3210....
//      first byte 1, 2 bytes, shift 4             first byte 0, 2 bytes, shift 4
//
// Two exceptions belong to the inconsistent order:
//      - a signal at offset 0 with all bits of its raw type runs forward from byte 0, as if its lowest bit were in its
//        last byte: 16 bits of a 16-bit raw type at offset 0 are bytes 0 and 1, those of a 32-bit raw type are refused;
//      - the walk to lower bytes takes eight bits a step and fails only when a step would begin before byte 0. Bits of
//        the last step that would be before byte 0 are read as 0: 6 bits at offset 3 are the 5 bits from bit 3 on.
#ifndef QORCPP_SIGNAL_LAYOUT_HPP
#define QORCPP_SIGNAL_LAYOUT_HPP

#include <algorithm>
#include <cstdint>
#include <string>

#include "qorcpp/export.hpp"
#include "qorcpp/signal_codes.hpp"

namespace qor {

// Why the bits cannot be read.
enum class layout_refusal : std::uint8_t { none, byte_order, bit_offset };

// The message of a refusal: "signal reading for the current byte order is not supported", "invalid bit offset N, cannot
// read the complete signal data". Empty for none.
QORCPP_API std::string refusal_text(layout_refusal refusal, std::uint32_t bit_offset);

// Bytes from the one that holds the lowest bit to the last that holds a bit, when they follow each other upwards. No
// bits at offset 0 give 2^61, by unsigned arithmetic.
constexpr std::uint64_t bytes_touched(std::uint32_t bit_offset, std::uint32_t bit_length) noexcept {
    const std::uint64_t last_bit = std::uint64_t{bit_length} - 1 + bit_offset;
    return (last_bit >> 3) - (bit_offset >> 3) + 1;
}

// Width of the narrowest integer that holds so many bits (up to 64).
constexpr std::uint32_t narrowest_integer_bits(std::uint32_t bit_length) noexcept {
    return bit_length <= 8 ? 8 : bit_length <= 16 ? 16 : bit_length <= 32 ? 32 : 64;
}

struct signal_layout {
    // The byte at the lowest address that holds a bit, counted from the start of the instance, and how many there are.
    // 0 bytes for a signal without bits and for a byte order that is refused.
    std::uint64_t first_byte = 0;
    std::uint64_t byte_count = 0;
    std::uint32_t bit_length = 0;
    // Position of the lowest bit in the byte that holds it.
    std::uint8_t shift = 0;
    // The first byte holds the highest bits, the last one the lowest.
    bool reversed = false;
    layout_refusal refusal = layout_refusal::none;

    constexpr std::uint64_t end_byte() const noexcept { return first_byte + byte_count; }

    // The byte that holds the lowest bit. Requires: there is a byte.
    constexpr std::uint64_t lowest_byte() const noexcept { return reversed ? end_byte() - 1 : first_byte; }

    // False when bits would be before byte 0.
    constexpr bool is_complete() const noexcept { return shift + std::uint64_t{bit_length} <= 8 * byte_count; }

    // The bits that the signal has in the byte `first_byte + index`. Requires: index < byte_count.
    constexpr std::uint8_t mask(std::uint64_t index) const noexcept {
        const std::uint64_t first_bit = 8 * (reversed ? byte_count - 1 - index : index);
        const std::uint64_t end = std::min(shift + std::uint64_t{bit_length} - first_bit, std::uint64_t{8});
        return static_cast<std::uint8_t>((first_bit == 0 ? 0xFFu << shift : 0xFFu) & ~(0xFFu << end));
    }
};

// The bits from `bit_offset` on by the plain rule: upwards, or down to byte 0 and no further.
constexpr signal_layout walked_layout(bool reversed, std::uint32_t bit_offset, std::uint32_t bit_length) noexcept {
    signal_layout layout;
    layout.reversed = reversed;
    if (bit_length == 0) {
        return layout;
    }
    const std::uint64_t lowest_byte = bit_offset / 8;
    const std::uint64_t touched = bytes_touched(bit_offset, bit_length);
    layout.byte_count = reversed ? std::min(touched, lowest_byte + 1) : touched;
    layout.first_byte = reversed ? lowest_byte + 1 - layout.byte_count : lowest_byte;
    layout.bit_length = bit_length;
    layout.shift = static_cast<std::uint8_t>(bit_offset % 8);
    return layout;
}

// Where a signal is read. `raw_bits` is the width of its raw type.
constexpr signal_layout layout_of_signal(signal_byte_order byte_order, std::uint32_t bit_offset,
                                         std::uint32_t bit_length, std::uint64_t raw_bits) noexcept {
    switch (byte_order) {
    case signal_byte_order::little_endian:
        return walked_layout(false, bit_offset, bit_length);
    case signal_byte_order::inconsistent_big_endian: {
        const bool runs_forward = bit_offset == 0 && bit_length == raw_bits && bit_length != 0;
        signal_layout layout = walked_layout(true, runs_forward ? bit_length - 8 : bit_offset, bit_length);
        if (bit_length != 0 && (bit_length - 1) / 8 > layout.lowest_byte()) {
            layout.refusal = layout_refusal::bit_offset;
        }
        return layout;
    }
    case signal_byte_order::big_endian:
        break;
    }
    signal_layout refused;
    refused.refusal = layout_refusal::byte_order;
    return refused;
}

// The part of a layout that holds the lowest `bit_count` bits.
constexpr signal_layout low_bits(const signal_layout& layout, std::uint32_t bit_count) noexcept {
    if (layout.bit_length <= bit_count) {
        return layout;
    }
    signal_layout low = layout;
    low.bit_length = bit_count;
    low.byte_count = std::min(layout.byte_count, (layout.shift + std::uint64_t{bit_count} + 7) / 8);
    low.first_byte = layout.reversed ? layout.end_byte() - low.byte_count : layout.first_byte;
    return low;
}

} // namespace qor

#endif
