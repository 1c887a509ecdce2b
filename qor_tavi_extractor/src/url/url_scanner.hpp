// Cuts the text of a URL expression into tokens. Of all rules the one that matches the longest stretch wins, of equals
// the first. Outside brackets (W is white space, D a digit, L a letter or '_'; Q one of the two quotes):
//
//     L (L | D | '-')*                                        name
//     L (L | D | '-')* W (W | L | D | '-')*                   name with space
//     D+                                                      integer
//     '.' D+ ([eE] [+-]? D+)?  |  D+ [eE] [+-]? D+            number
//     Q (not Q or line feed | '\' any but line feed | QQ)* Q  string literal, quotes and escapes kept
//     '.'  '#'  '['                                           themselves; '[' leads inside
//
// Inside brackets:
//
//     L (L | D)*                                              identifier
//     D+                                                      integer
//     D+ '.' D* ([eE] [+-]? D+)?                              number
//     tab, carriage return, blank                             skipped
//     '('  ')'  ']'                                           themselves; ']' leads outside
//
// A line feed that no rule takes is copied to standard output. Any other byte is an error, and so is a literal that
// meets a line feed before its end.
#ifndef QOR_TAVI_EXTRACTOR_URL_URL_SCANNER_HPP
#define QOR_TAVI_EXTRACTOR_URL_URL_SCANNER_HPP

#include <cstdint>
#include <istream>
#include <string>
#include <string_view>

#include "qor_tavi_extractor/src/url/location.hpp"

namespace qor::tavi::detail {

enum class token_code : int {
    end_of_expression = 0,
    comma = 44, // named by the grammar, never given by the scanner
    integer = 258,
    number,
    name,
    name_with_space,
    identifier,
    string_literal,
    dot,
    left_bracket,
    right_bracket,
    left_parenthesis,
    right_parenthesis,
    hash,
};

// How messages print a token.
std::string_view display_name(token_code code) noexcept;

struct semantic_value {
    std::int32_t integer = 0;
    double number = 0.0;
    std::string text;
};

class url_scanner {
public:
    explicit url_scanner(std::string text) : text_(std::move(text)) {}
    // Reads nothing before the first token is asked for, and then the whole stream. `stream` must outlive the object.
    explicit url_scanner(std::istream& stream) : stream_(&stream) {}

    // Where the next tokens' values and places go.
    void set_targets(semantic_value& value, location& place) noexcept {
        value_ = &value;
        location_ = &place;
    }

    // Writes each token to standard error.
    void set_debug(bool debug) noexcept { debug_ = debug; }

    // The next token; its value and place are stored.
    // Throws: url_syntax_error "syntax error, unexpected X", "unterminated string X"; std::out_of_range "stoi argument
    // out of range".
    token_code yylex();

private:
    std::string_view rest() const noexcept { return std::string_view(text_).substr(at_); }
    std::string_view take(std::size_t length) noexcept;
    token_code take_text(std::size_t length, token_code code);
    token_code take_integer(std::size_t length);
    token_code take_number(std::size_t length);
    token_code take_literal();
    [[noreturn]] void fail_on_byte();
    token_code scan_outside();
    token_code scan_inside();
    bool skip_between_tokens();
    void read_stream();

    std::istream* stream_ = nullptr;
    std::string text_;
    std::size_t at_ = 0;
    bool inside_brackets_ = false;
    bool debug_ = false;
    semantic_value* value_ = nullptr;
    location* location_ = nullptr;
};

} // namespace qor::tavi::detail

#endif
