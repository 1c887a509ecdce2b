#include "tavi/candump_reader.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

#include "host/src/recordings/candump_line.hpp"
#include "host/src/recordings/candump_plain.hpp"

namespace tavi::host {

namespace {

// No frame needs more: what is longer is shown and judged by its beginning.
constexpr std::size_t longest_line = 4096;
// Of UTF-8. It is never part of a line that is read in one go, since those begin with '('.
constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

} // namespace

candump_reader::candump_reader(byte_source source, std::size_t block_size)
    : source_(std::move(source)), block_(std::max(block_size, longest_line)), text_(block_.data()),
      limit_(block_.size()), plain_(std::make_unique<candump_plain_line>()) {}

candump_reader::candump_reader(channel_numbers numbers)
    : numbers_(std::move(numbers)), limit_(default_block_size), at_end_(true),
      plain_(std::make_unique<candump_plain_line>()) {}

candump_reader::~candump_reader() = default;

void candump_reader::read_text(std::string_view text, bool begins_log) noexcept {
    text_ = text.data();
    begins_log_ = begins_log;
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
    if (begins_log_ && line_number_ == 0 && line_.starts_with(byte_order_mark)) {
        line_.remove_prefix(byte_order_mark.size());
    }
    ++line_number_;
    return true;
}

// Remembers the shape of a line that turned out good; nothing when its interface cannot be one, with the cause noted.
bool candump_reader::learn_beginning(candump_cursor& line, std::string_view channel, candump_frame& frame) {
    auto found = std::find(channels_.begin(), channels_.end(), channel);
    if (found == channels_.end()) {
        const bool printable = std::none_of(channel.begin(), channel.end(), [](char character) {
            return static_cast<unsigned char>(character) <= ' ' || character == 0x7F;
        });
        if (!printable || channel.size() > candump_plain_line::longest_channel) {
            return line.fail(channel.data(),
                             std::string("the name of the interface is not printable or longer than ") +
                                 std::to_string(candump_plain_line::longest_channel) + " bytes",
                             candump_line_hint);
        }
        const auto number = number_of(channel);
        if (!number) {
            return line.fail(channel.data(), "the log has more than " + std::to_string(channel_limit) + " interfaces",
                             candump_line_hint);
        }
        found = channels_.emplace(channels_.end(), channel);
        channel_numbers_.push_back(*number);
        plain_->add_channel(channel, *number);
    }
    frame.channel = channel_numbers_[static_cast<std::size_t>(found - channels_.begin())];
    plain_->learn_time(line_, frame.time);
    return true;
}

std::optional<std::size_t> candump_reader::number_of(std::string_view channel) const {
    if (numbers_) {
        return numbers_(channel);
    }
    return channels_.size() < channel_limit ? std::optional(channels_.size()) : std::nullopt;
}

// Nearly all lines end here. Only the last ones of a block are too near to its end.
inline bool candump_reader::next_plain_line(candump_frame& frame) noexcept {
    if (end_ - begin_ < candump_plain_room || line_is_cut_) {
        return false;
    }
    const char* const from = text_ + begin_;
    const std::size_t size = plain_->parse(from, frame);
    if (size == 0) {
        return false;
    }
    line_ = {from, size};
    begin_ += size + (from[size] == '\r' ? 2 : 1);
    line_has_end_ = true;
    ++line_number_;
    return true;
}

bool candump_reader::parse(candump_frame& frame) {
    candump_cursor line{line_.data(), line_.data(), line_.data() + line_.size(), fault_};
    std::string_view channel;
    if (!parse_candump_beginning(line, frame.time, channel)) {
        return false;
    }
    if (!parse_candump_frame(line, frame)) {
        return false;
    }
    if (line_is_cut_) {
        return line.fail(line.end, "the line is longer than " + std::to_string(limit_) + " bytes", candump_line_hint);
    }
    return learn_beginning(line, channel, frame);
}

candump_reader::outcome candump_reader::next(candump_frame& frame) {
    for (;;) {
        if (next_plain_line(frame)) {
            return outcome::frame;
        }
        if (!next_line()) {
            return outcome::end;
        }
        if (parse(frame)) {
            return outcome::frame;
        }
        if (!std::all_of(line_.begin(), line_.end(), is_candump_blank)) {
            return outcome::damaged;
        }
    }
}

} // namespace tavi::host
