#include "host/candump_reader.hpp"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#include "host/candump_line.hpp"
#include "host/hex_text.hpp"

namespace tavi::host {

namespace {

// No frame needs more: what is longer is shown and judged by its beginning.
constexpr std::size_t longest_line = 4096;
constexpr std::size_t longest_channel = 254;

} // namespace

candump_reader::candump_reader(byte_source source, std::size_t block_size)
    : source_(std::move(source)), block_(std::max(block_size, longest_line)), text_(block_.data()),
      limit_(block_.size()) {}

candump_reader::candump_reader(channel_numbers numbers)
    : numbers_(std::move(numbers)), limit_(default_block_size), at_end_(true) {}

void candump_reader::read_text(std::string_view text) noexcept {
    text_ = text.data();
    begin_ = 0;
    end_ = text.size();
    line_number_ = 0;
    line_is_cut_ = false;
}

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
        const char* const from = text_ + begin_;
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
        const char* const from = text_ + begin_;
        const auto* const stop = static_cast<const char*>(std::memchr(from + scanned, '\n', end_ - begin_ - scanned));
        line_has_end_ = stop != nullptr;
        if (line_has_end_) {
            line_ = {from, static_cast<std::size_t>(stop - from)};
            begin_ += line_.size() + 1;
            break;
        }
        scanned = end_ - begin_;
        if (at_end_ && scanned == 0) {
            return false;
        }
        if (scanned == limit_ || at_end_) {
            line_is_cut_ = scanned == limit_;
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

// Requires: eight characters can be read at `text`.
inline bool candump_reader::begins_with(const char* text, const char* end, const channel_mark& mark) const noexcept {
    return (load_characters(text) & mark.mask) == mark.word &&
           (mark.text.size() <= 8 ||
            std::string_view(text, static_cast<std::size_t>(end - text)).starts_with(mark.text));
}

// Most lines have the shape of the line before: a time of as many digits, an interface that is known.
inline bool candump_reader::parse_known_beginning(candump_frame& frame, std::size_t& length) noexcept {
    constexpr std::size_t shortest_rest = 8;
    const char* const text = line_.data();
    if (line_.size() <= time_end_ + shortest_rest || text[0] != '(' || text[time_point_] != '.' ||
        text[time_end_] != ')' || !all_digits(text + 1, time_point_ - 1) ||
        !all_digits(text + time_point_ + 1, time_end_ - time_point_ - 1)) {
        return false;
    }
    const char* const rest = text + time_end_ + 1;
    const char* const end = text + line_.size();
    std::size_t channel = last_channel_;
    if (!begins_with(rest, end, channel_marks_[channel])) {
        channel = 0;
        while (channel < channel_marks_.size() && !begins_with(rest, end, channel_marks_[channel])) {
            ++channel;
        }
        if (channel == channel_marks_.size()) {
            return false;
        }
    }
    std::size_t first = 1 + static_cast<std::size_t>(std::countr_zero(load_characters(text + 1) ^ every_byte('0'))) / 8;
    first = std::min(first, time_point_ - 1);
    while (text[first] == '0' && first + 1 < time_point_) {
        ++first;
    }
    frame.time = line_.substr(first, time_end_ - first);
    last_channel_ = channel;
    frame.channel = channel_marks_[channel].number;
    length = time_end_ + 1 + channel_marks_[channel].text.size();
    return true;
}

// Remembers the shape of a line that turned out good; nothing when its interface cannot be one, with the cause noted.
bool candump_reader::learn_beginning(candump_cursor& line, std::string_view channel, candump_frame& frame) {
    auto found = std::find(channels_.begin(), channels_.end(), channel);
    if (found == channels_.end()) {
        const bool printable = std::none_of(channel.begin(), channel.end(), [](char character) {
            return static_cast<unsigned char>(character) <= ' ' || character == 0x7F;
        });
        if (!printable || channel.size() > longest_channel) {
            return line.fail(channel.data(),
                             std::string("the interface has no printable name of at most ") +
                                 std::to_string(longest_channel) + " bytes",
                             candump_line_hint);
        }
        const auto number = number_of(channel);
        if (!number) {
            return line.fail(channel.data(), "the log names more than " + std::to_string(channel_limit) + " interfaces",
                             candump_line_hint);
        }
        found = channels_.emplace(channels_.end(), channel);
        channel_mark& mark = channel_marks_.emplace_back();
        mark.number = *number;
        mark.text.append(1, ' ').append(channel).append(1, ' ');
        std::string padded = mark.text;
        padded.resize(8);
        mark.mask = mark.text.size() < 8 ? (UINT64_C(1) << (8 * mark.text.size())) - 1 : UINT64_MAX;
        mark.word = load_characters(padded.data());
    }
    last_channel_ = static_cast<std::size_t>(found - channels_.begin());
    frame.channel = channel_marks_[last_channel_].number;
    const auto begin = static_cast<std::size_t>(frame.time.data() - line_.data());
    time_point_ = begin + frame.time.find('.');
    time_end_ = begin + frame.time.size();
    if (time_point_ > candump_longest_time) {
        time_end_ = 0;
    }
    return true;
}

std::optional<std::size_t> candump_reader::number_of(std::string_view channel) const {
    if (numbers_) {
        return numbers_(channel);
    }
    return channels_.size() < channel_limit ? std::optional(channels_.size()) : std::nullopt;
}

// Nearly all lines end here.
bool candump_reader::parse_usual(candump_frame& frame) noexcept {
    std::size_t length = 0;
    return time_end_ != 0 && !line_is_cut_ && parse_known_beginning(frame, length) &&
           parse_plain_candump_frame(line_.data() + length, line_.data() + line_.size(), frame);
}

bool candump_reader::parse(candump_frame& frame) {
    candump_cursor line{line_.data(), line_.data(), line_.data() + line_.size(), fault_};
    std::string_view new_channel;
    if (std::size_t length = 0; time_end_ != 0 && parse_known_beginning(frame, length)) {
        line.at += length;
        line.skip_blanks();
    } else if (!parse_candump_beginning(line, frame.time, new_channel)) {
        return false;
    }
    if (!parse_candump_frame(line, frame)) {
        return false;
    }
    if (line_is_cut_) {
        return line.fail(line.end, "the line goes on for more than " + std::to_string(limit_) + " bytes",
                         candump_line_hint);
    }
    return new_channel.empty() || learn_beginning(line, new_channel, frame);
}

candump_reader::outcome candump_reader::next(candump_frame& frame) {
    while (next_line()) {
        if (parse_usual(frame) || parse(frame)) {
            return outcome::frame;
        }
        if (!std::all_of(line_.begin(), line_.end(), is_candump_blank)) {
            return outcome::damaged;
        }
    }
    return outcome::end;
}

} // namespace tavi::host
