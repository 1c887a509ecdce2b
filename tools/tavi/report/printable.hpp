// Foreign text made fit for a terminal.
#ifndef TOOLS_TAVI_REPORT_PRINTABLE_HPP
#define TOOLS_TAVI_REPORT_PRINTABLE_HPP

#include <cstddef>
#include <string>
#include <string_view>

namespace tavi::tool {

// For screens: control characters, characters that are invisible or change the direction of writing, and bytes that are
// no UTF-8 become \n, \t, \x1B and the like; the rest stays.
std::string printable(std::string_view text);

// The same for a text of several lines, whose ends stay.
std::string printable_lines(std::string_view text);

// For files: only control characters become such texts.
std::string without_controls(std::string_view text);

// The line of a text that a message points at, and where its caret stands.
struct excerpt {
    std::string text;
    std::size_t caret = 0; // characters before it
};

// Cut to `width` characters around the byte `column` (from 1), with "..." where something was left out.
excerpt make_excerpt(std::string_view line, std::size_t column, std::size_t width = 120);

} // namespace tavi::tool

#endif
