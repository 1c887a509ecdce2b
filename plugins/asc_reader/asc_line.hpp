// One line of an ASC recording after its header.
//
//     TIME CHANNEL ID[x] [NAME] Rx|Tx|TxRq d LENGTH BYTES... [Length = N BitCount = N ID = N[x]] [FLAGS]
//     TIME CHANNEL ID[x] [NAME] Rx|Tx|TxRq r [LENGTH]
//     TIME CHANNEL ErrorFrame ...
//     TIME CANFD CHANNEL Rx|Tx ID[x] [NAME] BRS ESI DLC LENGTH BYTES... [DURATION BITS FLAGS CRC ...]
//     TIME CANFD CHANNEL Rx|Tx ErrorFrame ...
//     TIME EVENT ...
//
// Of a classic line ID, LENGTH and BYTES are in the base of the header; of a CANFD line they are hexadecimal, and
// LENGTH is decimal.
#ifndef PLUGINS_ASC_READER_ASC_LINE_HPP
#define PLUGINS_ASC_READER_ASC_LINE_HPP

#include <array>
#include <string>

#include "qor_plugin_sdk/can_recording.hpp"
#include "qor_plugin_sdk/text_fields.hpp"

namespace qor::asc {

struct asc_line {
    enum class kind { frame, event, start_of_measurement, fault };

    // Set for all kinds but a fault in the time itself, whose time has no decimals.
    sdk::recorded_time time;
    kind what = kind::fault;
    std::uint32_t channel = 0;
    sdk::recorded_frame frame; // its data are `data`
    std::array<std::uint8_t, can_max_data_size> data;
    std::string_view event; // of an event: its kind
    // Of a fault.
    const char* where = nullptr;
    std::string cause;
    const char* hint = "";
};

// Requires: a text that is not blank. `base`: 10 or 16.
void read_asc_line(std::string_view text, unsigned base, asc_line& line);

} // namespace qor::asc

#endif
