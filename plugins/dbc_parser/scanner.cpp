#include "plugins/dbc_parser/scanner.hpp"

#include "plugins/dbc_parser/sections.hpp"

namespace qor::dbc_parser {

namespace {

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

bool is_blank(char byte) noexcept {
    return byte == ' ' || byte == '\t' || byte == '\v' || byte == '\f';
}

bool is_line_end(char byte) noexcept {
    return byte == '\n' || byte == '\r';
}

} // namespace

scanner::scanner(std::string_view text) : text_(text), unclosed_from_{text.size(), text.size(), text.size()} {
    if (text_.starts_with(byte_order_mark)) {
        at_ = line_start_ = byte_order_mark.size();
    }
    advance();
    current_.begins_line = true;
}

void scanner::begin_line(std::size_t first) noexcept {
    ++line_;
    line_start_ = first;
}

// Whether a new line began.
bool scanner::skip_blanks() {
    bool new_line = false;
    for (; at_ < text_.size(); ++at_) {
        const char byte = text_[at_];
        if (byte == '\n' || (byte == '\r' && (at_ + 1 == text_.size() || text_[at_ + 1] != '\n'))) {
            begin_line(at_ + 1);
            new_line = true;
        } else if (byte == '\xEF' && text_.substr(at_).starts_with(byte_order_mark)) {
            at_ += byte_order_mark.size() - 1; // of a file that was joined to another
        } else if (!is_blank(byte) && byte != '\r') {
            break;
        }
    }
    return new_line;
}

void scanner::advance() {
    current_.begins_line = skip_blanks();
    current_.at = {line_, static_cast<std::uint32_t>(at_ - line_start_ + 1)};
    const std::size_t first = at_;
    if (first == text_.size()) {
        current_.kind = token_kind::end;
    } else if (const std::size_t quote = quote_at(first); quote != 0) {
        current_.kind = token_kind::quote;
        at_ += quote;
    } else if (!is_word_byte(text_[first])) {
        current_.kind = token_kind::punctuation;
        ++at_;
    } else {
        current_.kind = token_kind::word;
        do {
            ++at_;
        } while (at_ < text_.size() && is_word_byte(text_[at_]));
    }
    current_.text = text_.substr(first, at_ - first);
}

// The first line end in a range, else the range's end.
std::size_t scanner::find_line_end(std::size_t from, std::size_t to) const noexcept {
    while (from < to && !is_line_end(text_[from])) {
        ++from;
    }
    return from;
}

bool scanner::ends_line() const noexcept {
    return next_byte() == 0 || is_line_end(next_byte());
}

char scanner::next_byte() const noexcept {
    std::size_t at = at_;
    while (at < text_.size() && is_blank(text_[at])) {
        ++at;
    }
    return at < text_.size() ? text_[at] : '\0';
}

// The bytes of a plain or typographic double quote, in UTF-8 or CP-1252; 0 when there is none.
std::size_t scanner::quote_at(std::size_t at) const noexcept {
    switch (text_[at]) {
    case '"':
    case '\x84':
    case '\x93':
    case '\x94':
        return 1;
    case '\xE2':
        return at + 2 < text_.size() && text_[at + 1] == '\x80' && text_[at + 2] >= '\x9C' && text_[at + 2] <= '\x9F'
                   ? 3
                   : 0;
    default:
        return 0;
    }
}

// Whether what follows a quote is what follows the last text of a section, so that the quote cannot be an escaped one.
bool scanner::ends_statement(std::size_t from) const noexcept {
    while (from < text_.size() && is_blank(text_[from])) {
        ++from;
    }
    return from < text_.size() && text_[from] == ';';
}

std::size_t scanner::find_closing(std::size_t from, std::size_t limit, quote_style opening,
                                  bool escapes) const noexcept {
    constexpr std::array<std::string_view, 3> closing_bytes = {"\"", "\"\xE2", "\"\x84\x93\x94"};
    const std::string_view closing = closing_bytes[static_cast<std::size_t>(opening)];
    const std::string_view searched = text_.substr(0, limit);
    for (std::size_t at = from; at < limit; ++at) {
        at = closing.size() == 1 ? searched.find(closing.front(), at) : searched.find_first_of(closing, at);
        if (at == std::string_view::npos) {
            break;
        }
        const bool is_escaped = escapes && at > from && text_[at - 1] == '\\' && !ends_statement(at + 1);
        if (!is_escaped && quote_at(at) != 0) {
            return at;
        }
    }
    return std::string_view::npos;
}

// Whether a line within the range begins with the word of a section: then a quote was forgotten, unless the text ends
// as one that quotes a DBC would.
bool scanner::swallows_section(std::size_t from, std::size_t to) const noexcept {
    std::size_t line_end = find_line_end(from, to);
    if (line_end == to || ends_statement(to + quote_at(to))) {
        return false;
    }
    while (line_end != to) {
        std::size_t first = line_end + 1;
        while (first < to && is_blank(text_[first])) {
            ++first;
        }
        std::size_t last = first;
        while (last < to && is_word_byte(text_[last])) {
            ++last;
        }
        if (section_of(text_.substr(first, last - first)) != section::none) {
            return true;
        }
        line_end = find_line_end(last, to);
    }
    return false;
}

scanner::quote_style scanner::opening() const noexcept {
    return current_.text == "\"" ? quote_style::plain : current_.text.size() == 1 ? quote_style::cp1252 : quote_style::utf8;
}

std::string_view scanner::take_text(std::size_t from, std::size_t to) {
    for (std::size_t at = find_line_end(from, to); at != to; at = find_line_end(at + 1, to)) {
        if (text_[at] == '\n' || text_[at + 1] != '\n') {
            begin_line(at + 1);
        }
    }
    at_ = to + quote_at(to);
    advance();
    return text_.substr(from, to - from);
}

std::nullopt_t scanner::give_up(std::size_t from) {
    at_ = find_line_end(from, text_.size());
    advance();
    return std::nullopt;
}

std::optional<std::string_view> scanner::read_text() {
    const std::size_t from = at_;
    std::size_t& unclosed_from = unclosed_from_[static_cast<std::size_t>(opening())];
    if (from >= unclosed_from) {
        return give_up(from);
    }
    const std::size_t to = find_closing(from, text_.size(), opening(), true);
    if (to == std::string_view::npos) {
        unclosed_from = from;
        return give_up(from);
    }
    if (swallows_section(from, to)) {
        return give_up(from);
    }
    return take_text(from, to);
}

std::optional<std::string_view> scanner::read_line_text() {
    const std::size_t from = at_;
    const std::size_t limit = find_line_end(from, text_.size());
    std::size_t to = find_closing(from, limit, opening(), true);
    if (to == std::string_view::npos) {
        to = find_closing(from, limit, opening(), false);
    }
    if (to == std::string_view::npos) {
        return give_up(from);
    }
    return take_text(from, to);
}

} // namespace qor::dbc_parser
