#include "plugins/candump_reader/candump_plain.hpp"

#include <algorithm>
#include <bit>

#include "plugins/candump_reader/candump_line.hpp"
#include "plugins/candump_reader/hex_text.hpp"
#include "qorcpp/can_frame.hpp"

namespace qor::candump {

namespace {

constexpr std::uint64_t first_bytes(std::size_t count) noexcept {
    return count < 8 ? (UINT64_C(1) << (8 * count)) - 1 : UINT64_MAX;
}

// The place where the next line begins is known only when this one has been taken apart. So lengths come from branches,
// which processors foresee, and not from what was read: several lines are then under way at once.

// The length of "id#"; 0 when it is none.
std::size_t parse_id(const char* text, std::uint32_t& id) noexcept {
    std::array<std::uint8_t, text_block_size / 2> bytes;
    const std::size_t digits = decode_hex_block(text, bytes.data());
    if (text[3] == '#') {
        id = static_cast<std::uint32_t>(bytes[0]) << 4 | bytes[1] >> 4;
        return digits == 3 && id <= 0x7FF ? 4 : 0;
    }
    id = static_cast<std::uint32_t>(bytes[0]) << 24 | static_cast<std::uint32_t>(bytes[1]) << 16 |
         static_cast<std::uint32_t>(bytes[2]) << 8 | bytes[3] | qor::can_extended_bit;
    return digits == 8 && text[8] == '#' && bytes[0] < 0x20 ? 9 : 0;
}

// The data up to the first character that is no digit, or to the limit; false for an odd digit.
bool parse_data(const char*& text, candump_frame& frame, std::size_t limit) noexcept {
    std::size_t length = 0;
    std::size_t rest = 0;
    while (length < limit) {
        const std::size_t digits = decode_hex_block(text, frame.data + length);
        if (digits != text_block_size) {
            rest = digits;
            break;
        }
        text += text_block_size;
        length += text_block_size / 2;
    }
    text += rest;
    frame.length = static_cast<std::uint8_t>(length + rest / 2);
    return rest % 2 == 0;
}

// Where the line ends, without its CR; null when something else follows.
const char* parse_end(const char* text) noexcept {
    if (text[0] == ' ' && (text[1] == 'R' || text[1] == 'T')) {
        text += 2;
    }
    return text[0] == '\n' || (text[0] == '\r' && text[1] == '\n') ? text : nullptr;
}

} // namespace

void candump_plain_line::learn_time(std::string_view line, std::string_view time) {
    const auto first = static_cast<std::size_t>(time.data() - line.data());
    const std::size_t point = first + time.find('.');
    const std::size_t size = first + time.size() + 1;
    if (line.front() != '(' || point > candump_longest_time || size > shape_.size() * text_block_size ||
        (point == point_ && size == end_ + 1)) {
        return;
    }
    point_ = point;
    end_ = size - 1;
    shape_ = {};
    for (std::size_t at = 0; at < size; ++at) {
        const bool is_digit = at != 0 && at != point && at != end_;
        block_shape& shape = shape_[at / text_block_size];
        const std::size_t place = at % text_block_size;
        shape.text[place] = static_cast<std::uint8_t>(is_digit ? '0' : line[at]);
        shape.mask[place] = 0xFF;
        shape.limit[place] = is_digit ? 9 : 0;
    }
}

void candump_plain_line::add_channel(std::string_view name, std::size_t number) {
    channel_mark& mark = channels_.emplace_back();
    mark.number = number;
    mark.text.append(1, ' ').append(name).append(1, ' ');
    mark.mask = first_bytes(mark.text.size());
    are_words_ = are_words_ && mark.text.size() <= 8;
    channel_length_ = channels_.size() == 1 || channel_length_ == mark.text.size() ? mark.text.size() : 0;
    std::string padded = mark.text;
    padded.resize(8);
    mark.word = load_characters(padded.data());
}

const candump_plain_line::channel_mark* candump_plain_line::find_channel(const char* text) const noexcept {
    const std::uint64_t word = load_characters(text);
    const channel_mark* found = nullptr;
    if (are_words_) {
        // All of them, since which one it is cannot be foreseen.
        for (const channel_mark& mark : channels_) {
            found = (word & mark.mask) == mark.word ? &mark : found;
        }
        return found;
    }
    for (const channel_mark& mark : channels_) {
        if ((word & mark.mask) == mark.word && std::equal(mark.text.begin(), mark.text.end(), text)) {
            return &mark;
        }
    }
    return nullptr;
}

// The length of "(seconds.fraction) interface "; 0 when it is of another shape.
inline std::size_t candump_plain_line::parse_beginning(const char* text, candump_frame& frame) const noexcept {
    if (point_ == 0 || !has_shape(text, shape_[0]) || !has_shape(text + text_block_size, shape_[1])) {
        return 0;
    }
    const channel_mark* const channel = find_channel(text + end_ + 1);
    if (channel == nullptr) {
        return 0;
    }
    std::size_t first = 1 + static_cast<std::size_t>(std::countr_zero(load_characters(text + 1) ^ every_byte('0'))) / 8;
    first = std::min(first, point_ - 1);
    while (text[first] == '0' && first + 1 < point_) {
        ++first;
    }
    frame.time = {text + first, end_ - first};
    frame.point = point_ - first;
    frame.channel = channel->number;
    return end_ + 1 + (channel_length_ != 0 ? channel_length_ : channel->text.size());
}

std::size_t candump_plain_line::parse(const char* text, candump_frame& frame) noexcept {
    const std::size_t beginning = parse_beginning(text, frame);
    if (beginning == 0) {
        return 0;
    }
    const char* at = text + beginning;
    const std::size_t id_length = parse_id(at, frame.id);
    if (id_length == 0) {
        return 0;
    }
    at += id_length;
    frame.flags = 0;
    std::size_t limit = 8;
    if (*at == '#') {
        if (hex_value(at[1]) > 15) {
            return 0;
        }
        frame.flags = static_cast<std::uint8_t>(hex_value(at[1]) | can_fd_flag);
        at += 2;
        limit = 64;
    }
    if (!parse_data(at, frame, limit) || (frame.length > 8 && !is_can_length(frame.length))) {
        return 0;
    }
    const char* const end = parse_end(at);
    // The data have no such character.
    frame.is_transmitted = end != nullptr && end[-1] == 'T';
    return end != nullptr ? static_cast<std::size_t>(end - text) : 0;
}

} // namespace qor::candump
