#include "host/candump_reader.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

#include "host/hex_text.hpp"
#include "qorcpp/can_frame.hpp"

namespace tavi::host {

namespace {

// No frame needs more: what is longer is shown and judged by its beginning.
constexpr std::size_t longest_line = 4096;
constexpr std::size_t longest_channel = 254;

constexpr const char* line_hint = "a line reads (seconds.fraction) interface id#data, as candump -L writes it";
constexpr const char* time_hint = "a time reads (seconds.fraction), for example (1436509052.249713)";
constexpr const char* id_hint =
    "3 hexadecimal digits are an 11-bit id (up to 7FF), 8 digits a 29-bit id (up to 1FFFFFFF)";
constexpr const char* data_hint = "data are pairs of hexadecimal digits; R stands for a remote frame, ## begins CAN FD";

bool is_blank(char character) noexcept {
    return character == ' ' || character == '\t';
}

bool is_fd_length(std::size_t length) noexcept {
    constexpr std::array<std::size_t, 7> lengths{12, 16, 20, 24, 32, 48, 64};
    return length <= 8 || std::find(lengths.begin(), lengths.end(), length) != lengths.end();
}

// The part of a line that is not parsed yet; `fail` notes the place and always gives false.
struct line_cursor {
    const char* begin;
    const char* at;
    const char* end;
    candump_fault& fault;

