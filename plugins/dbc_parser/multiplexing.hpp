// When a multiplexed signal is in its message: turns the marks of the language into conditions on selectors.
#ifndef PLUGINS_DBC_PARSER_MULTIPLEXING_HPP
#define PLUGINS_DBC_PARSER_MULTIPLEXING_HPP

#include "plugins/dbc_parser/dbc_model.hpp"

namespace dbc_parser {

// Sets `presence` of each signal, in the form of qor_signal_node_t::presence, and the selectors' `is_selector`. Marks
// that lead nowhere (no selector, an unknown one, selectors that select each other) are told, and the signal then
// counts as always there. Requires: the signals' node names are not needed; selectors are named as in the file.
void resolve_multiplexing(dbc_message& message, const warning_sink& warn);

} // namespace dbc_parser

#endif
