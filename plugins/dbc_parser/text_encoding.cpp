#include "plugins/dbc_parser/text_encoding.hpp"

#include <algorithm>
#include <cstdint>

namespace dbc_parser {

namespace {

// What CP-1252 has at 0x80 to 0x9F; the five places that it leaves open stand for themselves.
constexpr uint16_t high_controls[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                        0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                        0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                        0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

void append_utf8(std::string& text, uint32_t code) {
    if (code < 0x80) {
        text += static_cast<char>(code);
    } else if (code < 0x800) {
        text += static_cast<char>(0xC0 | (code >> 6));
        text += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        text += static_cast<char>(0xE0 | (code >> 12));
        text += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        text += static_cast<char>(0x80 | (code & 0x3F));
    }
}

// Bytes of the character at `at`, 0 for none that is valid: overlong forms and surrogates are not.
size_t character_length(std::string_view text, size_t at) noexcept {
    const auto byte = [&](size_t index) { return static_cast<uint8_t>(text[index]); };
    const uint8_t first = byte(at);
    if (first < 0x80) {
        return 1;
    }
    const size_t length = first >= 0xF0 && first <= 0xF4  ? 4
                          : first >= 0xE0 && first < 0xF0 ? 3
                          : first >= 0xC2 && first < 0xE0 ? 2
                                                          : 0;
    if (length == 0 || at + length > text.size()) {
        return 0;
    }
    for (size_t index = at + 1; index < at + length; ++index) {
        if ((byte(index) & 0xC0) != 0x80) {
            return 0;
        }
    }
    const uint8_t second = byte(at + 1);
    const bool wrong = (first == 0xE0 && second < 0xA0) || (first == 0xED && second >= 0xA0) ||
                       (first == 0xF0 && second < 0x90) || (first == 0xF4 && second >= 0x90);
    return wrong ? 0 : length;
}

} // namespace

bool is_utf8(std::string_view text) noexcept {
    for (size_t at = 0; at < text.size();) {
        const size_t length = character_length(text, at);
        if (length == 0) {
            return false;
        }
        at += length;
    }
    return true;
}

std::string readable_text(std::string_view text) {
    if (std::none_of(text.begin(), text.end(), [](char byte) { return byte < ' ' || byte > '~' || byte == '\\'; })) {
        return std::string(text);
    }
    const std::string characters = to_utf8(text);
    std::string result;
    result.reserve(characters.size());
    for (size_t at = 0; at < characters.size(); ++at) {
        const char next = at + 1 < characters.size() ? characters[at + 1] : '\0';
        if (characters[at] == '\r') {
            result += next == '\n' ? "" : "\n";
        } else if (characters[at] != '\\' || next != '"') {
            result += characters[at];
        }
    }
    return result;
}

std::string to_utf8(std::string_view text) {
    std::string result;
    if (is_utf8(text)) {
        result = text;
    } else {
        result.reserve(text.size() * 2);
        for (const char character : text) {
            const auto byte = static_cast<uint8_t>(character);
            append_utf8(result, byte >= 0x80 && byte < 0xA0 ? high_controls[byte - 0x80] : byte);
        }
    }
    std::replace(result.begin(), result.end(), '\0', ' ');
    return result;
}

std::string_view without_byte_order_mark(std::string_view text) noexcept {
    return text.starts_with("\xEF\xBB\xBF") ? text.substr(3) : text;
}

} // namespace dbc_parser
