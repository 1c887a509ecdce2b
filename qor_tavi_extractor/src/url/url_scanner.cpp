#include "qor_tavi_extractor/src/url/url_scanner.hpp"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <stdexcept>

#include "qor_tavi_extractor/src/url/syntax_error.hpp"
#include "qorc/text.hpp"

namespace qor::tavi::detail {

namespace {

constexpr std::size_t first_block = 16384;

bool is_blank(char byte) noexcept {
    return byte == '\t' || byte == '\r' || byte == ' ';
}

bool is_white(char byte) noexcept {
    return is_blank(byte) || byte == '\n' || byte == '\v' || byte == '\f';
}

template<typename Class>
std::size_t run_length(std::string_view text, std::size_t from, Class in_class) noexcept {
    std::size_t at = from;
    while (at < text.size() && in_class(text[at])) {
        ++at;
    }
    return at - from;
}

// The length of an exponent with its digits at `from`, or 0.
std::size_t exponent_length(std::string_view text, std::size_t from) noexcept {
    if (from >= text.size() || (text[from] != 'e' && text[from] != 'E')) {
        return 0;
    }
    std::size_t digits = from + 1;
    if (digits < text.size() && (text[digits] == '+' || text[digits] == '-')) {
        ++digits;
    }
    const std::size_t count = run_length(text, digits, is_digit);
    return count == 0 ? 0 : digits + count - from;
}

struct literal_match {
    // Bytes of the longest literal, 0 when it never closes.
    std::size_t closed = 0;
    // Bytes up to a line feed that cuts a literal short, 0 when there is none.
    std::size_t unterminated = 0;
};

// A backslash may be an ordinary byte or an escape, so all readings are followed at once: one pass for any input.
literal_match match_literal(std::string_view text) noexcept {
    const char quote = text.front();
    bool in_literal = true;    // inside, at an ordinary place
    bool escaped = false;      // behind a backslash that escapes
    bool behind_quote = false; // behind a quote that closes, or is the first of two
    bool in_cut = true;        // the same two for a literal without doubled quotes
    bool cut_escaped = false;
    literal_match match;
    for (std::size_t at = 1; at < text.size() && (in_literal || escaped || behind_quote || in_cut || cut_escaped);
         ++at) {
        const char byte = text[at];
        if (byte == '\n') {
            match.unterminated = in_cut ? at : 0;
            return match;
        }
        const bool was_in = in_literal;
        in_literal = (was_in && byte != quote) || escaped || (behind_quote && byte == quote);
        escaped = was_in && byte == '\\';
        behind_quote = was_in && byte == quote;
        if (behind_quote) {
            match.closed = at + 1;
        }
        const bool was_in_cut = in_cut;
        in_cut = (was_in_cut && byte != quote) || cut_escaped;
        cut_escaped = was_in_cut && byte == '\\';
    }
    return match;
}

} // namespace

std::string_view display_name(token_code code) noexcept {
    switch (code) {
    case token_code::end_of_expression:
        return "end of expression";
    case token_code::comma:
        return "','";
    case token_code::integer:
        return "integer";
    case token_code::number:
        return "number";
    case token_code::name:
        return "name";
    case token_code::name_with_space:
        return "name with space";
    case token_code::identifier:
        return "identifier";
    case token_code::string_literal:
        return "string literal";
    case token_code::dot:
        return ".";
    case token_code::left_bracket:
        return "[";
    case token_code::right_bracket:
        return "]";
    case token_code::left_parenthesis:
        return "(";
    case token_code::right_parenthesis:
        return ")";
    case token_code::hash:
        return "#";
    }
    return "";
}

std::string_view url_scanner::take(std::size_t length) noexcept {
    const auto matched = rest().substr(0, length);
    at_ += matched.size();
    location_->advance(matched);
    return matched;
}

token_code url_scanner::take_text(std::size_t length, token_code code) {
    value_->text = take(length);
    return code;
}

// A leading 0 means octal; conversion stops at the first digit that the base does not have.
token_code url_scanner::take_integer(std::size_t length) {
    const auto digits = take(length);
    const int base = digits.front() == '0' ? 8 : 10;
    std::uint64_t value = 0;
    for (const char digit : digits) {
        if (digit - '0' >= base) {
            break;
        }
        value = value * static_cast<unsigned>(base) + static_cast<unsigned>(digit - '0');
        if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max())) {
            throw std::out_of_range("stoi argument out of range");
        }
    }
    value_->integer = static_cast<std::int32_t>(value);
    return token_code::integer;
}

