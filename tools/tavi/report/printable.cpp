#include "tools/tavi/report/printable.hpp"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <vector>

namespace tavi::tool {

namespace {

// Bytes of the UTF-8 character at the beginning of `text`, 0 when there is none.
std::size_t character_length(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80) {
        return 1;
    }
    const std::size_t length = lead >= 0xC2 && lead <= 0xDF   ? 2
                               : lead >= 0xE0 && lead <= 0xEF ? 3
                               : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                              : 0;
    if (length == 0 || text.size() < length) {
        return 0;
    }
    std::uint32_t value = lead & (0xFFU >> (length + 1));
    for (std::size_t at = 1; at < length; ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        if ((byte & 0xC0) != 0x80) {
            return 0;
        }
        value = value << 6 | (byte & 0x3F);
    }
    const bool overlong = (length == 3 && value < 0x800) || (length == 4 && value < 0x10000);
    const bool surrogate = value >= 0xD800 && value <= 0xDFFF;
    // Marks of direction make the rest of a line read in another order than it stands.
    const bool turns = value == 0x200E || value == 0x200F || value == 0x061C || (value >= 0x202A && value <= 0x202E) ||
                       (value >= 0x2066 && value <= 0x2069);
    // The second block of control characters moves cursors as the first does, and so do both ends of lines.
    const bool moves = value < 0xA0 || value == 0x2028 || value == 0x2029;
    return overlong || surrogate || value > 0x10FFFF || turns || moves ? 0 : length;
}

// What stands for the text's first character, and how many bytes that took.
std::string escape_one(std::string_view text, std::size_t& length) {
    length = character_length(text);
    const auto byte = static_cast<unsigned char>(text[0]);
    if (length > 1 || (length == 1 && byte >= ' ' && byte != 0x7F)) {
        return std::string(text.substr(0, length));
    }
    length = 1;
    switch (byte) {
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    default:
        constexpr char digits[] = "0123456789ABCDEF";
        return std::string("\\x") + digits[byte >> 4] + digits[byte & 15];
    }
}

std::size_t shown_width(const std::string& piece) {
    return static_cast<unsigned char>(piece[0]) >= 0x80 ? 1 : piece.size();
}

} // namespace

std::string printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        std::size_t length = 0;
        result += escape_one(text, length);
        text.remove_prefix(length);
    }
    return result;
}

excerpt make_excerpt(std::string_view line, std::size_t column, std::size_t width) {
    constexpr std::string_view dots = "...";
    const std::size_t target = std::min(column == 0 ? 0 : column - 1, line.size());
    // A character takes at least a byte, so what can be shown lies within `width` bytes of the column.
    const std::size_t first = target > width ? target - width : 0;
    const std::size_t last = std::min(line.size(), target + width);
    std::vector<std::string> pieces;
    std::size_t caret = 0;
    for (std::size_t at = first, length = 0; at < last; at += length) {
        caret += at < target ? 1 : 0;
        pieces.push_back(escape_one(line.substr(at), length));
    }
    const auto width_of = [&](std::size_t from, std::size_t to) {
        return std::accumulate(pieces.begin() + static_cast<std::ptrdiff_t>(from),
                               pieces.begin() + static_cast<std::ptrdiff_t>(to), std::size_t{0},
                               [](std::size_t sum, const std::string& piece) { return sum + shown_width(piece); });
    };
    const bool fits = first == 0 && last == line.size() && width_of(0, pieces.size()) <= width;
    const std::size_t room = fits ? width : width - 2 * dots.size();
    std::size_t begin = 0;
    while (!fits && width_of(begin, caret) > room * 2 / 3) {
        ++begin;
    }
    std::size_t end = begin;
    for (std::size_t shown = 0; end < pieces.size() && shown + shown_width(pieces[end]) <= room; ++end) {
        shown += shown_width(pieces[end]);
    }
    const bool cut_front = first + begin != 0;
    excerpt result;
    result.text = cut_front ? dots : "";
    for (std::size_t at = begin; at < end; ++at) {
        result.text += pieces[at];
    }
    result.text += end < pieces.size() || last < line.size() ? dots : "";
    result.caret = width_of(begin, caret) + (cut_front ? dots.size() : 0);
    return result;
}

} // namespace tavi::tool
