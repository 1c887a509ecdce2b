// The bodies of objects, after the object's header; offsets in bytes:
//
//     CAN_MESSAGE, CAN_MESSAGE2   channel u16, flags u8, DLC u8, id u32, data at 8 (8 bytes)
//     CAN_FD_MESSAGE              the same up to the id, then FD flags u8 at 13, data bytes u8 at 14, data at 20
//     CAN_FD_MESSAGE_64           channel u8, DLC u8, data bytes u8, id u32 at 4, flags u32 at 12, direction u8 at 34,
//                                 offset of other data u8 at 35, data at 40
//     CAN_ERROR, CAN_ERROR_EXT    channel u16
//     CAN_FD_ERROR_64             channel u8
//
// Flags of the first three: direction in bits 0 to 3 (0 received, 1 sent, 2 requested), bit 7 remote.
#include "plugins/blf_reader/blf_frames.hpp"

#include <array>
#include <string>

#include "qor_plugin_sdk/can_recording.hpp"

namespace tavi::blf {

using namespace qor::sdk;

namespace {

constexpr std::uint8_t direction_sent = 1;
constexpr std::uint8_t direction_request = 2;
constexpr std::uint32_t extended_id = 0x80000000;
constexpr std::uint32_t largest_standard_id = 0x7FF;

const char* set_id(std::uint32_t id, bool is_remote, recorded_frame& frame) noexcept {
    const bool is_extended = (id & extended_id) != 0;
    if ((id & ~extended_id) > (is_extended ? qor::can_id_mask : largest_standard_id)) {
        return is_extended ? "the id has more than 29 bits"
                           : "the id has more than 11 bits and is not marked as one "
                             "of 29";
    }
    frame.id =
        (id & qor::can_id_mask) | (is_extended ? qor::can_extended_bit : 0) | (is_remote ? qor::can_remote_bit : 0);
    return nullptr;
}

void set_direction(std::uint8_t direction, frame_record& record) noexcept {
    record.is_request = direction == direction_request;
    record.frame.flags = direction == direction_sent ? QOR_RECORDED_TRANSMITTED : 0;
}

const char* read_classic(std::span<const std::uint8_t> body, frame_record& record) {
    constexpr std::size_t data_at = 8;
    if (body.size() < data_at) {
        return "the object is shorter than a frame";
    }
    record.channel = load<std::uint16_t>(body, 0);
    set_direction(body[2] & 0x0F, record);
    record.frame.length = can_length(body[3], false);
    const bool is_remote = (body[2] & 0x80) != 0;
    record.frame.data = body.subspan(data_at, std::min<std::size_t>(record.frame.length, body.size() - data_at));
    if (!is_remote && record.frame.data.size() < record.frame.length) {
        return "the object is shorter than its frame";
    }
    return set_id(load<std::uint32_t>(body, 4), is_remote, record.frame);
}

// Length and flags of an object that may hold a CAN FD frame or a classic one.
const char* set_fd(std::uint8_t code, std::uint8_t data_bytes, bool is_fd, bool switches_rate, bool is_passive,
                   std::span<const std::uint8_t> data, recorded_frame& frame) {
    if (data_bytes > can_length(15, is_fd)) {
        return "the frame has more data than a frame can have";
    }
    const bool is_remote = (frame.id & qor::can_remote_bit) != 0;
    frame.length = is_remote ? can_length(code, is_fd) : data_bytes;
    frame.data = data.first(std::min<std::size_t>(data.size(), frame.length));
    if (is_fd) {
        frame.fd_flags = static_cast<std::uint8_t>(can_fd_format | (switches_rate ? can_fd_bit_rate_switch : 0) |
                                                   (is_passive ? can_fd_error_passive : 0));
    }
    return nullptr;
}

const char* read_fd(std::span<const std::uint8_t> body, frame_record& record) {
    constexpr std::size_t data_at = 20;
    if (body.size() < data_at) {
        return "the object is shorter than a frame";
    }
    record.channel = load<std::uint16_t>(body, 0);
    set_direction(body[2] & 0x0F, record);
    if (const char* const cause = set_id(load<std::uint32_t>(body, 4), (body[2] & 0x80) != 0, record.frame)) {
        return cause;
    }
    const std::uint8_t flags = body[13];
    return set_fd(body[3], body[14], (flags & 1) != 0, (flags & 2) != 0, (flags & 4) != 0, body.subspan(data_at),
                  record.frame);
}

const char* read_fd_64(const object& found, std::span<const std::uint8_t> body, frame_record& record) {
    constexpr std::size_t data_at = 40;
    if (body.size() < data_at) {
        return "the object is shorter than a frame";
    }
    record.channel = body[0];
    set_direction(body[34], record);
    const auto flags = load<std::uint32_t>(body, 12);
    if (const char* const cause = set_id(load<std::uint32_t>(body, 4), (flags & 0x10) != 0, record.frame)) {
        return cause;
    }
    // Other data may follow the frame's data; its offset counts from the object.
    const std::size_t other_data = body[35];
    const std::size_t end = other_data >= found.header_size + data_at && other_data - found.header_size < body.size()
                                ? other_data - found.header_size
                                : body.size();
    return set_fd(body[1], body[2], (flags & 0x1000) != 0, (flags & 0x2000) != 0, (flags & 0x4000) != 0,
                  body.subspan(data_at, end - data_at), record.frame);
}

const char* read_error(std::span<const std::uint8_t> body, bool has_short_channel, frame_record& record) {
    if (body.size() < 2) {
        return "the object is shorter than an error frame";
    }
    record.channel = has_short_channel ? body[0] : load<std::uint16_t>(body, 0);
    record.frame.id = qor::can_error_bit;
    return nullptr;
}

struct named_type {
    std::uint32_t type;
    const char* name;
};

constexpr std::array named_types{
    named_type{3, "CAN overload frame"},
    named_type{4, "CAN statistics"},
    named_type{5, "trigger"},
    named_type{6, "environment variable"},
    named_type{7, "environment variable"},
    named_type{8, "environment variable"},
    named_type{9, "environment variable"},
    named_type{11, "LIN frame"},
    named_type{31, "CAN status"},
    named_type{57, "LIN frame"},
    named_type{65, "text"},
    named_type{71, "Ethernet frame"},
    named_type{72, "system variable"},
    named_type{92, "comment"},
    named_type{96, "marker"},
    named_type{restore_point, "restore point"},
    named_type{120, "Ethernet frame"},
    named_type{125, "begin of lost data"},
    named_type{126, "end of lost data"},
};

} // namespace

const char* read_frame(const object& found, frame_record& record) {
    record = {};
    if (found.bytes.size() < found.header_size) {
        return "the object is shorter than its header";
    }
    const auto body = found.bytes.subspan(found.header_size);
    switch (found.type) {
    case can_fd_message:
        return read_fd(body, record);
    case can_fd_message_64:
        return read_fd_64(found, body, record);
    case can_error:
    case can_error_extended:
        return read_error(body, false, record);
    case can_fd_error_64:
        return read_error(body, true, record);
    default:
        return read_classic(body, record);
    }
}

bool read_time(const object& found, recorded_time& time) noexcept {
    constexpr std::uint32_t ten_microseconds = 1;
    if (found.header_size < timed_header_size || found.bytes.size() < timed_header_size) {
        return false;
    }
    const bool is_coarse = load<std::uint32_t>(found.bytes, time_unit_at) == ten_microseconds;
    const std::uint64_t unit = is_coarse ? 10000 : 1;
    const auto count = load<std::uint64_t>(found.bytes, time_at);
    if (count > INT64_MAX / unit) {
        return false;
    }
    time = {static_cast<std::int64_t>(count * unit), static_cast<std::uint8_t>(is_coarse ? 5 : 9)};
    return true;
}

std::string object_name(std::uint32_t type) {
    for (const named_type& named : named_types) {
        if (named.type == type) {
            return named.name;
        }
    }
    return "object type " + std::to_string(type);
}

} // namespace tavi::blf
