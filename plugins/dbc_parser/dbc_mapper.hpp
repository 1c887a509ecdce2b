// Adds a DBC that was read to the catalogue: view "CAN", an object for each message, its signals.
#ifndef PLUGINS_DBC_PARSER_DBC_MAPPER_HPP
#define PLUGINS_DBC_PARSER_DBC_MAPPER_HPP

#include "plugins/dbc_parser/dbc_model.hpp"
#include "qor_plugin_sdk/description_parser.hpp"

namespace dbc_parser {

// Gives messages and signals the names that they have in the catalogue, different from their siblings', and tells of
// changed names, of signals beyond their message's end and of signals that overlap.
void settle_names_and_layout(dbc_file& file, const warning_sink& warn);

// Takes the signals out of `file` as they are written: a large file is not in memory twice. Throws what the storage
// reports.
void write_file(dbc_file& file, qor::sdk::node_writer& catalogue);

} // namespace dbc_parser

#endif
