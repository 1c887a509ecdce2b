// One line of a candump log, taken apart. For the reader.
#ifndef HOST_SRC_RECORDINGS_CANDUMP_LINE_HPP
#define HOST_SRC_RECORDINGS_CANDUMP_LINE_HPP

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "tavi/candump_reader.hpp"

namespace tavi::host {

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

} // namespace tavi::host

#endif
