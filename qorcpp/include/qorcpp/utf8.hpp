// Characters in UTF-8. A character is 1 to 4 bytes:
//
//      code point          bytes
//      0 to 7F             0xxxxxxx
//      80 to 7FF           110xxxxx 10xxxxxx
//      800 to FFFF         1110xxxx 10xxxxxx 10xxxxxx
//      10000 to 10FFFF     11110xxx 10xxxxxx 10xxxxxx 10xxxxxx
//
// Longer forms of a code point than needed, surrogates (D800 to DFFF) and code points beyond 10FFFF are not valid.
// Example: E2 82 AC is U+20AC.
#ifndef QORCPP_UTF8_HPP
#define QORCPP_UTF8_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qor {

struct utf8_character {
    std::uint32_t code;
    // In bytes; 0 when the text does not begin with a valid character.
    std::size_t length;
};

constexpr bool continues_utf8(char byte) noexcept {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

constexpr bool is_code_point(std::uint32_t code) noexcept {
    return code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
}

// The character at the front. Requires: the text is not empty.
constexpr utf8_character front_of_utf8(std::string_view text) noexcept {
    const auto first = static_cast<unsigned char>(text.front());
    if (first < 0x80) {
        return {first, 1};
    }
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC0 ? 2 : 0;
    if (length == 0 || text.size() < length) {
        return {0, 0};
    }
    std::uint32_t code = first & (0xFFu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if (!continues_utf8(text[i])) {
            return {0, 0};
        }
        code = code << 6 | (static_cast<unsigned char>(text[i]) & 0x3F);
    }
    constexpr std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool valid = first <= 0xF4 && code >= smallest[length] && is_code_point(code);
    return valid ? utf8_character{code, length} : utf8_character{0, 0};
}

constexpr bool is_utf8(std::string_view text) noexcept {
    while (!text.empty()) {
        const std::size_t length = front_of_utf8(text).length;
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

// Requires: is_code_point(code).
inline void append_utf8(std::string& text, std::uint32_t code) {
    if (code < 0x80) {
        text += static_cast<char>(code);
        return;
    }
    const unsigned more = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
    const std::uint32_t mark = 0xFF00u >> (more + 1) & 0xFFu;
    text += static_cast<char>(mark | code >> (6 * more));
    for (unsigned i = more; i-- > 0;) {
        text += static_cast<char>(0x80 | (code >> (6 * i) & 0x3F));
    }
}

} // namespace qor

#endif
