// Hexadecimal digits, and text by words of eight characters.
#ifndef PLUGINS_CANDUMP_READER_HEX_TEXT_HPP
#define PLUGINS_CANDUMP_READER_HEX_TEXT_HPP

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qor::candump {

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

} // namespace qor::candump

#endif
