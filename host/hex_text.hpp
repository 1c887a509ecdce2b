// Scanning of digits and hexadecimal text by words of eight characters.
#ifndef HOST_HEX_TEXT_HPP
#define HOST_HEX_TEXT_HPP

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tavi::host {

// 0 to 15, or 255 for what is no hexadecimal digit.
inline constexpr std::array<std::uint8_t, 256> hex_values = [] {
    std::array<std::uint8_t, 256> values{};
    values.fill(255);
    for (unsigned digit = 0; digit < 10; ++digit) {
        values['0' + digit] = static_cast<std::uint8_t>(digit);
    }
    for (unsigned digit = 0; digit < 6; ++digit) {
        values['A' + digit] = values['a' + digit] = static_cast<std::uint8_t>(10 + digit);
    }
    return values;
}();

inline std::uint8_t hex_value(char character) noexcept {
    return hex_values[static_cast<unsigned char>(character)];
}

constexpr std::uint64_t every_byte(std::uint8_t value) noexcept {
    return UINT64_C(0x0101010101010101) * value;
}

// Eight characters as one number, the first in the lowest byte.
inline std::uint64_t load_characters(const char* text) noexcept {
    std::uint64_t word;
    std::memcpy(&word, text, sizeof word);
    if constexpr (std::endian::native == std::endian::big) {
        std::uint64_t swapped = 0;
        for (int byte = 0; byte < 8; ++byte) {
            swapped = swapped << 8 | (word >> (8 * byte) & 0xFF);
        }
        word = swapped;
    }
    return word;
}

// Bit 7 of each byte that is a decimal digit. Bytes of 128 and more have to be ruled out by the caller.
constexpr std::uint64_t digit_marks(std::uint64_t word) noexcept {
    return (word + every_byte(0x80 - '0')) & ~(word + every_byte(0x7F - '9')) & every_byte(0x80);
}

// How many decimal digits stand at `text`, at most to `end`.
inline std::size_t count_digits(const char* text, const char* end) noexcept {
    const char* at = text;
    while (end - at >= 8) {
        const std::uint64_t word = load_characters(at);
        const std::uint64_t high = word & every_byte(0x80);
        // What stands above a byte of 128 and more cannot be trusted, but what stands below it can.
        const std::uint64_t other = ~digit_marks(word & ~high) & every_byte(0x80);
        if ((other | high) != 0) {
            return static_cast<std::size_t>(at - text) + static_cast<std::size_t>(std::countr_zero(other | high)) / 8;
        }
        at += 8;
    }
    while (at < end && *at >= '0' && *at <= '9') {
        ++at;
    }
    return static_cast<std::size_t>(at - text);
}

// Bit 7 of each byte that is a hexadecimal digit.
constexpr std::uint64_t hex_marks(std::uint64_t word) noexcept {
    const std::uint64_t low = word & every_byte(0x7F);
    const std::uint64_t lower = low | every_byte(0x20);
    const std::uint64_t letters =
        (lower + every_byte(0x80 - 'a')) & ~(lower + every_byte(0x7F - 'f')) & every_byte(0x80);
    return (digit_marks(low) | letters) & ~word;
}

// Stores four bytes from eight hexadecimal digits, as load_characters gives them.
inline void store_hex(std::uint64_t word, std::uint8_t* bytes) noexcept {
    const std::uint64_t letters = word >> 6 & every_byte(1);
    const std::uint64_t nibbles = (word & every_byte(0x0F)) + letters * 9;
    std::uint64_t pairs = (nibbles << 4 | nibbles >> 8) & UINT64_C(0x00FF00FF00FF00FF);
    pairs = (pairs | pairs >> 8) & UINT64_C(0x0000FFFF0000FFFF);
    pairs |= pairs >> 16;
    auto value = static_cast<std::uint32_t>(pairs);
    if constexpr (std::endian::native == std::endian::big) {
        value = value << 24 | (value & 0xFF00) << 8 | (value >> 8 & 0xFF00) | value >> 24;
    }
    std::memcpy(bytes, &value, sizeof value);
}

// Four bytes from eight hexadecimal digits; false, with nothing stored, when one of them is none.
inline bool decode_hex(const char* text, std::uint8_t* bytes) noexcept {
    const std::uint64_t word = load_characters(text);
    if (hex_marks(word) != every_byte(0x80)) {
        return false;
    }
    store_hex(word, bytes);
    return true;
}

} // namespace tavi::host

#endif
