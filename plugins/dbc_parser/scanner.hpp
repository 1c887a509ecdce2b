// Cuts the text of a DBC into tokens, one at a time and without copies.
//
// Words are runs of bytes without blanks, quotes and the punctuation : ; , ( ) [ ] | @, so that numbers, names and
// "1+" are words too; who reads them knows which it should be. What stands in quotes is read on demand, since whether a
// text may run over lines depends on where it stands.
#ifndef PLUGINS_DBC_PARSER_SCANNER_HPP
#define PLUGINS_DBC_PARSER_SCANNER_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "plugins/dbc_parser/diagnostics.hpp"

namespace qor::dbc_parser {

enum class token_kind : std::uint8_t { end, word, quote, punctuation };

struct token {
    token_kind kind = token_kind::end;
    // Nothing but blanks stands before it on its line.
    bool begins_line = true;
    place at;
    // A view into the scanned text; for a quote the opening quote alone.
    std::string_view text;

    bool is(char punctuation) const noexcept {
        return kind == token_kind::punctuation && text.front() == punctuation;
    }
};

class scanner {
public:
    // text  must stay valid; a byte order mark is skipped. The first token is cut at once.
    explicit scanner(std::string_view text);

    const token& current() const noexcept { return current_; }
    void advance();

    // Bytes that are behind, of those that there are.
    std::size_t position() const noexcept { return at_; }
    std::size_t size() const noexcept { return text_.size(); }

    // Whether only blanks stand between the current token and the end of its line.
    bool ends_line() const noexcept;
    // The first byte behind the current token that is no blank of its line; 0 at the end of the text.
    char next_byte() const noexcept;

    // The text behind the current token, which must be a quote, without its quotes; the token behind it becomes the
    // current one. Typographic quotes count, "\"" does not end a text. Nothing when the text is not closed: the next
    // token is then that of the following line. A text that swallows the beginning of a section counts as not closed.
    std::optional<std::string_view> read_text();
    // The same for a text that may not leave its line.
    std::optional<std::string_view> read_line_text();

private:
    // A text ends at a plain quote or at one of the style in which it was opened.
    enum class quote_style : std::uint8_t { plain, utf8, cp1252 };

    bool skip_blanks();
    void begin_line(std::size_t first) noexcept;
    std::size_t find_line_end(std::size_t from, std::size_t to) const noexcept;
    quote_style opening() const noexcept;
    std::size_t quote_at(std::size_t at) const noexcept;
    std::size_t find_closing(std::size_t from, std::size_t limit, quote_style opening, bool escapes) const noexcept;
    bool ends_statement(std::size_t from) const noexcept;
    bool swallows_section(std::size_t from, std::size_t to) const noexcept;
    std::string_view take_text(std::size_t from, std::size_t to);
    std::nullopt_t give_up(std::size_t from);

    std::string_view text_;
    std::size_t at_ = 0;
    std::size_t line_start_ = 0;
    std::uint32_t line_ = 1;
    // From here on no text is closed, by style: looked for once, not at every quote.
    std::array<std::size_t, 3> unclosed_from_;
    token current_;
};

} // namespace qor::dbc_parser

#endif
