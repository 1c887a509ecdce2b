// Which signals of a multiplexed message are there, and when.
#ifndef PLUGINS_DBC_PARSER_MULTIPLEXING_HPP
#define PLUGINS_DBC_PARSER_MULTIPLEXING_HPP

#include "plugins/dbc_parser/dbc_model.hpp"

namespace dbc_parser {

// Sets the presence of each signal from the multiplexing marks and the ranges that were read, and marks every selector.
// A signal whose selector is not known counts as always there, with a warning.
//
// room  bytes that the conditions of all messages may still take; a signal whose conditions find no room is dropped
//       with a warning, for the conditions of a hostile file grow with the square of its size
void resolve_multiplexing(dbc_message& message, size_t& room, const warning_sink& warn);

} // namespace dbc_parser

#endif
