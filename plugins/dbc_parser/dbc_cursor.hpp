// Walks over the text of a DBC. The language has no tokens that fit all its places (a name may begin with a digit, a
// range is "0-5", a sign stands behind a byte order), so each reader says what it wants next.
#ifndef PLUGINS_DBC_PARSER_DBC_CURSOR_HPP
#define PLUGINS_DBC_PARSER_DBC_CURSOR_HPP

#include <array>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace dbc_parser {

// Both count from 1; a column is a byte.
struct text_place {
    size_t line = 1;
    size_t column = 1;
};

// A statement that cannot be understood, told with the place at which that showed.
class statement_error : public std::runtime_error {
public:
    statement_error(size_t offset, const std::string& cause) : std::runtime_error(cause), offset(offset) {}

    const size_t offset;
};

// Reads never copy: texts are views of the whole, which must outlive them.
class dbc_cursor {
public:
    explicit dbc_cursor(std::string_view text) noexcept : text_(text) {}

    size_t offset() const noexcept { return at_; }
    void set_offset(size_t offset) noexcept { at_ = offset; }
    bool at_end() const noexcept { return at_ >= text_.size(); }
    size_t size() const noexcept { return text_.size(); }
    char peek() const noexcept { return at_end() ? '\0' : text_[at_]; }

    // Skips blanks and line ends.
    void skip_white() noexcept;
    // Skips blanks only.
    void skip_blanks() noexcept;
    // To the first byte of the next line.
    void skip_line() noexcept;
    // Over the quote at the present place and the text behind it, if a quote ends that on its line.
    void skip_line_text() noexcept;

    // Skips white space, then takes `character` if it stands there.
    bool accept(char character) noexcept;

    // Each skips white space first. Throws: statement_error "expected WHAT, found ...".
    void expect(char character, const char* what);
    // Up to white space or one of : ; , " ( ) [ ] | @
    std::string_view read_word(const char* what);
    // Decimal digits without a sign. Throws also for more than 64 bits.
    uint64_t read_unsigned(const char* what);
    // A number with sign, fraction and exponent as wanted. Throws also when it is too large for a double.
    double read_number(const char* what);
    // The text of such a number.
    std::string_view read_number_text(const char* what);
    // A text in quotes, which are left out: plain ones, or typographic ones of UTF-8 or CP-1252. A quote behind a
    // backslash does not end it. `lines` lets it run over line ends. Throws for one that does not end.
    std::string_view read_text(const char* what, bool lines);

    // The word that a line begins with at the present place, empty for none.
    std::string_view peek_word() const noexcept;

    // Costs one pass over the text in all, and a few thousand bytes a call.
    text_place place_of(size_t offset) const;

    [[noreturn]] void fail_expected(const char* what) const;

    // Whether a text in quotes begins at the present place.
    bool at_quote() const noexcept { return !at_end() && quote_size(at_) != 0; }
    // The bytes from the present place up to the end of the line.
    std::string_view rest_of_line() const noexcept { return text_.substr(at_, line_end(at_) - at_); }

private:
    // A text ends at a plain quote or at one of the style in which it was opened.
    enum class quote_style : std::uint8_t { plain, utf8, cp1252 };

    size_t line_end(size_t from) const noexcept;
    size_t quote_size(size_t at) const noexcept;
    quote_style style_at(size_t at) const noexcept;
    size_t closing_quote(size_t from, quote_style style, bool lines, bool escapes) const noexcept;
    size_t end_of_text(size_t begin, quote_style style, bool lines) noexcept;

    std::string_view text_;
    // From here on no text is closed, by style: searched for once, not at every quote.
    std::array<size_t, 3> unclosed_from_{SIZE_MAX, SIZE_MAX, SIZE_MAX};
    size_t at_ = 0;
    // Line and its first byte at an offset.
    struct line_mark {
        size_t offset = 0;
        size_t line = 1;
        size_t line_start = 0;
    };

    line_mark advance(line_mark mark, size_t offset) const noexcept;

    // One for every few thousand bytes, as far as places were asked for, and the place that was asked for last.
    mutable std::vector<line_mark> marks_;
    mutable line_mark last_;
};

bool is_word_byte(char byte) noexcept;

} // namespace dbc_parser

#endif
