#include "plugins/dbc_parser/dbc_cursor.hpp"

#include <algorithm>
#include <charconv>

#include "plugins/dbc_parser/text_encoding.hpp"
#include "qorc/text.hpp"

namespace dbc_parser {

namespace {

constexpr size_t longest_quote = 30;
constexpr size_t mark_distance = 4096;

bool is_white(char byte) noexcept {
    return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n' || byte == '\v' || byte == '\f' || byte == '\0';
}

// What stands at a place, short and printable, for a message.
std::string quote(std::string_view text) {
    if (text.empty()) {
        return "the end of the text";
    }
    if (text.front() == '\n' || text.front() == '\r') {
        return "the end of the line";
    }
    size_t length = 0;
    while (length < text.size() && length < longest_quote && !is_white(text[length])) {
        ++length;
    }
    std::string found = to_utf8(text.substr(0, length == 0 ? 1 : length));
    for (char& character : found) {
        character = static_cast<unsigned char>(character) < 0x20 ? '?' : character;
    }
    return "'" + found + "'";
}

// The end of a number's text at `from`: sign, digits, fraction, exponent.
size_t number_end(std::string_view text, size_t from) noexcept {
    size_t at = from;
    const auto skip_digits = [&] {
        const size_t start = at;
        while (at < text.size() && qor::is_digit(text[at])) {
            ++at;
        }
        return at - start;
    };
    const auto skip_sign = [&] { at += at < text.size() && (text[at] == '+' || text[at] == '-') ? 1 : 0; };
    skip_sign();
    size_t digits = skip_digits();
    if (at < text.size() && text[at] == '.') {
        ++at;
        digits += skip_digits();
    }
    if (digits == 0) {
        return from;
    }
    if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
        const size_t before_exponent = at++;
        skip_sign();
        if (skip_digits() == 0) {
            at = before_exponent;
        }
    }
    return at;
}

// Whether a number that no double can hold is too small for one, not too large.
bool is_tiny(std::string_view number) noexcept {
    const size_t exponent = number.find_first_of("eE");
    return exponent != std::string_view::npos ? number.substr(exponent + 1).starts_with('-')
                                              : number.find_first_not_of("-0") == number.find('.');
}

} // namespace

bool is_word_byte(char byte) noexcept {
    static constexpr auto word_bytes = [] {
        std::array<bool, 256> bytes{};
        bytes.fill(true);
        for (const char other : std::string_view("\0 \t\r\n\v\f:;,\"()[]|@", 17)) {
            bytes[static_cast<uint8_t>(other)] = false;
        }
        return bytes;
    }();
    return word_bytes[static_cast<uint8_t>(byte)];
}

// A byte order mark inside is that of a file that was joined to another.
void dbc_cursor::skip_white() noexcept {
    for (; !at_end(); ++at_) {
        if (text_[at_] == '\xEF' && text_.substr(at_, 3) == "\xEF\xBB\xBF") {
            at_ += 2;
        } else if (!is_white(text_[at_])) {
            return;
        }
    }
}

void dbc_cursor::skip_blanks() noexcept {
    while (!at_end() && (text_[at_] == ' ' || text_[at_] == '\t')) {
        ++at_;
    }
}

size_t dbc_cursor::line_end(size_t from) const noexcept {
    while (from < text_.size() && text_[from] != '\n' && text_[from] != '\r') {
        ++from;
    }
    return from;
}

void dbc_cursor::skip_line() noexcept {
    const size_t end = line_end(at_);
    at_ = end == text_.size() ? end : end + (text_.substr(end, 2) == "\r\n" ? 2 : 1);
}

void dbc_cursor::skip_line_text() noexcept {
    const size_t begin = at_ + quote_size(at_);
    const size_t closing = end_of_text(begin, style_at(at_), false);
    at_ = closing == std::string_view::npos ? line_end(begin) : closing + quote_size(closing);
}

bool dbc_cursor::accept(char character) noexcept {
    skip_white();
    if (at_end() || text_[at_] != character) {
        return false;
    }
    ++at_;
    return true;
}

void dbc_cursor::fail_expected(const char* what) const {
    throw statement_error(at_, std::string("expected ") + what + ", found " + quote(text_.substr(at_)));
}

void dbc_cursor::expect(char character, const char* what) {
    if (!accept(character)) {
        fail_expected(what);
    }
}

std::string_view dbc_cursor::peek_word() const noexcept {
    size_t end = at_;
    while (end < text_.size() && is_word_byte(text_[end])) {
        ++end;
    }
    return text_.substr(at_, end - at_);
}

std::string_view dbc_cursor::read_word(const char* what) {
    skip_white();
    const auto word = peek_word();
    if (word.empty()) {
        fail_expected(what);
    }
    at_ += word.size();
    return word;
}

