// The words that a DBC's sections begin with.
#ifndef PLUGINS_DBC_PARSER_SECTIONS_HPP
#define PLUGINS_DBC_PARSER_SECTIONS_HPP

#include <cstdint>
#include <string_view>

namespace qor::dbc_parser {

enum class section : std::uint8_t {
    none,
    version,
    new_symbols,
    bit_timing,
    nodes,
    message,
    signal,
    comment,
    attribute_definition,
    attribute_default,
    attribute,
    values,
    value_table,
    value_type,
    multiplexing,
    // Known, and of no use for decoding.
    passed_over,
};

// `none` for a word that begins no section.
section section_of(std::string_view word) noexcept;

// Bytes that end a word: blanks, line ends, quotes and the DBC's punctuation.
bool is_word_byte(char byte) noexcept;

} // namespace qor::dbc_parser

#endif
