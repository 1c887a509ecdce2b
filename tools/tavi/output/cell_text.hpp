// Texts of descriptions and logs as CSV and JSON have them: no character in them commands a terminal or a spreadsheet.
#ifndef TOOLS_TAVI_OUTPUT_CELL_TEXT_HPP
#define TOOLS_TAVI_OUTPUT_CELL_TEXT_HPP

#include <string>
#include <string_view>

namespace tavi::tool {

struct cell_rules {
    // Whether a text that a spreadsheet would run gets a ' in front.
    bool guards_formulas = true;
    // Characters that are invisible or change the direction of writing are escaped too, and bytes that are no UTF-8.
    bool is_for_terminal = false;
};

// Whether a spreadsheet takes the cell for a formula: it begins with = or @, or with + or - before something that can
// be computed (a letter, digit, bracket, quote or $). A unit "-", "--" or "+/-" is none.
bool runs_as_formula(std::string_view text);

// A field of CSV: control characters as \n, \t, \x1B; in quotes where it holds a comma or a quote.
std::string csv_field(std::string_view text, const cell_rules& rules);

// A text of JSON with its quotes. Bytes that are no UTF-8 become the replacement character.
std::string json_text(std::string_view text);

// JSON in which such characters are escaped by their numbers, \u009b: they can only be in its texts, whose values stay.
std::string escape_json(std::string_view json);

} // namespace tavi::tool

#endif