uint64_t dbc_cursor::read_unsigned(const char* what) {
    skip_white();
    uint64_t value = 0;
    const char* const begin = text_.data() + at_;
    const auto [end, error] = std::from_chars(begin, text_.data() + text_.size(), value);
    if (error == std::errc::result_out_of_range) {
        throw statement_error(at_, std::string("the number of ") + what + " has more than 64 bits");
    }
    if (error != std::errc()) {
        fail_expected(what);
    }
    at_ += static_cast<size_t>(end - begin);
    return value;
}

std::string_view dbc_cursor::read_number_text(const char* what) {
    skip_white();
    const size_t end = number_end(text_, at_);
    if (end == at_) {
        fail_expected(what);
    }
    const auto number = text_.substr(at_, end - at_);
    at_ = end;
    return number;
}

double dbc_cursor::read_number(const char* what) {
    skip_white();
    const size_t offset = at_;
    std::string_view number = read_number_text(what);
    number.remove_prefix(number.front() == '+' ? 1 : 0);
    double value = 0.0;
    const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        if (!is_tiny(number)) {
            throw statement_error(offset, std::string("the number of ") + what + " does not fit a double");
        }
        return 0.0;
    }
    return value;
}

// The bytes of a double quote, plain or typographic, in UTF-8 or CP-1252; 0 when there is none.
size_t dbc_cursor::quote_size(size_t at) const noexcept {
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

dbc_cursor::quote_style dbc_cursor::style_at(size_t at) const noexcept {
    return text_[at] == '"' ? quote_style::plain : text_[at] == '\xE2' ? quote_style::utf8 : quote_style::cp1252;
}

// A quote behind a backslash is part of the text, unless the statement ends there: paths end in backslashes, too.
size_t dbc_cursor::closing_quote(size_t from, quote_style style, bool lines, bool escapes) const noexcept {
    const std::string_view closing = style == quote_style::utf8 ? "\xE2" : "\x84\x93\x94";
    const auto may_close = [&](char byte) {
        return byte == '"' || (style != quote_style::plain && closing.find(byte) != std::string_view::npos);
    };
    for (size_t at = from; at < text_.size(); ++at) {
        if (!may_close(text_[at])) {
            if (!lines && (text_[at] == '\n' || text_[at] == '\r')) {
                break;
            }
            continue;
        }
        if (escapes && at > from && text_[at - 1] == '\\') {
            const size_t next = text_.find_first_not_of(" \t", at + 1);
            if (next == std::string_view::npos || text_[next] != ';') {
                continue;
            }
        }
        if (quote_size(at) != 0) {
            return at;
        }
    }
    return std::string_view::npos;
}

size_t dbc_cursor::end_of_text(size_t begin, quote_style style, bool lines) noexcept {
    if (!lines) {
        const size_t closing = closing_quote(begin, style, false, true);
        return closing != std::string_view::npos ? closing : closing_quote(begin, style, false, false);
    }
    size_t& unclosed_from = unclosed_from_[static_cast<size_t>(style)];
    if (begin >= unclosed_from) {
        return std::string_view::npos;
    }
    const size_t closing = closing_quote(begin, style, true, true);
    unclosed_from = closing == std::string_view::npos ? begin : unclosed_from;
    return closing;
}

std::string_view dbc_cursor::read_text(const char* what, bool lines) {
    skip_white();
    if (!at_quote()) {
        fail_expected(what);
    }
    const size_t begin = at_ + quote_size(at_);
    const size_t end = end_of_text(begin, style_at(at_), lines);
    if (end == std::string_view::npos) {
        throw statement_error(at_, std::string("expected the closing quote of ") + what + ", found the end of the " +
                                       (lines || line_end(begin) == text_.size() ? "text" : "line"));
    }
    at_ = end + quote_size(end);
    return text_.substr(begin, end - begin);
}

dbc_cursor::line_mark dbc_cursor::advance(line_mark mark, size_t offset) const noexcept {
    for (; mark.offset < offset; ++mark.offset) {
        const char byte = text_[mark.offset];
        const bool lone_return = byte == '\r' && text_.substr(mark.offset, 2) != "\r\n";
        if (byte == '\n' || lone_return) {
            ++mark.line;
            mark.line_start = mark.offset + 1;
        }
    }
    return mark;
}

text_place dbc_cursor::place_of(size_t offset) const {
    offset = std::min(offset, text_.size());
    const size_t block = offset / mark_distance;
    if (marks_.empty()) {
        marks_.push_back({});
    }
    while (marks_.size() <= block) {
        marks_.push_back(advance(marks_.back(), marks_.size() * mark_distance));
    }
    const bool is_behind_last = last_.offset <= offset && last_.offset >= marks_[block].offset;
    last_ = advance(is_behind_last ? last_ : marks_[block], offset);
    return {last_.line, offset - last_.line_start + 1};
}

} // namespace dbc_parser
