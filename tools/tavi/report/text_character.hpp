// Characters of texts in UTF-8, and what a terminal makes of them.
#ifndef TOOLS_TAVI_REPORT_TEXT_CHARACTER_HPP
#define TOOLS_TAVI_REPORT_TEXT_CHARACTER_HPP

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace tavi::tool {

enum class character_kind {
    visible,
    control, // moves the cursor or ends a line: C0, DEL, C1, U+2028, U+2029
    format,  // invisible, or turns the direction of what follows, so that a text looks like another one
    invalid  // a byte that belongs to no character
};

struct text_character {
    std::size_t length = 1; // bytes
    std::uint32_t code = 0; // of an invalid one the byte
    character_kind kind = character_kind::invalid;
};

// Requires: `text` is not empty.
text_character first_character(std::string_view text);

} // namespace tavi::tool

#endif