token_code url_scanner::take_number(std::size_t length) {
    const std::string matched(take(length));
    value_->number = std::strtod(matched.c_str(), nullptr);
    return token_code::number;
}

token_code url_scanner::take_literal() {
    const literal_match match = match_literal(rest());
    if (match.unterminated != 0) { // with its line feed longer than any closed literal before it
        const std::string text(take(match.unterminated));
        throw url_syntax_error(*location_, "unterminated string " + text);
    }
    if (match.closed == 0) {
        fail_on_byte();
    }
    return take_text(match.closed, token_code::string_literal);
}

void url_scanner::fail_on_byte() {
    const std::string byte(take(1));
    throw url_syntax_error(*location_, "syntax error, unexpected " + byte);
}

token_code url_scanner::scan_outside() {
    const auto text = rest();
    const char first = text.front();
    if (begins_name(first)) {
        const std::size_t name = run_length(text, 0, continues_name);
        if (name < text.size() && is_white(text[name])) {
            const auto spaced = [](char byte) { return is_white(byte) || continues_name(byte); };
            return take_text(run_length(text, 0, spaced), token_code::name_with_space);
        }
        return take_text(name, token_code::name);
    }
    if (is_digit(first)) {
        const std::size_t digits = run_length(text, 0, is_digit);
        const std::size_t exponent = exponent_length(text, digits);
        return exponent != 0 ? take_number(digits + exponent) : take_integer(digits);
    }
    switch (first) {
    case '.':
        if (const std::size_t digits = run_length(text, 1, is_digit); digits != 0) {
            return take_number(1 + digits + exponent_length(text, 1 + digits));
        }
        take(1);
        return token_code::dot;
    case '#':
        take(1);
        return token_code::hash;
    case '[':
        take(1);
        inside_brackets_ = true;
        return token_code::left_bracket;
    case '\'':
    case '"':
        return take_literal();
    default:
        fail_on_byte();
    }
}

token_code url_scanner::scan_inside() {
    const auto text = rest();
    const char first = text.front();
    if (begins_name(first)) {
        const auto in_identifier = [](char byte) { return begins_name(byte) || is_digit(byte); };
        return take_text(run_length(text, 0, in_identifier), token_code::identifier);
    }
    if (is_digit(first)) {
        const std::size_t digits = run_length(text, 0, is_digit);
        if (digits < text.size() && text[digits] == '.') {
            const std::size_t mantissa = digits + 1 + run_length(text, digits + 1, is_digit);
            return take_number(mantissa + exponent_length(text, mantissa));
        }
        return take_integer(digits);
    }
    switch (first) {
    case '(':
        take(1);
        return token_code::left_parenthesis;
    case ')':
        take(1);
        return token_code::right_parenthesis;
    case ']':
        take(1);
        inside_brackets_ = false;
        return token_code::right_bracket;
    default:
        fail_on_byte();
    }
}

// Skips what stands between tokens; false at the end of the text. Behind skipped blanks the next token begins anew,
// behind a line feed it keeps the begin that was current before.
bool url_scanner::skip_between_tokens() {
    while (at_ < text_.size()) {
        if (text_[at_] == '\n') {
            take(1);
            std::cout << '\n';
        } else if (inside_brackets_ && is_blank(text_[at_])) {
            take(run_length(text_, at_, is_blank));
            location_->step();
        } else {
            return true;
        }
    }
    return false;
}

void url_scanner::read_stream() {
    while (stream_->good()) {
        const std::size_t filled = text_.size();
        text_.resize(std::max(first_block, 2 * filled));
        stream_->read(text_.data() + filled, static_cast<std::streamsize>(text_.size() - filled));
        text_.resize(filled + static_cast<std::size_t>(stream_->gcount()));
    }
    stream_ = nullptr;
}

token_code url_scanner::yylex() {
    if (stream_ != nullptr) {
        read_stream();
    }
    location_->step();
    const token_code code = !skip_between_tokens() ? token_code::end_of_expression
                            : inside_brackets_     ? scan_inside()
                                                   : scan_outside();
    if (debug_) {
        std::cerr << "url_scanner: " << display_name(code) << " at " << location_->text() << '\n';
    }
    return code;
}

} // namespace qor::tavi::detail
