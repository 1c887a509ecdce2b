#include "tools/tavi/report/printable.hpp"

#include <algorithm>
#include <numeric>
#include <vector>

#include "tools/tavi/report/text_character.hpp"

namespace tavi::tool {

namespace {

// A byte as \n, \t or \x1B.
std::string escape(char character) {
    const auto byte = static_cast<unsigned char>(character);
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

// What is shown for the text's first character; `length` is how many bytes that took. A character of several bytes that
// is escaped is so byte by byte.
std::string show_first(std::string_view text, std::size_t& length) {
    const text_character next = first_character(text);
    length = next.kind == character_kind::visible ? next.length : 1;
    return next.kind == character_kind::visible ? std::string(text.substr(0, length)) : escape(text[0]);
}

std::size_t shown_width(const std::string& piece) {
    return static_cast<unsigned char>(piece[0]) >= 0x80 ? 1 : piece.size();
}

} // namespace

std::string printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        std::size_t length = 0;
        result += show_first(text, length);
        text.remove_prefix(length);
    }
    return result;
}

std::string printable_lines(std::string_view text) {
    std::string result;
    for (std::size_t stop = 0; stop != std::string_view::npos;) {
        stop = text.find('\n');
        result += printable(text.substr(0, stop));
        if (stop != std::string_view::npos) {
            result += '\n';
            text.remove_prefix(stop + 1);
        }
    }
    return result;
}

std::string without_controls(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const text_character next = first_character(text);
        for (const char byte : text.substr(0, next.length)) {
            result += next.kind == character_kind::control ? escape(byte) : std::string(1, byte);
        }
        text.remove_prefix(next.length);
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
        pieces.push_back(show_first(line.substr(at), length));
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
