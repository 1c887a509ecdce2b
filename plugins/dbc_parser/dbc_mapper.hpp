// Writes a DBC that was read into a context of the signal storage: view "CAN", an object for each message, its signals.
#ifndef PLUGINS_DBC_PARSER_DBC_MAPPER_HPP
#define PLUGINS_DBC_PARSER_DBC_MAPPER_HPP

#include "plugins/dbc_parser/dbc_model.hpp"
#include "qorc/extensibility/signal_storage.h"

namespace dbc_parser {

// Gives messages and signals the names that they have in the catalogue, different from their siblings', and tells of
// changed names, of signals beyond their message's end and of signals that overlap.
void settle_names_and_layout(dbc_file& file, const warning_sink& warn);

// Throws what the storage reports.
void write_file(const dbc_file& file, qor_signal_storage_context_t& context);

} // namespace dbc_parser

#endif
