#include "plugins/candump_reader/candump_line.hpp"

#include <algorithm>
#include <array>
#include <cstring>

#include "plugins/candump_reader/hex_text.hpp"
#include "qorcpp/can_frame.hpp"

namespace qor::candump {

namespace {

constexpr const char* time_hint = "expected (SECONDS.FRACTION), for example (1436509052.249713)";
constexpr const char* id_hint =
    "expected 3 hexadecimal digits for an 11-bit id (up to 7FF) or 8 for a 29-bit id (up to 1FFFFFFF)";
constexpr const char* data_hint = "expected pairs of hexadecimal digits, R for a remote frame or ## for CAN FD";

const char* skip_digits(const char* at, const char* end) noexcept {
    return std::find_if(at, end, [](char character) { return character < '0' || character > '9'; });
}

bool parse_time(candump_cursor& line, std::string_view& time) {
    line.skip_blanks();
    if (line.done() || *line.at != '(') {
        return line.fail(line.at, "the line does not begin with a time in parentheses", candump_line_hint);
    }
    const char* first = ++line.at;
    line.at = skip_digits(line.at, line.end);
    const char* const point = line.at;
    if (point == first || point == line.end || *point != '.') {
        return line.fail(
            point, point == line.end ? "the line ends inside the time" : "the time is not SECONDS.FRACTION", time_hint);
    }
    line.at = skip_digits(point + 1, line.end);
    if (line.done()) {
        return line.fail(line.at, "the line ends inside the time", time_hint);
    }
    if (line.at == point + 1 || *line.at != ')') {
        return line.fail(line.at, "the time is not SECONDS.FRACTION", time_hint);
    }
    while (point - first > 1 && *first == '0') {
        ++first;
    }
    if (static_cast<std::size_t>(point - first) > candump_longest_time) {
        return line.fail(first, "the time has more seconds than 64 bits can count", time_hint);
    }
    time = {first, static_cast<std::size_t>(line.at - first)};
    ++line.at;
    return true;
}

bool parse_channel(candump_cursor& line, std::string_view& channel) {
    // Else a damaged blank would become the first character of an interface that does not exist.
    if (!line.done() && !is_candump_blank(*line.at)) {
        return line.fail(line.at, "the time is not followed by a space", candump_line_hint);
    }
    line.skip_blanks();
    const char* const first = line.at;
    while (line.at < line.end && !is_candump_blank(*line.at)) {
        ++line.at;
    }
    channel = {first, static_cast<std::size_t>(line.at - first)};
    if (channel.empty() || line.done()) {
        return line.fail(line.at,
                         channel.empty() ? "the line ends before the interface" : "the line ends before the id",
                         candump_line_hint);
    }
    line.skip_blanks();
    return true;
}

// False when one of the characters is no hexadecimal digit.
bool read_digits(const char* text, std::size_t count, std::uint32_t& value) noexcept {
    value = 0;
    return std::all_of(text, text + count, [&](char character) {
        value = value << 4 | hex_value(character);
        return hex_value(character) < 16;
    });
}

bool parse_id(candump_cursor& line, std::uint32_t& id) {
    const char* const first = line.at;
    if (line.left() > 8 && first[8] == '#') {
        if (std::uint32_t value = 0; read_digits(first, 8, value)) {
            if ((value & (qor::can_extended_bit | qor::can_remote_bit)) != 0) {
                return line.fail(first, "the id " + std::string(first, 8) + " has more than 29 bits", id_hint);
            }
            id = (value & qor::can_error_bit) != 0 ? value : value | qor::can_extended_bit;
            line.at += 8;
            return true;
        }
    } else if (line.left() > 3 && first[3] == '#') {
        if (std::uint32_t value = 0; read_digits(first, 3, value)) {
            if (value > 0x7FF) {
                return line.fail(first, "the id " + std::string(first, 3) + " has more than 11 bits", id_hint);
            }
            id = value;
            line.at += 3;
            return true;
        }
    }
    while (line.at < line.end && hex_value(*line.at) < 16) {
        ++line.at;
    }
    if (line.done()) {
        return line.fail(line.at, "the line ends inside the id or before its data", candump_line_hint);
    }
    if (*line.at != '#') {
        return line.fail(line.at, "the id contains a character that is not a hexadecimal digit", id_hint);
    }
    return line.fail(first, "the id has " + std::to_string(line.at - first) + " digits", id_hint);
}

// The pairs of digits up to the first character that is none; false on an odd digit or more than `limit` bytes.
bool parse_data(candump_cursor& line, candump_frame& frame, std::size_t limit) {
    const char* const first = line.at;
    std::size_t length = 0;
    while (line.left() >= 2 && length < limit) {
        const unsigned high = hex_value(line.at[0]);
        const unsigned low = hex_value(line.at[1]);
        if ((high | low) > 15) {
            break;
        }
        frame.data[length++] = static_cast<std::uint8_t>(high << 4 | low);
        line.at += 2;
    }
    frame.length = static_cast<std::uint8_t>(length);
    if (line.done() || hex_value(*line.at) > 15) {
        return true;
    }
    const char* last = line.at;
    while (last < line.end && hex_value(*last) < 16) {
        ++last;
    }
    if (length == limit) {
        return line.fail(line.at,
                         std::to_string((last - first + 1) / 2) + " bytes of data; a " +
                             (limit == 8 ? "classic" : "CAN FD") + " frame has at most " + std::to_string(limit),
                         limit == 8 ? "in CAN FD frames ## and a digit of flags come before the data" : data_hint);
    }
    if (last != line.end && !is_candump_blank(*last)) {
        line.at = last;
        return line.fail(last, "the data contain a character that is not a hexadecimal digit", data_hint);
    }
    return line.fail(line.at, "the data have an odd number of digits", data_hint);
}

bool parse_remote(candump_cursor& line, candump_frame& frame) {
    ++line.at;
    frame.id |= qor::can_remote_bit;
    frame.length = 0;
    if (!line.done() && !is_candump_blank(*line.at)) {
        const auto length = hex_value(*line.at);
        if (length > 8) {
            return line.fail(line.at, "the length of a remote frame is not 0 to 8", data_hint);
        }
        frame.length = length;
        ++line.at;
    }
    return true;
}

// What follows '#'.
bool parse_content(candump_cursor& line, candump_frame& frame) {
    ++line.at;
    frame.flags = 0;
    if (!line.done() && *line.at == '#') {
        const char* const flags = ++line.at;
        if (line.done() || hex_value(*flags) > 15) {
            return line.fail(flags, "## is not followed by a hexadecimal digit of flags", data_hint);
        }
        frame.flags = static_cast<std::uint8_t>(hex_value(*flags) | can_fd_flag);
        ++line.at;
        if (!parse_data(line, frame, 64)) {
            return false;
        }
        return is_can_length(frame.length) ||
               line.fail(flags + 1, "a CAN FD frame cannot have " + std::to_string(frame.length) + " bytes of data",
                         "expected 0 to 8, 12, 16, 20, 24, 32, 48 or 64 bytes");
    }
    if (!line.done() && (*line.at == 'R' || *line.at == 'r')) {
        return parse_remote(line, frame);
    }
    if (!parse_data(line, frame, 8)) {
        return false;
    }
    // Classic frames whose length code is above 8 carry it behind an underscore.
    if (frame.length == 8 && line.left() >= 2 && *line.at == '_' && hex_value(line.at[1]) > 8 &&
        hex_value(line.at[1]) < 16) {
        line.at += 2;
    }
    return true;
}

// Nothing, or blanks and a letter of direction.
bool parse_tail(candump_cursor& line, candump_frame& frame) {
    if (line.done()) {
        return true;
    }
    const char* const first = line.at;
    line.skip_blanks();
    if (line.at != first && !line.done() && std::strchr("RrTt", *line.at) != nullptr && *line.at != '\0') {
        frame.is_transmitted = *line.at == 'T' || *line.at == 't';
        ++line.at;
        line.skip_blanks();
    }
    if (line.done()) {
        return true;
    }
    return line.at == first
               ? line.fail(first, "the data contain a character that is not a hexadecimal digit", data_hint)
               : line.fail(line.at, "the frame is followed by unexpected characters", candump_line_hint);
}

} // namespace

bool is_can_length(std::size_t length) noexcept {
    constexpr std::array<std::size_t, 7> lengths{12, 16, 20, 24, 32, 48, 64};
    return length <= 8 || std::find(lengths.begin(), lengths.end(), length) != lengths.end();
}

bool parse_candump_beginning(candump_cursor& line, std::string_view& time, std::string_view& channel) {
    return parse_time(line, time) && parse_channel(line, channel);
}

bool parse_candump_frame(candump_cursor& line, candump_frame& frame) {
    frame.is_transmitted = false;
    return parse_id(line, frame.id) && parse_content(line, frame) && parse_tail(line, frame);
}

} // namespace qor::candump
