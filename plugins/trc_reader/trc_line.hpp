// One record line of a TRC recording. Versions 1.0 to 1.3 have fixed columns:
//
//     1.0   N) OFFSET ID LENGTH BYTES...
//     1.1   N) OFFSET TYPE ID LENGTH BYTES...
//     1.2   N) OFFSET BUS TYPE ID LENGTH BYTES...
//     1.3   N) OFFSET BUS TYPE ID RESERVED LENGTH BYTES...
//
// TYPE is Rx, Tx, Warng or Error. RTR in place of the bytes is a remote frame; 1.0 has ERROR before the bytes of an
// error frame. From version 2.0 on the header names the columns by letters:
//
//     N number   O offset   T type   B bus   I id   d direction   R reserved   l bytes   L length code   D data
//
// and TYPE is DT (data), RR (remote), FD, FB, FE, BI (CAN FD: without, with bit rate switch, with error state, with
// both), ER (error frame), ST, EC, EV (status, error counters, events). Offsets are milliseconds. Ids have four digits
// for 11 bits, eight for 29 bits.
#ifndef PLUGINS_TRC_READER_TRC_LINE_HPP
#define PLUGINS_TRC_READER_TRC_LINE_HPP

#include <array>
#include <string>

#include "qor_plugin_sdk/can_recording.hpp"
#include "qor_plugin_sdk/text_fields.hpp"

namespace qor::trc {

// Letters as above; lines of the first generation, 1.0 to 1.3, have ")" after the number.
struct trc_columns {
    std::string letters;
    bool is_first_generation;
};

inline trc_columns default_columns(std::string_view version) {
    return version == "1.0"   ? trc_columns{"NOIlD", true}
           : version == "1.1" ? trc_columns{"NOTIlD", true}
           : version == "1.2" ? trc_columns{"NOBTIlD", true}
           : version == "1.3" ? trc_columns{"NOBTIRlD", true}
           : version == "2.0" ? trc_columns{"NOTIdlD", false}
                              : trc_columns{"NOTBIdRLD", false};
}

struct trc_line {
    enum class kind { frame, event, fault };

    kind what = kind::fault;
    std::uint64_t number = 0;
    sdk::recorded_time time;
    std::uint32_t channel = 1;
    sdk::recorded_frame frame; // its data are `data`
    std::array<std::uint8_t, can_max_data_size> data;
    std::string_view event; // of an event: its kind
    // Of a fault.
    const char* where = nullptr;
    std::string cause;
    const char* hint = "";
};

// Requires: a text that is not blank.
void read_trc_line(std::string_view text, const trc_columns& columns, trc_line& line);

} // namespace qor::trc

#endif
