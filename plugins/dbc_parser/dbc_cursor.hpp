// Walks over the text of a DBC. The language has no tokens that fit all its places (a name may begin with a digit, a
// range is "0-5", a sign stands behind a byte order), so each reader says what it wants next.
#ifndef PLUGINS_DBC_PARSER_DBC_CURSOR_HPP
#define PLUGINS_DBC_PARSER_DBC_CURSOR_HPP

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

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
    // Behind the ';' that ends a statement, over texts in quotes; to the end when there is none.
    void skip_statement() noexcept;

    // Skips white space, then takes `character` if it stands there.
    bool accept(char character) noexcept;

    // Each skips white space first. Throws: statement_error "expected WHAT, found ...".
    void expect(char character, const char* what);
    // Up to white space or one of : ; , " ( ) [ ] | @
    std::string_view read_word(const char* what);
    // Decimal digits without a sign. Throws also for more than 64 bits.
    uint64_t read_unsigned(const char* what);
    // A number with sign, fraction and exponent as wanted. Throws also when a double cannot hold it.
    double read_number(const char* what);
    // A text in quotes, which are left out. `lines` lets it run over line ends. Throws for one that does not end.
    std::string_view read_text(const char* what, bool lines);

    // The word that a line begins with at the present place, empty for none.
    std::string_view peek_word() const noexcept;

    // Costs a pass over the text before it, from the place of the last call on.
    text_place place_of(size_t offset) const noexcept;

    [[noreturn]] void fail_expected(const char* what) const;

private:
    std::string_view text_;
    size_t at_ = 0;
    // Where place_of was last, so that warnings in order cost one pass in all.
    mutable size_t known_offset_ = 0;
    mutable size_t known_line_ = 1;
    mutable size_t known_line_start_ = 0;
};

bool is_word_byte(char byte) noexcept;

} // namespace dbc_parser

#endif
