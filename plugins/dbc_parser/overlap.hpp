// Signals that share bits.
#ifndef PLUGINS_DBC_PARSER_OVERLAP_HPP
#define PLUGINS_DBC_PARSER_OVERLAP_HPP

#include "plugins/dbc_parser/dbc_model.hpp"

namespace dbc_parser {

// Warns once for a message of which two signals share bits while both are there: both always, one always, or both under
// the same condition. Names the first such signal and the one before it, and how many more there are.
// Requires: presence is set.
void check_overlap(const dbc_message& message, const warning_sink& warn);

} // namespace dbc_parser

#endif
