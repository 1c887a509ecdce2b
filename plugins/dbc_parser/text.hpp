// Texts of a DBC as UTF-8, whatever they were written in, and the place where they are kept.
#ifndef PLUGINS_DBC_PARSER_TEXT_HPP
#define PLUGINS_DBC_PARSER_TEXT_HPP

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qor::dbc_parser {

bool is_utf8(std::string_view text) noexcept;

// A text that is not UTF-8 is taken as CP-1252: each text for itself, since files are joined from several. An escaped
// quote becomes a quote, a line end a line feed, a NUL and what CP-1252 leaves open U+FFFD.
std::string to_utf8(std::string_view raw);

// For messages: as UTF-8, in single quotes, cut to what fits on a line.
std::string quoted(std::string_view raw);

// Whether a level of a URL can carry the name as it is.
bool is_level_name(std::string_view name) noexcept;

// A name that a level of a URL can carry: letters, digits, '_' and '-', a letter or '_' first. Any other character
// becomes '_', and '_' is put before a first digit or '-'.
std::string to_level_name(std::string_view raw);

// Keeps zero-terminated copies of texts until it is cleared.
class text_arena {
public:
    // A copy as it is.
    const char* keep(std::string_view text);
    // to_utf8; null for an empty text.
    const char* keep_utf8(std::string_view raw);
    void clear() noexcept;

private:
    std::vector<std::unique_ptr<char[]>> blocks_;
    std::size_t room_ = 0;
    char* next_ = nullptr;
};

} // namespace qor::dbc_parser

#endif
