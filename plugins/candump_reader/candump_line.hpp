// One line of a candump log, parsed: every form of it, and what is wrong with one that is none.
#ifndef PLUGINS_CANDUMP_READER_CANDUMP_LINE_HPP
#define PLUGINS_CANDUMP_READER_CANDUMP_LINE_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace qor::candump {

inline constexpr std::uint8_t can_fd_flag = 0x04; // in `flags`: a CAN FD frame; the other bits as the log has them

// A frame of a line.
struct candump_frame {
    // Seconds since whatever the log counts from: the log's own text without leading zeros, a part of the line.
    std::string_view time;
    // Where the point is in it.
    std::size_t point = 0;
    // Index among the interfaces.
    std::size_t channel = 0;
    // The id with the flag bits of qorcpp/can_frame.hpp.
    std::uint32_t id = 0;
    std::uint8_t flags = 0;
    // Bytes of data; for a remote frame the length that it requests, without data.
    std::uint8_t length = 0;
    // The letter T follows.
    bool is_transmitted = false;
    // Where the data go: candump_data_room bytes.
    std::uint8_t* data = nullptr;
};

// 64 bytes, and what is stored after the last of them.
inline constexpr std::size_t candump_data_room = 80;

// Why a line is not a frame.
struct candump_fault {
    // Position in the line where it was found, in bytes from 1.
    std::size_t column = 0;
    std::string cause;
    // What the reader of the message may do or look at.
    std::string hint;
};

inline constexpr const char* candump_line_hint =
    "expected (SECONDS.FRACTION) INTERFACE ID#DATA, as candump -L writes it";

// Digits of the seconds, leading zeros apart: fewer than 64 bits can count.
inline constexpr std::size_t candump_longest_time = 18;

inline bool is_candump_blank(char character) noexcept {
    return character == ' ' || character == '\t';
}

// The part of a line that is not parsed yet; `fail` notes the place and always gives false.
struct candump_cursor {
    const char* begin;
    const char* at;
    const char* end;
    candump_fault& fault;

    bool done() const noexcept { return at == end; }
    std::size_t left() const noexcept { return static_cast<std::size_t>(end - at); }
    void skip_blanks() noexcept {
        while (at < end && is_candump_blank(*at)) {
            ++at;
        }
    }
    [[gnu::cold]] bool fail(const char* where, std::string cause, const char* hint) {
        fault.column = static_cast<std::size_t>(where - begin) + 1;
        fault.cause = std::move(cause);
        fault.hint = hint;
        return false;
    }
};

// "(seconds.fraction) interface " and the blanks behind it.
bool parse_candump_beginning(candump_cursor& line, std::string_view& time, std::string_view& channel);

// Whether a frame can have that many bytes of data: up to 8, or a length of CAN FD.
bool is_can_length(std::size_t length) noexcept;

// "id#data" and what may follow: sets id, flags, length and data.
bool parse_candump_frame(candump_cursor& line, candump_frame& frame);

} // namespace qor::candump

#endif
