// The values of a recording of a satellite receiver: a package a sentence, which a processor plug-in reads.
#ifndef TOOLS_TAVI_DECODE_NMEA_INPUT_HPP
#define TOOLS_TAVI_DECODE_NMEA_INPUT_HPP

#include "tavi/candump_reader.hpp"
#include "tools/tavi/decode/catalogue.hpp"
#include "tools/tavi/decode/selection.hpp"
#include "tools/tavi/options.hpp"
#include "tools/tavi/output/row_writer.hpp"
#include "tools/tavi/report/account.hpp"
#include "tools/tavi/report/diagnostics.hpp"

namespace tavi::tool {

// Whom the sentences are from. The description of that source id comes by itself.
inline constexpr std::uint16_t receiver_source_id = 0x23F;
inline constexpr char receiver_source_name[] = "gps";

// Requires a processor that takes sentences, once the catalogue has loaded the receiver (catalogue::load_source).
// Throws: missing_format_error.
void require_receiver(catalogue& catalogue);

// Writes what each sentence brings. Requires: require_receiver.
// Throws: command_error, for a plug-in that fails with exit_code::plugin_failed.
void decode_nmea(const decode_options& options, host::byte_source source, catalogue& catalogue, selection& selection,
                 row_writer& rows, diagnostics& messages, account& totals);

} // namespace tavi::tool

#endif
