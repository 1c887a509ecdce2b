#include "plugins/dbc_parser/dbc_cursor.hpp"

#include <charconv>
#include <cmath>
#include <cstring>

#include "plugins/dbc_parser/text_encoding.hpp"

namespace dbc_parser {

namespace {

constexpr size_t longest_quote = 30;

bool is_white(char byte) noexcept {
    return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n' || byte == '\v' || byte == '\f' || byte == '\0';
}

bool is_digit(char byte) noexcept {
    return byte >= '0' && byte <= '9';
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
        while (at < text.size() && is_digit(text[at])) {
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

} // namespace

bool is_word_byte(char byte) noexcept {
    return !is_white(byte) && std::strchr(":;,\"()[]|@", byte) == nullptr;
}

void dbc_cursor::skip_white() noexcept {
    while (!at_end() && is_white(text_[at_])) {
        ++at_;
    }
}

void dbc_cursor::skip_blanks() noexcept {
    while (!at_end() && (text_[at_] == ' ' || text_[at_] == '\t')) {
        ++at_;
    }
}

void dbc_cursor::skip_line() noexcept {
    const size_t end = text_.find_first_of("\r\n", at_);
    if (end == std::string_view::npos) {
        at_ = text_.size();
    } else {
        at_ = end + (text_.substr(end, 2) == "\r\n" ? 2 : 1);
    }
}

void dbc_cursor::skip_statement() noexcept {
    while (!at_end()) {
        const size_t next = text_.find_first_of(";\"", at_);
        if (next == std::string_view::npos) {
            at_ = text_.size();
            return;
        }
        at_ = next + 1;
        if (text_[next] == ';') {
            return;
        }
        const size_t closing = text_.find('"', at_);
        at_ = closing == std::string_view::npos ? text_.size() : closing + 1;
    }
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

double dbc_cursor::read_number(const char* what) {
    skip_white();
    const size_t end = number_end(text_, at_);
    if (end == at_) {
        fail_expected(what);
    }
    const size_t begin = at_ + (text_[at_] == '+' ? 1 : 0);
    double value = 0.0;
    const auto [stop, error] = std::from_chars(text_.data() + begin, text_.data() + end, value);
    if (error == std::errc::result_out_of_range) {
        throw statement_error(at_, std::string("the number of ") + what + " does not fit a double");
    }
    if (error != std::errc() || stop != text_.data() + end) {
        fail_expected(what);
    }
    at_ = end;
    return value;
}

// A quote behind a backslash is part of the text, unless the text ends there: paths end in backslashes, too.
std::string_view dbc_cursor::read_text(const char* what, bool lines) {
    skip_white();
    if (peek() != '"') {
        fail_expected(what);
    }
    const size_t begin = at_ + 1;
    size_t from = begin;
    for (;;) {
        const size_t stop = text_.find_first_of(lines ? "\"" : "\"\n", from);
        if (stop == std::string_view::npos || text_[stop] == '\n') {
            throw statement_error(at_, std::string("expected the closing quote of ") + what +
                                           ", found the end of the " +
                                           (stop == std::string_view::npos ? "text" : "line"));
        }
        if (stop > begin && text_[stop - 1] == '\\') {
            const size_t next = text_.find_first_not_of(" \t", stop + 1);
            const bool ends = next == std::string_view::npos || std::strchr(";,\r\n", text_[next]) != nullptr;
            if (!ends) {
                from = stop + 1;
                continue;
            }
        }
        at_ = stop + 1;
        return text_.substr(begin, stop - begin);
    }
}

text_place dbc_cursor::place_of(size_t offset) const noexcept {
    offset = offset < text_.size() ? offset : text_.size();
    if (offset < known_line_start_) {
        known_offset_ = 0;
        known_line_ = 1;
        known_line_start_ = 0;
    }
    for (size_t at = known_offset_; at < offset; ++at) {
        const bool lone_return = text_[at] == '\r' && (at + 1 >= text_.size() || text_[at + 1] != '\n');
        if (text_[at] == '\n' || lone_return) {
            ++known_line_;
            known_line_start_ = at + 1;
        }
    }
    known_offset_ = offset > known_offset_ ? offset : known_offset_;
    return {known_line_, offset - known_line_start_ + 1};
}

} // namespace dbc_parser
