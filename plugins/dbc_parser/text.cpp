#include "plugins/dbc_parser/text.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace qor::dbc_parser {

namespace {

constexpr std::size_t block_size = 64 * 1024;
constexpr std::size_t longest_quoted = 64;
constexpr std::uint32_t replacement = 0xFFFD;

// 0x80 to 0x9F; above, CP-1252 is Latin-1.
constexpr std::array<std::uint16_t, 32> cp1252 = {
    0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD, 0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178,
};

// Neither backslash nor control character nor a byte above 0x7E: the same in every encoding.
bool is_plain(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(), [](char byte) { return byte >= ' ' && byte <= '~' && byte != '\\'; });
}

void append(std::string& text, std::uint32_t character) {
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += static_cast<char>(0xC0 | character >> 6);
        text += static_cast<char>(0x80 | (character & 0x3F));
    } else {
        text += static_cast<char>(0xE0 | character >> 12);
        text += static_cast<char>(0x80 | (character >> 6 & 0x3F));
        text += static_cast<char>(0x80 | (character & 0x3F));
    }
}

bool is_continuation(char byte) noexcept {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// The bytes of the character that a text begins with; 0 when they are not UTF-8.
std::size_t character_size(std::string_view text) noexcept {
    const auto byte = [&](std::size_t index) -> unsigned { return static_cast<unsigned char>(text[index]); };
    if (byte(0) < 0x80) {
        return 1;
    }
    const std::size_t size = byte(0) >= 0xC2 && byte(0) <= 0xDF   ? 2
                             : byte(0) >= 0xE0 && byte(0) <= 0xEF ? 3
                             : byte(0) >= 0xF0 && byte(0) <= 0xF4 ? 4
                                                                  : 0;
    if (size == 0 || text.size() < size ||
        !std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(size), is_continuation)) {
        return 0;
    }
    const bool is_overlong = (byte(0) == 0xE0 && byte(1) < 0xA0) || (byte(0) == 0xF0 && byte(1) < 0x90);
    const bool is_no_character = (byte(0) == 0xED && byte(1) > 0x9F) || (byte(0) == 0xF4 && byte(1) > 0x8F);
    return is_overlong || is_no_character ? 0 : size;
}

bool is_letter(char byte) noexcept {
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || byte == '_';
}

bool is_name_byte(char byte) noexcept {
    return is_letter(byte) || (byte >= '0' && byte <= '9') || byte == '-';
}

} // namespace

bool is_utf8(std::string_view text) noexcept {
    while (!text.empty()) {
        const std::size_t size = character_size(text);
        if (size == 0) {
            return false;
        }
        text.remove_prefix(size);
    }
    return true;
}

std::string to_utf8(std::string_view raw) {
    const bool is_encoded = is_utf8(raw);
    std::string text;
    text.reserve(raw.size());
    for (std::size_t at = 0; at < raw.size(); ++at) {
        const auto byte = static_cast<unsigned char>(raw[at]);
        const char next = at + 1 < raw.size() ? raw[at + 1] : '\0';
        if (byte == 0) {
            append(text, replacement);
        } else if (byte == '\r') {
            text += next == '\n' ? "" : "\n";
        } else if (byte == '\\' && next == '"') {
            continue;
        } else if (is_encoded || byte < 0x80) {
            text += raw[at];
        } else {
            append(text, byte < 0xA0 ? cp1252[byte - 0x80u] : byte);
        }
    }
    return text;
}

std::string quoted(std::string_view raw) {
    std::string text = to_utf8(raw.substr(0, longest_quoted + 4));
    if (text.size() > longest_quoted) {
        std::size_t end = longest_quoted;
        while (end > 0 && is_continuation(text[end])) {
            --end;
        }
        text.resize(end);
        text += "...";
    }
    return '\'' + text + '\'';
}

bool is_level_name(std::string_view name) noexcept {
    return !name.empty() && is_letter(name.front()) && std::all_of(name.begin(), name.end(), is_name_byte);
}

std::string to_level_name(std::string_view raw) {
    const std::string characters = to_utf8(raw);
    std::string name;
    for (const char byte : characters) {
        if (!is_continuation(byte)) {
            name += is_name_byte(byte) ? byte : '_';
        }
    }
    if (name.empty() || !is_letter(name.front())) {
        name.insert(name.begin(), '_');
    }
    return name;
}

const char* text_arena::keep(std::string_view text) {
    if (text.size() + 1 > room_) {
        const std::size_t size = std::max(block_size, text.size() + 1);
        blocks_.push_back(std::make_unique<char[]>(size));
        next_ = blocks_.back().get();
        room_ = size;
    }
    char* const copy = next_;
    if (!text.empty()) {
        std::memcpy(copy, text.data(), text.size());
    }
    copy[text.size()] = '\0';
    next_ += text.size() + 1;
    room_ -= text.size() + 1;
    return copy;
}

const char* text_arena::keep_utf8(std::string_view raw) {
    if (raw.empty()) {
        return nullptr;
    }
    return is_plain(raw) ? keep(raw) : keep(to_utf8(raw));
}

void text_arena::clear() noexcept {
    blocks_.clear();
    room_ = 0;
    next_ = nullptr;
}

} // namespace qor::dbc_parser
