// The rows that one record gives.
#ifndef TOOLS_TAVI_DECODE_RECORD_ROWS_HPP
#define TOOLS_TAVI_DECODE_RECORD_ROWS_HPP

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "tavi/record_plan.hpp"
#include "tools/tavi/decode/catalogue.hpp"
#include "tools/tavi/decode/selection.hpp"
#include "tools/tavi/output/row_writer.hpp"
#include "tools/tavi/report/diagnostics.hpp"

namespace tavi::tool {

// By row of the plan; rows that were not selected are left empty.
row_texts make_rows(const row_writer& writer, const std::string& source_name, const message& subscribed,
                    const message_plan& plan);

// Writes what was asked for and is in the record; returns how many values. `readings` is grown as needed.
std::uint64_t write_record(row_writer& writer, const message_plan& plan, const row_texts& rows,
                           std::span<const std::uint8_t> record, std::vector<host::reading>& readings);

// Tells of signals asked for that no record gives a value of, once each.
// Throws: command_error when there is one and the run is strict.
void report_unreadable(const message& subscribed, const message_plan& plan, const catalogue& source,
                       message_sink& messages);

// How many of the values asked for would be there if the record went on with zeros.
std::size_t lost_values(const message_plan& plan, std::span<const std::uint8_t> record);

} // namespace tavi::tool

#endif
