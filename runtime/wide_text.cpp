#include "runtime/wide_text.hpp"

#include <cstdint>
#include <type_traits>

namespace qor::runtime {

namespace {

constexpr std::uint32_t replacement = 0xFFFD;
constexpr std::uint32_t last_code_point = 0x10FFFF;

bool is_surrogate(std::uint32_t code) {
    return code >= 0xD800 && code <= 0xDFFF;
}

// Takes one code point off the front of `text`.
std::uint32_t take_utf8(std::string_view& text) {
    const auto first = static_cast<unsigned char>(text.front());
    text.remove_prefix(1);
    if (first < 0x80) {
        return first;
    }
    const unsigned more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
    if (first < 0xC0 || first > 0xF4) {
        return replacement;
    }
    std::uint32_t code = first & (0x3Fu >> more);
    for (unsigned i = 0; i < more; ++i) {
        if (text.empty() || (static_cast<unsigned char>(text.front()) & 0xC0) != 0x80) {
            return replacement;
        }
        code = code << 6 | (static_cast<unsigned char>(text.front()) & 0x3F);
        text.remove_prefix(1);
    }
    constexpr std::uint32_t smallest[] = {0, 0x80, 0x800, 0x10000};
    return code < smallest[more] || is_surrogate(code) || code > last_code_point ? replacement : code;
}

std::uint32_t unit(wchar_t character) {
    return static_cast<std::make_unsigned_t<wchar_t>>(character);
}

std::uint32_t take_wide(std::wstring_view& text) {
    const std::uint32_t code = unit(text.front());
    text.remove_prefix(1);
    if (code >= 0xD800 && code <= 0xDBFF && !text.empty()) {
        const std::uint32_t low = unit(text.front());
        if (low >= 0xDC00 && low <= 0xDFFF) {
            text.remove_prefix(1);
            return 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
        }
    }
    return is_surrogate(code) || code > last_code_point ? replacement : code;
}

void put_utf8(std::string& text, std::uint32_t code) {
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

void put_wide(std::wstring& text, std::uint32_t code) {
    if (sizeof(wchar_t) > 2 || code < 0x10000) {
        text += static_cast<wchar_t>(code);
        return;
    }
    text += static_cast<wchar_t>(0xD800 + ((code - 0x10000) >> 10));
    text += static_cast<wchar_t>(0xDC00 + ((code - 0x10000) & 0x3FF));
}

} // namespace

std::wstring widen(std::string_view text) {
    std::wstring wide;
    while (!text.empty()) {
        put_wide(wide, take_utf8(text));
    }
    return wide;
}

std::string narrow(std::wstring_view text) {
    std::string bytes;
    while (!text.empty()) {
        put_utf8(bytes, take_wide(text));
    }
    return bytes;
}

} // namespace qor::runtime
