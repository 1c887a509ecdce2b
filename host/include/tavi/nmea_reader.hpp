// Reads sentences from an NMEA 0183 log, one a line:
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
#ifndef TAVI_NMEA_READER_HPP
#define TAVI_NMEA_READER_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tavi/candump_reader.hpp"

namespace tavi::host {

struct nmea_sentence {
    // From '$' or '!' on, without line end. Valid until the next sentence.
    std::string_view text;
    // The sentence's own universal time, else that of the last sentence that had one: seconds since 1970 with as many
    // decimals as the sentence has, such as "1594507065.00". Empty until a sentence with a date came. Sentences that
    // have a time and no date are of the last date, or of the day after it when the time went back by half a day.
    std::string_view time;
};

// Thread: one at a time.
class nmea_reader {
public:
    enum class outcome { sentence, damaged, end };

    // Bytes of the longest line; longer ones are damaged.
    static constexpr std::size_t line_limit = 4096;

    explicit nmea_reader(byte_source source) : source_(std::move(source)) {}

    // The next sentence, a line or a piece of one that is none (then see fault(), line_text()), or the end. What the
    // source throws goes through.
    outcome next(nmea_sentence& sentence);

    // Of the line that `next` told of last: its number from 1, its text (the beginning, when it is too long).
    std::uint64_t line_number() const noexcept { return line_number_; }
    std::string_view line_text() const noexcept { return line_; }
    // Whether it had a line end: the last line of a log need not have one.
    bool line_has_end() const noexcept { return line_has_end_; }
    const candump_fault& fault() const noexcept { return fault_; }

    // Comment lines so far.
    std::uint64_t comment_lines() const noexcept { return comment_lines_; }

    // Whether a text looks like the beginning of such a log: a line begins with an address, as "$GPGGA,", before one
    // begins as lines of candump do, with '(' and a digit. Nothing when there is no such line yet.
    static std::optional<bool> recognise(std::string_view beginning);

private:
    bool next_line();
    bool take_piece(nmea_sentence& sentence);
    bool parse(std::size_t begin, std::size_t end, nmea_sentence& sentence);
    void take_time(std::string_view sentence);
    void take_clock(std::string_view clock);
    bool fail(std::size_t at, const char* cause, const char* hint);

    byte_source source_;
    std::string block_;
    std::size_t begin_ = 0;
    std::string line_;
    std::uint64_t line_number_ = 0;
    std::uint64_t comment_lines_ = 0;
    bool is_too_long_ = false;
    bool line_has_end_ = false;
    // Whether the last line ended in CR, which LF may follow.
    bool after_return_ = false;
    // Where the rest of the line begins.
    std::size_t at_ = 0;
    // From then on a sentence without one is one that was cut.
    bool checksums_came_ = false;
    candump_fault fault_;
    // Days since 1970 and seconds of the day.
    std::optional<std::int64_t> day_;
    std::int64_t second_ = 0;
    std::string time_;
};

} // namespace tavi::host

#endif
