// Reads CAN frames from the text that `candump -L` writes, one frame a line:
//
//     (1436509052.249713) can0 0C0#1122          classic frame, 11-bit id (3 digits), data in hexadecimal
//     (1436509052.250001) can0 18FEF100#1122     29-bit id (8 digits)
//     (1436509052.250100) can1 123##1AABBCCDD    CAN FD: one digit of flags, then the data
//     (1436509052.250200) can1 0C0#R8            remote frame, with or without a length
//     (1436509052.250300) can0 20000080#00000000 error frame: bit 29 of 8 digits is set
//
// A letter R or T may follow (direction). Lines end in LF or CRLF; blank lines are passed over, and so is a byte order
// mark at the beginning of the log. The text is read in blocks and scanned in place: no line is copied, and a line of
// any length takes no more memory than a block.
#ifndef TAVI_CANDUMP_READER_HPP
#define TAVI_CANDUMP_READER_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tavi/byte_stream.hpp"

namespace tavi::host {

inline constexpr std::uint8_t can_fd_flag = 0x04; // in `flags`: a CAN FD frame; the other bits as the log has them

struct candump_frame {
    // Seconds since whatever the log counts from: the log's own text without leading zeros. Valid until the next frame.
    std::string_view time;
    // Index of the interface, see candump_reader::channels.
    std::size_t channel = 0;
    // The id with the flag bits of qorcpp/can_frame.hpp.
    std::uint32_t id = 0;
    std::uint8_t flags = 0;
    // Bytes of data; for a remote frame the length asked for, without data.
    std::uint8_t length = 0;
    std::array<std::uint8_t, 64> data{};
};

// Why a line is no frame.
struct candump_fault {
    // Position in the line where it was found, in bytes from 1.
    std::size_t column = 0;
    std::string cause;
    // What the reader of the message may do or look at.
    std::string hint;
};

// The number that the interface of a name has from its first frame on; nothing when the log names too many.
using channel_numbers = std::function<std::optional<std::size_t>(std::string_view name)>;

struct candump_cursor;
class candump_plain_line;

// Thread: one at a time.
class candump_reader {
public:
    enum class outcome { frame, damaged, end };

    // Interfaces that one log may name; lines of further ones count as damaged.
    static constexpr std::size_t channel_limit = 256;

    // block_size: bytes read at once; a line as long as this or longer is damaged (at least 4096).
    explicit candump_reader(byte_source source, std::size_t block_size = default_block_size);
    static constexpr std::size_t default_block_size = std::size_t{256} << 10;

    // For a log that comes in pieces, see read_text. Whoever has the pieces knows which interfaces came before: numbers
    // are asked for once for each name.
    explicit candump_reader(channel_numbers numbers);
    ~candump_reader();

    // Goes on with another piece of the log: whole lines, at most default_block_size bytes. A last line without its end
    // is taken as it is; one that is a whole piece of that size is damaged for its length. Line numbers begin anew.
    // begins_log: it is the first piece, which may begin with a byte order mark.
    void read_text(std::string_view text, bool begins_log) noexcept;

    // The next frame, a line that is none (then see fault(), line_text()), or the end. What the source throws goes
    // through.
    outcome next(candump_frame& frame);

    // Of the line that `next` told of last: its number from 1, its text without line end (the beginning only, when it
    // is longer than a block; valid until the next call).
    std::uint64_t line_number() const noexcept { return line_number_; }
    std::string_view line_text() const noexcept { return line_; }
    // Whether it had a line end: the last line of a log need not have one.
    bool line_has_end() const noexcept { return line_has_end_; }
    const candump_fault& fault() const noexcept { return fault_; }

    // The interfaces seen so far, in order of first appearance (of this reader alone when it reads pieces).
    const std::vector<std::string>& channels() const noexcept { return channels_; }

    // Bytes taken from the source.
    std::uint64_t bytes_read() const noexcept { return bytes_read_; }

private:
    bool next_line();
    bool refill();
    void skip_rest_of_line();
    bool next_plain_line(candump_frame& frame) noexcept;
    bool parse(candump_frame& frame);
    bool learn_beginning(candump_cursor& line, std::string_view channel, candump_frame& frame);
    std::optional<std::size_t> number_of(std::string_view channel) const;

    byte_source source_;
    channel_numbers numbers_;
    std::vector<char> block_;
    // Where the text stands: the block, or a piece that another owns.
    const char* text_ = nullptr;
    // A line as long as this is damaged.
    std::size_t limit_;
    std::size_t begin_ = 0;
    std::size_t end_ = 0;
    bool at_end_ = false;
    bool begins_log_ = true;
    std::uint64_t bytes_read_ = 0;
    std::uint64_t line_number_ = 0;
    std::string_view line_;
    bool line_is_cut_ = false;
    bool line_has_end_ = false;
    candump_fault fault_;
    std::vector<std::string> channels_;
    std::vector<std::size_t> channel_numbers_; // of the same
    std::unique_ptr<candump_plain_line> plain_;
};

} // namespace tavi::host

#endif
