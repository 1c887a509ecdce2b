// Nearly all lines are like others before them: candump_plain_line parses those in one go and finds their end by doing
// so. All others, and damaged ones, are found by their line end first and parsed by candump_line. What is found is put
// into the batch at once: the data of a frame are decoded into the payload of the next package, which counts only when
// the line is good and the filter lets it through.
#include "plugins/candump_reader/candump_recording.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

#include "plugins/candump_reader/hex_text.hpp"
#include "qorcpp/can_frame.hpp"

namespace qor::candump {

namespace {

// No frame needs more: what is longer is shown and judged by its beginning.
constexpr std::size_t longest_line = 4096;
// Of UTF-8. It is never part of a line that is read in one go, since those begin with '('.
constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

constexpr std::int32_t first_line_is_frame = 95;
constexpr std::int32_t first_line_begins_frame = 60;
constexpr std::int32_t later_line_begins_frame = 40;

constexpr std::size_t payload_room = can_header_size + candump_data_room;

bool is_digit(char character) noexcept {
    return character >= '0' && character <= '9';
}

constexpr std::uint32_t powers[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000};

// Of 1 to 8 digits, all at once: they are moved to the high bytes, then neighbours are joined to numbers of two, four
// and eight digits. Requires: eight characters can be read.
std::uint64_t few_digits(const char* digits, std::size_t count) noexcept {
    std::uint64_t word = (load_characters(digits) ^ every_byte('0')) << (64 - 8 * count);
    word = word * 10 + (word >> 8);
    constexpr std::uint64_t pairs = 0x000000FF000000FF;
    return ((word & pairs) * 0x000F424000000064 + (word >> 16 & pairs) * 0x0000271000000001) >> 32;
}

// Of at least one digit. The rest of a line after a time has eight characters.
std::uint64_t number_of(const char* digits, std::size_t count) noexcept {
    std::uint64_t value = 0;
    for (; count > 8; count -= 8, digits += 8) {
        value = value * powers[8] + few_digits(digits, 8);
    }
    return value * powers[count] + few_digits(digits, count);
}

// The nanoseconds of a time, limited to what 64 bits hold; sets the decimals that it has, at most nine.
std::int64_t nanoseconds_of(std::string_view time, std::size_t point, std::uint8_t& decimals) noexcept {
    constexpr std::uint64_t most_seconds = INT64_MAX / 1000000000;
    const std::size_t count = std::min<std::size_t>(time.size() - point - 1, 9);
    decimals = static_cast<std::uint8_t>(count);
    const std::uint64_t seconds = number_of(time.data(), point);
    const std::uint64_t fraction = number_of(time.data() + point + 1, count) * powers[9 - count];
    return seconds < most_seconds ? static_cast<std::int64_t>(seconds * 1000000000 + fraction) : INT64_MAX;
}

// "$GPGGA," and the like: a log of a satellite receiver.
bool begins_sentence(std::string_view line) noexcept {
    const std::size_t comma = line.find(',');
    return (line.starts_with('$') || line.starts_with('!')) && comma != line.npos && comma > 3 &&
           std::all_of(line.begin() + 1, line.begin() + static_cast<std::ptrdiff_t>(comma),
                       [](char c) { return (c >= 'A' && c <= 'Z') || is_digit(c); });
}

bool is_frame(std::string_view text) {
    candump_fault fault;
    candump_cursor line{text.data(), text.data(), text.data() + text.size(), fault};
    std::uint8_t data[candump_data_room];
    candump_frame frame;
    frame.data = data;
    std::string_view channel;
    return parse_candump_beginning(line, frame.time, channel) && parse_candump_frame(line, frame);
}

} // namespace

std::int32_t candump_recording::recognise(std::span<const std::uint8_t> beginning, bool is_whole) {
    std::string_view text(reinterpret_cast<const char*>(beginning.data()), beginning.size());
    text.remove_prefix(text.starts_with(byte_order_mark) ? byte_order_mark.size() : 0);
    for (bool is_first = true; !text.empty();) {
        const std::size_t stop = text.find_first_of("\r\n");
        std::string_view line = text.substr(0, stop);
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        line.remove_prefix(std::min(line.find_first_not_of(std::string_view(" \t\0", 3)), line.size()));
        if (begins_sentence(line)) {
            return QOR_RECORDING_IS_OTHER;
        }
        if (line.size() > 1 && line[0] == '(' && is_digit(line[1])) {
            const bool is_all = stop != text.npos || is_whole || line.size() > longest_line;
            if (is_first && !is_all) {
                return QOR_RECORDING_NEEDS_MORE;
            }
            // A line as candump shows it on a screen, "(1.5) can0 0C0 [2] 04 00", has no '#' before its '['.
            const bool is_on_screen = line.find('[') < line.find('#');
            return is_on_screen     ? QOR_RECORDING_IS_OTHER
                   : !is_first      ? later_line_begins_frame
                   : is_frame(line) ? first_line_is_frame
                                    : first_line_begins_frame;
        }
        is_first = is_first && line.empty();
    }
    return is_whole || beginning.size() >= QOR_RECORDING_BEGINNING ? QOR_RECORDING_IS_POSSIBLE
                                                                   : QOR_RECORDING_NEEDS_MORE;
}

candump_recording::candump_recording(sdk::recording_input input, std::size_t block_size)
    : input_(input), block_(block_size), limit_(block_size), text_(block_.data()) {
    set_places(QOR_RECORDING_PLACES_LINES);
    set_times(QOR_RECORDING_TIMES_ABSOLUTE);
}

candump_recording::candump_recording() : limit_(default_block_size), at_end_(true) {
    set_places(QOR_RECORDING_PLACES_LINES);
    set_times(QOR_RECORDING_TIMES_ABSOLUTE);
}

bool candump_recording::begin_split(std::span<const std::uint8_t>& rest) {
    // The mark is no part of the first line.
    while (end_ < byte_order_mark.size() && byte_order_mark.starts_with({text_, end_})) {
        const std::size_t count = input_->read(block_.data() + end_, byte_order_mark.size() - end_);
        if (count == 0) {
            break;
        }
        end_ += count;
    }
    begin_ = std::string_view(text_, end_) == byte_order_mark ? end_ : 0;
    rest = {reinterpret_cast<const std::uint8_t*>(text_) + begin_, end_ - begin_};
    return true;
}

std::size_t candump_recording::find_end(std::span<const std::uint8_t> data) const {
    return std::string_view(reinterpret_cast<const char*>(data.data()), data.size()).rfind('\n') + 1;
}

std::unique_ptr<sdk::recording> candump_recording::make_part() const {
    return std::make_unique<candump_recording>();
}

void candump_recording::set_chunk(std::span<const std::uint8_t> data) {
    text_ = reinterpret_cast<const char*>(data.data());
    begins_log_ = false;
    begin_ = scanned_ = 0;
    end_ = data.size();
    line_number_ = 0;
    line_is_cut_ = false;
}

bool candump_recording::read(sdk::batch_builder& batch) {
    for (;;) {
        while (!batch.is_full()) {
            if (!take_plain_line(batch) && !take_line(batch)) {
                break;
            }
        }
        // What there is goes out before the stream is read again: it may have to wait, and lines stay in the block.
        if (batch.is_full() || (!batch.empty() && !at_end_)) {
            return true;
        }
        if (at_end_) {
            return false;
        }
        refill();
    }
}

// Nearly all lines end here. Only the last ones of a block are too near to its end.
inline bool candump_recording::take_plain_line(sdk::batch_builder& batch) {
    if (end_ - begin_ < candump_plain_room || line_is_cut_) {
        return false;
    }
    const char* const from = text_ + begin_;
    candump_frame frame;
    frame.data = batch.reserve(payload_room) + can_header_size;
    const std::size_t size = plain_.parse(from, frame);
    if (size == 0) {
        return false;
    }
    begin_ += size + (from[size] == '\r' ? 2 : 1);
    scanned_ = 0;
    ++line_number_;
    if (!filter_.excludes(frame.channel, frame.id)) {
        add(batch, frame, {from, size}, true);
    }
    return true;
}

// The frame is in the room that was reserved.
inline void candump_recording::add(sdk::batch_builder& batch, const candump_frame& frame, std::string_view line,
                                   bool has_end) {
    const bool is_remote = (frame.id & can_remote_bit) != 0;
    write_can_header(frame.data - can_header_size, frame.id, frame.length, frame.flags);
    qor_recorded_package_t& package = batch.commit(can_header_size + (is_remote ? 0U : frame.length));
    package.time = nanoseconds_of(frame.time, frame.point, package.time_decimals);
    package.address = frame.id;
    package.place = line_number_;
    package.text = line.data();
    package.text_size = static_cast<std::uint32_t>(line.size());
    package.time_text = frame.time.data();
    package.time_text_size = static_cast<std::uint16_t>(frame.time.size());
    package.source = static_cast<std::uint32_t>(frame.channel);
    package.flags = (frame.is_transmitted ? QOR_RECORDED_TRANSMITTED : 0) | (is_remote ? QOR_RECORDED_REMOTE : 0) |
                    ((frame.id & can_error_bit) != 0 ? QOR_RECORDED_BUS_ERROR : 0) |
                    (has_end ? 0 : QOR_RECORDED_UNENDED);
    package.headroom = 0;
}

// False when the block has no further line.
bool candump_recording::take_line(sdk::batch_builder& batch) {
    if (!find_line()) {
        return false;
    }
    candump_frame frame;
    frame.data = batch.reserve(payload_room) + can_header_size;
    if (parse(frame)) {
        // The last line may be cut: whoever reads it decides.
        if (!line_has_end_ || !filter_.excludes(frame.channel, frame.id)) {
            add(batch, frame, line_, line_has_end_);
        }
    } else if (!std::all_of(line_.begin(), line_.end(), is_candump_blank)) {
        batch.add_fault(line_number_, fault_.column, fault_.cause, fault_.hint, line_,
                        line_has_end_ ? 0 : QOR_RECORDED_UNENDED);
    }
    return true;
}

bool candump_recording::find_line() {
    if (line_is_cut_ && !skip_rest_of_line()) {
        return false;
    }
    const char* const from = text_ + begin_;
    const auto* const stop = static_cast<const char*>(std::memchr(from + scanned_, '\n', end_ - begin_ - scanned_));
    line_has_end_ = stop != nullptr;
    if (line_has_end_) {
        line_ = {from, static_cast<std::size_t>(stop - from)};
        begin_ += line_.size() + 1;
    } else {
        scanned_ = end_ - begin_;
        if (scanned_ == 0 || (scanned_ != limit_ && !at_end_)) {
            return false;
        }
        line_is_cut_ = scanned_ == limit_;
        line_ = {from, line_is_cut_ ? longest_line : scanned_};
        begin_ = end_;
    }
    scanned_ = 0;
    if (!line_.empty() && line_.back() == '\r') {
        line_.remove_suffix(1);
    }
    if (begins_log_ && line_number_ == 0 && line_.starts_with(byte_order_mark)) {
        line_.remove_prefix(byte_order_mark.size());
    }
    ++line_number_;
    return true;
}

bool candump_recording::skip_rest_of_line() {
    const char* const from = text_ + begin_;
    const auto* const stop = static_cast<const char*>(std::memchr(from, '\n', end_ - begin_));
    begin_ = stop != nullptr ? begin_ + static_cast<std::size_t>(stop - from) + 1 : end_;
    line_is_cut_ = stop == nullptr && !at_end_;
    return !line_is_cut_;
}

void candump_recording::refill() {
    if (begin_ != 0) {
        std::memmove(block_.data(), block_.data() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    const std::size_t count = input_->read(block_.data() + end_, block_.size() - end_);
    end_ += count;
    at_end_ = count == 0;
}

bool candump_recording::parse(candump_frame& frame) {
    candump_cursor line{line_.data(), line_.data(), line_.data() + line_.size(), fault_};
    std::string_view channel;
    if (!parse_candump_beginning(line, frame.time, channel)) {
        return false;
    }
    if (!parse_candump_frame(line, frame)) {
        return false;
    }
    frame.point = frame.time.find('.');
    if (line_is_cut_) {
        return line.fail(line.end, "the line is longer than " + std::to_string(limit_) + " bytes", candump_line_hint);
    }
    return learn_beginning(line, channel, frame);
}

// Remembers the shape of a line that turned out good; nothing when its interface cannot be one, with the cause noted.
bool candump_recording::learn_beginning(candump_cursor& line, std::string_view channel, candump_frame& frame) {
    const auto& known = sources();
    const auto found = std::find_if(known.begin(), known.end(),
                                    [&](const qor_recorded_source_t& source) { return source.name == channel; });
    frame.channel = static_cast<std::size_t>(found - known.begin());
    if (found == known.end()) {
        const bool printable = std::none_of(channel.begin(), channel.end(), [](char character) {
            return static_cast<unsigned char>(character) <= ' ' || character == 0x7F;
        });
        if (!printable || channel.size() > candump_plain_line::longest_channel) {
            return line.fail(channel.data(),
                             std::string("the name of the interface is not printable or longer than ") +
                                 std::to_string(candump_plain_line::longest_channel) + " bytes",
                             candump_line_hint);
        }
        if (known.size() == (input_ ? channel_limit : part_channel_limit)) {
            return line.fail(channel.data(), "the log has more than " + std::to_string(channel_limit) + " interfaces",
                             candump_line_hint);
        }
        add_source(channel, can_format, QOR_RECORDED_CAN_CHANNEL);
        plain_.add_channel(channel, frame.channel);
    }
    plain_.learn_time(line_, frame.time);
    return true;
}

} // namespace qor::candump
