// The forms of output: what row_writer puts before and after values. A form is a constant NAME_format in a file of its
// own, NAME_format.cpp, and a word in the list below.
#ifndef TOOLS_TAVI_OUTPUT_ROW_FORMAT_HPP
#define TOOLS_TAVI_OUTPUT_ROW_FORMAT_HPP

#include <array>
#include <string>
#include <string_view>

#include "tools/tavi/output/cell_text.hpp"

// The first is the default.
#define TAVI_ROW_FORMATS(format) format(csv) format(jsonl)

namespace tavi::tool {

struct row_format {
    // Before all rows, with its line end; may be empty.
    std::string_view header;
    // A row begins with before_time and the time, or with no_time where it has none.
    std::string_view before_time;
    std::string_view no_time;
    // Values that are not numbers (NaN, infinity) are put in quotes.
    bool quotes_non_finite;
    // What is between time and value, for a signal's full URL, and what is after the value, with the line end.
    std::string (*before_value)(std::string_view signal, const cell_rules& rules);
    std::string (*after_value)(std::string_view unit, const cell_rules& rules);
};

#define TAVI_DECLARE_ROW_FORMAT(name) extern const row_format name##_format;
TAVI_ROW_FORMATS(TAVI_DECLARE_ROW_FORMAT)
#undef TAVI_DECLARE_ROW_FORMAT

struct named_row_format {
    // As --format has it.
    const char* name;
    const row_format* format;
};

#define TAVI_NAME_ROW_FORMAT(name) named_row_format{#name, &name##_format},
inline constexpr std::array row_formats = {TAVI_ROW_FORMATS(TAVI_NAME_ROW_FORMAT)};
#undef TAVI_NAME_ROW_FORMAT

} // namespace tavi::tool

#endif
