// Texts of a DBC as UTF-8. Files come in UTF-8 or in CP-1252; a text that is no valid UTF-8 is taken as the latter.
#ifndef PLUGINS_DBC_PARSER_TEXT_ENCODING_HPP
#define PLUGINS_DBC_PARSER_TEXT_ENCODING_HPP

#include <string>
#include <string_view>

namespace dbc_parser {

// Zero bytes, which no catalogue text can hold, become blanks.
std::string to_utf8(std::string_view text);

// A text in quotes as people read it: an escaped quote is a quote, every line end a line feed.
std::string readable_text(std::string_view text);

// Without the byte order mark that some editors put first.
std::string_view without_byte_order_mark(std::string_view text) noexcept;

} // namespace dbc_parser

#endif