    bool done() const noexcept { return at == end; }
    std::size_t left() const noexcept { return static_cast<std::size_t>(end - at); }
    void skip_blanks() noexcept {
        while (at < end && is_blank(*at)) {
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

bool parse_time(line_cursor& line, std::string_view& time) {
    line.skip_blanks();
    if (line.done() || *line.at != '(') {
        return line.fail(line.at, "a time in parentheses was expected", line_hint);
    }
    const char* first = ++line.at;
    line.at += count_digits(line.at, line.end);
    const char* const point = line.at;
    if (point == first || point == line.end || *point != '.') {
        return line.fail(point, point == line.end ? "the line ends inside the time" : "the time is no seconds.fraction",
                         time_hint);
    }
    line.at += 1 + count_digits(point + 1, line.end);
    if (line.done()) {
        return line.fail(line.at, "the line ends inside the time", time_hint);
    }
    if (line.at == point + 1 || *line.at != ')') {
        return line.fail(line.at, "the time is no seconds.fraction", time_hint);
    }
    while (point - first > 1 && *first == '0') {
        ++first;
    }
    if (point - first > 18) {
        return line.fail(first, "the time has more seconds than 64 bits can count", time_hint);
    }
    time = {first, static_cast<std::size_t>(line.at - first)};
    ++line.at;
    return true;
}

bool parse_channel(line_cursor& line, std::string_view& channel) {
    line.skip_blanks();
    const char* const first = line.at;
    while (line.at < line.end && !is_blank(*line.at)) {
        ++line.at;
    }
    channel = {first, static_cast<std::size_t>(line.at - first)};
    if (channel.empty() || line.done()) {
        return line.fail(
            line.at, channel.empty() ? "the line ends before the interface" : "the line ends before the id", line_hint);
    }
    line.skip_blanks();
    return true;
}

bool parse_id(line_cursor& line, std::uint32_t& id) {
    const char* const first = line.at;
    if (line.left() > 8 && first[8] == '#') {
        std::array<std::uint8_t, 4> bytes{};
        if (decode_hex(first, bytes.data())) {
            const std::uint32_t value = static_cast<std::uint32_t>(bytes[0]) << 24 |
                                        static_cast<std::uint32_t>(bytes[1]) << 16 |
                                        static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3];
            if ((value & (qor::can_extended_bit | qor::can_remote_bit)) != 0) {
                return line.fail(first, "the id " + std::string(first, 8) + " has more than 29 bits", id_hint);
            }
            id = (value & qor::can_error_bit) != 0 ? value : value | qor::can_extended_bit;
            line.at += 8;
            return true;
        }
    } else if (line.left() > 3 && first[3] == '#') {
        const std::uint32_t value =
            static_cast<std::uint32_t>(hex_value(first[0])) << 8 | hex_value(first[1]) << 4 | hex_value(first[2]);
        if ((hex_value(first[0]) | hex_value(first[1]) | hex_value(first[2])) < 16) {
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
        return line.fail(line.at, "the line ends inside the id or before its data", line_hint);
    }
    if (*line.at != '#') {
        return line.fail(line.at, "the id holds what is no hexadecimal digit", id_hint);
    }
    return line.fail(first, "the id has " + std::to_string(line.at - first) + " digits", id_hint);
}

// The pairs of digits up to the first character that is none; false on an odd digit or more than `limit` bytes.
bool parse_data(line_cursor& line, candump_frame& frame, std::size_t limit) {
    const char* const first = line.at;
    std::size_t length = 0;
    while (line.left() >= 8 && length + 4 <= limit && decode_hex(line.at, frame.data.data() + length)) {
        line.at += 8;
        length += 4;
    }
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
                         std::to_string((last - first + 1) / 2) + " bytes of data, a " +
                             (limit == 8 ? "classic" : "CAN FD") + " frame holds at most " + std::to_string(limit),
                         limit == 8 ? "data of CAN FD frames begin with ## and a digit of flags" : data_hint);
    }
    if (last != line.end && !is_blank(*last)) {
        line.at = last;
        return line.fail(last, "the data hold what is no hexadecimal digit", data_hint);
    }
    return line.fail(line.at, "the data have an odd number of digits", data_hint);
}

bool parse_remote(line_cursor& line, candump_frame& frame) {
    ++line.at;
    frame.id |= qor::can_remote_bit;
    frame.length = 0;
    if (!line.done() && !is_blank(*line.at)) {
        const auto length = hex_value(*line.at);
        if (length > 8) {
            return line.fail(line.at, "a remote frame asks for 0 to 8 bytes", data_hint);
        }
        frame.length = length;
        ++line.at;
    }
    return true;
}

// What follows '#'.
bool parse_content(line_cursor& line, candump_frame& frame) {
    ++line.at;
    frame.flags = 0;
    if (!line.done() && *line.at == '#') {
        const char* const flags = ++line.at;
        if (line.done() || hex_value(*flags) > 15) {
            return line.fail(flags, "a digit of flags was expected behind ##", data_hint);
        }
        frame.flags = static_cast<std::uint8_t>(hex_value(*flags) | can_fd_flag);
        ++line.at;
        if (!parse_data(line, frame, 64)) {
            return false;
        }
        return is_fd_length(frame.length) ||
               line.fail(flags + 1, "a CAN FD frame has no length of " + std::to_string(frame.length) + " bytes",
                         "its lengths are 0 to 8, 12, 16, 20, 24, 32, 48 and 64 bytes");
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
bool parse_tail(line_cursor& line) {
    if (line.done()) {
        return true;
    }
    const char* const first = line.at;
    line.skip_blanks();
    if (line.at != first && !line.done() && std::strchr("RrTt", *line.at) != nullptr && *line.at != '\0') {
        ++line.at;
        line.skip_blanks();
    }
    if (line.done()) {
        return true;
    }
    return line.at == first ? line.fail(first, "the data hold what is no hexadecimal digit", data_hint)
                            : line.fail(line.at, "the frame is followed by what does not belong to it", line_hint);
}

} // namespace

candump_reader::candump_reader(byte_source source, std::size_t block_size)
    : source_(std::move(source)), block_(std::max(block_size, longest_line)) {}

bool candump_reader::refill() {
    if (begin_ != 0) {
        std::memmove(block_.data(), block_.data() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    const std::size_t count = source_(block_.data() + end_, block_.size() - end_);
    bytes_read_ += count;
    end_ += count;
    at_end_ = count == 0;
    return !at_end_;
}

void candump_reader::skip_rest_of_line() {
    for (;;) {
        const char* const from = block_.data() + begin_;
        const auto* const stop = static_cast<const char*>(std::memchr(from, '\n', end_ - begin_));
        if (stop != nullptr) {
            begin_ += static_cast<std::size_t>(stop - from) + 1;
            line_is_cut_ = false;
            return;
        }
        // The beginning of the block stays: the line's text was shown from there.
        begin_ = end_ = 0;
        if (at_end_ || !refill()) {
            line_is_cut_ = false;
            return;
        }
    }
}

bool candump_reader::next_line() {
    if (line_is_cut_) {
        skip_rest_of_line();
    }
    std::size_t scanned = 0;
    for (;;) {
        const char* const from = block_.data() + begin_;
        const auto* const stop = static_cast<const char*>(std::memchr(from + scanned, '\n', end_ - begin_ - scanned));
        if (stop != nullptr) {
            line_ = {from, static_cast<std::size_t>(stop - from)};
            begin_ += line_.size() + 1;
            break;
        }
        scanned = end_ - begin_;
        if (at_end_ && scanned == 0) {
            return false;
        }
        if (scanned == block_.size() || at_end_) {
            line_is_cut_ = !at_end_;
            line_ = {from, line_is_cut_ ? longest_line : scanned};
            begin_ = end_;
            break;
        }
        refill();
    }
    if (!line_.empty() && line_.back() == '\r') {
        line_.remove_suffix(1);
    }
    ++line_number_;
    return true;
}

// Most lines have the shape of the line before: a time of as many digits, an interface that is known.
bool candump_reader::parse_known_beginning(candump_frame& frame, std::size_t& length) const {
    constexpr std::size_t shortest_rest = 8;
    const char* const text = line_.data();
    if (line_.size() < time_end_ + shortest_rest || text[0] != '(' || text[1] == '0' || text[time_point_] != '.' ||
        text[time_end_] != ')' || !all_digits(text + 1, time_point_ - 1) ||
        !all_digits(text + time_point_ + 1, time_end_ - time_point_ - 1)) {
        return false;
    }
    const std::string_view rest = line_.substr(time_end_ + 1);
    std::size_t channel = last_channel_;
    if (!rest.starts_with(spaced_channels_[channel])) {
        for (channel = 0; channel < spaced_channels_.size(); ++channel) {
            if (rest.starts_with(spaced_channels_[channel])) {
                break;
            }
        }
        if (channel == spaced_channels_.size()) {
            return false;
        }
    }
    frame.time = line_.substr(1, time_end_ - 1);
    frame.channel = channel;
    length = time_end_ + 1 + spaced_channels_[channel].size();
    return true;
}

// Remembers the shape of a line that turned out good.
bool candump_reader::learn_beginning(std::string_view channel, candump_frame& frame) {
    auto found = std::find(channels_.begin(), channels_.end(), channel);
    if (found == channels_.end()) {
        const bool printable = std::none_of(channel.begin(), channel.end(), [](char character) {
            return static_cast<unsigned char>(character) <= ' ' || character == 0x7F;
        });
        if (!printable || channel.size() > longest_channel || channels_.size() == channel_limit) {
            return false;
        }
        found = channels_.emplace(channels_.end(), channel);
        spaced_channels_.push_back(' ' + std::string(channel) + ' ');
    }
    frame.channel = static_cast<std::size_t>(found - channels_.begin());
    time_point_ = frame.time.find('.') + 1;
    time_end_ = frame.time.size() + 1;
    return true;
}

bool candump_reader::parse(candump_frame& frame) {
    line_cursor line{line_.data(), line_.data(), line_.data() + line_.size(), fault_};
    std::string_view new_channel;
    if (std::size_t length = 0; time_end_ != 0 && parse_known_beginning(frame, length)) {
        line.at += length;
    } else if (!parse_time(line, frame.time) || !parse_channel(line, new_channel)) {
        return false;
    }
    if (!parse_id(line, frame.id) || !parse_content(line, frame) || !parse_tail(line)) {
        return false;
    }
    if (line_is_cut_) {
        return line.fail(line.end, "the line goes on for more than " + std::to_string(block_.size()) + " bytes",
                         line_hint);
    }
    if (!new_channel.empty() && !learn_beginning(new_channel, frame)) {
        return line.fail(new_channel.data(),
                         channels_.size() == channel_limit
                             ? "the log names more than " + std::to_string(channel_limit) + " interfaces"
                             : std::string("the interface has no printable name of at most ") +
                                   std::to_string(longest_channel) + " bytes",
                         line_hint);
    }
    last_channel_ = frame.channel;
    return true;
}

candump_reader::outcome candump_reader::next(candump_frame& frame) {
    while (next_line()) {
        if (parse(frame)) {
            return outcome::frame;
        }
        if (!std::all_of(line_.begin(), line_.end(), is_blank)) {
            return outcome::damaged;
        }
    }
    return outcome::end;
}

} // namespace tavi::host
