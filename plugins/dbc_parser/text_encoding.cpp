#include "plugins/dbc_parser/text_encoding.hpp"

#include <algorithm>
#include <cstdint>

#include "qorcpp/utf8.hpp"

namespace dbc_parser {

namespace {

// What CP-1252 has at 0x80 to 0x9F; the five places that it leaves open stand for themselves.
constexpr uint16_t high_controls[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                        0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                        0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                        0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

} // namespace

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
    if (qor::is_utf8(text)) {
        result = text;
    } else {
        result.reserve(text.size() * 2);
        for (const char character : text) {
            const auto byte = static_cast<uint8_t>(character);
            qor::append_utf8(result, byte >= 0x80 && byte < 0xA0 ? high_controls[byte - 0x80] : byte);
        }
    }
    std::replace(result.begin(), result.end(), '\0', ' ');
    return result;
}

std::string_view without_byte_order_mark(std::string_view text) noexcept {
    return text.starts_with("\xEF\xBB\xBF") ? text.substr(3) : text;
}

} // namespace dbc_parser
