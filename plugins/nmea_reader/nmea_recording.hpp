// Recordings of a satellite receiver: sentences of NMEA 0183, one a line:
//
//     # a comment
//     $GNGGA,223745.00,3806.62964,N,12237.61382,W,2,12,0.54,83.1,M,-29.5,M,,0000*44
//     \s:rx1,c:1594507065*2B\$GPGSV,1,1,00,1*65     with a tag block, which is passed over
//
// Lines end in LF, CR or both; blank lines are passed over, so are blanks and zero bytes around a sentence and a byte
// order mark at the beginning. A sentence begins with '$' or '!', contains printable ASCII without these two and ends
// in a checksum that fits, or in none while no sentence had one. One that begins within a line is read even if what is
// before it is damaged.
//
// A line that begins with '#' is a comment up to its end, or up to a whole sentence with a checksum that fits: then a
// line end was lost. '#' in place of the first character of such a sentence is damage.
#ifndef PLUGINS_NMEA_READER_NMEA_RECORDING_HPP
#define PLUGINS_NMEA_READER_NMEA_RECORDING_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "qor_plugin_sdk/recording_reader.hpp"

namespace qor::nmea_log {

// Each package is a sentence, from '$' or '!' on, with CR LF. Its time is its own universal time, else that of the last
// sentence that had one: seconds since 1970 with as many decimals as the sentence has, such as "1594507065.00"; none
// until a sentence with a date came. Sentences that have a time and no date are of the last date, or of the day after
// it when the time went back by half a day. Thread: one at a time.
class nmea_recording final : public sdk::recording {
public:
    static constexpr qor_recording_format_t format{"nmea", "sentences of NMEA 0183", "nmea ubx txt log"};

    // Bytes of the longest line; longer ones are faults.
    static constexpr std::size_t line_limit = 4096;
    // Of the receiver. The description of that source id comes by itself.
    static constexpr std::uint16_t receiver_source_id = 0x23F;

    // Sure when the first line that is no comment begins with an address, as "$GPGGA,", a guess when a later one does
    // before one that begins as lines of candump do, with '(' and a digit.
    static std::int32_t recognise(std::span<const std::uint8_t> beginning, bool is_whole);

    explicit nmea_recording(sdk::recording_input input);

    bool read(sdk::batch_builder& batch) override;
    std::uint64_t place() const noexcept override { return line_number_; }

private:
    // Why a part of a line is not a sentence.
    struct fault {
        std::size_t column = 0;
        const char* cause = "";
        const char* hint = "";
    };

    bool has_to_read();
    bool next_line();
    bool begin_line(sdk::batch_builder& batch);
    void take_part(sdk::batch_builder& batch);
    bool parse(std::size_t begin, std::size_t end, std::string_view& sentence);
    void add(sdk::batch_builder& batch, std::string_view sentence);
    void add_fault(sdk::batch_builder& batch);
    void take_time(std::string_view sentence);
    void take_clock(std::string_view clock);
    bool fail(std::size_t at, const char* cause, const char* hint);

    sdk::recording_input input_;
    std::string block_;
    std::size_t begin_ = 0;
    std::string line_;
    std::uint64_t line_number_ = 0;
    bool is_too_long_ = false;
    bool line_has_end_ = false;
    // Whether the last line ended in CR, which LF may follow.
    bool after_return_ = false;
    // Where the rest of the line begins.
    std::size_t at_ = 0;
    // From then on a sentence without one is one that was cut.
    bool checksums_came_ = false;
    fault fault_;
    // Days since 1970 and seconds of the day.
    std::optional<std::int64_t> day_;
    std::int64_t second_ = 0;
    std::string time_;
    std::int64_t nanoseconds_ = 0;
    std::uint8_t decimals_ = QOR_RECORDED_WITHOUT_TIME;
};

} // namespace qor::nmea_log

#endif
