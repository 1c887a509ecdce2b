// Reads the text of a DBC statement by statement. What is understood enters the file; what is not is left out with a
// warning, and reading goes on at the next line that begins a section.
#ifndef PLUGINS_DBC_PARSER_DBC_READER_HPP
#define PLUGINS_DBC_PARSER_DBC_READER_HPP

#include <functional>
#include <string>
#include <string_view>

#include "plugins/dbc_parser/dbc_cursor.hpp"
#include "plugins/dbc_parser/dbc_model.hpp"

namespace dbc_parser {

// Called with how much was read, from 0 to 1. May be empty; what it throws stops the reading.
using progress_sink = std::function<void(float fraction)>;

// Throws: statement_error for a text that has no section of a DBC.
dbc_file read_file(dbc_cursor& cursor, const warning_sink& warn, const progress_sink& progress);

} // namespace dbc_parser

#endif
