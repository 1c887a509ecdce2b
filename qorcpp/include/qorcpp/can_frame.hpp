// The payload of packages of the formats "can" and "j1939": one frame.
//
//      0           4      5      6      8
//     +-----------+------+------+------+---------------- - -
//     | id, flags | len. | flags| 0  0 | data, 0 to 64 bytes
//     +-----------+------+------+------+---------------- - -
//
// The id is stored low byte first; bits 31 to 29 are flags, bits 28 to 0 the id. `len.` is the number of data bytes,
// for a remote frame the length that it asks for. Byte 5 holds the flags of CAN FD frames as the log has them.
//
// Example: the 11-bit frame 0x0C0 with the data 11 22 is C0 00 00 00 02 00 00 00 11 22.
#ifndef QORCPP_CAN_FRAME_HPP
#define QORCPP_CAN_FRAME_HPP

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace qor {

inline constexpr std::uint32_t can_extended_bit = 0x80000000; // the id has 29 bits, else 11
inline constexpr std::uint32_t can_remote_bit = 0x40000000;   // a remote frame: a request, without data
inline constexpr std::uint32_t can_error_bit = 0x20000000;    // what the interface reports of the bus
inline constexpr std::uint32_t can_id_mask = 0x1FFFFFFF;

inline constexpr std::size_t can_header_size = 8;
inline constexpr std::size_t can_max_data_size = 64;

inline constexpr char can_format[] = "can";
// As "can", but all 29-bit frames are matched by their parameter group number.
inline constexpr char j1939_format[] = "j1939";

struct can_frame_view {
    // With the flag bits.
    std::uint32_t id;
    std::uint8_t length;
    std::uint8_t flags;
    // What follows the header, `length` bytes or fewer.
    std::span<const std::uint8_t> data;
};

// Stores the eight bytes of a header.
inline void write_can_header(std::uint8_t* payload, std::uint32_t id, std::uint8_t length,
                             std::uint8_t flags) noexcept {
    const std::uint8_t bytes[can_header_size] = {static_cast<std::uint8_t>(id),
                                                 static_cast<std::uint8_t>(id >> 8),
                                                 static_cast<std::uint8_t>(id >> 16),
                                                 static_cast<std::uint8_t>(id >> 24),
                                                 length,
                                                 flags,
                                                 0,
                                                 0};
    std::memcpy(payload, bytes, sizeof bytes);
}

// Reads a payload; false, with nothing stored, when it is shorter than a header or than the length in it says, or when
// that is beyond 64. A remote frame's length counts no bytes.
inline bool read_can_frame(std::span<const std::uint8_t> payload, can_frame_view& frame) noexcept {
    if (payload.size() < can_header_size) {
        return false;
    }
    const std::uint32_t id = static_cast<std::uint32_t>(payload[0]) | static_cast<std::uint32_t>(payload[1]) << 8 |
                             static_cast<std::uint32_t>(payload[2]) << 16 |
                             static_cast<std::uint32_t>(payload[3]) << 24;
    const std::size_t size = (id & can_remote_bit) != 0 ? 0 : payload[4];
    if (size > can_max_data_size || size > payload.size() - can_header_size) {
        return false;
    }
    frame = {id, payload[4], payload[5], payload.subspan(can_header_size, size)};
    return true;
}

// The part of a 29-bit id that tells the parameter group: priority and source address are left out, and for PDU1 (PF
// below 240) the destination too. Equal keys mean equal groups.
constexpr std::uint32_t parameter_group(std::uint32_t id) noexcept {
    const std::uint32_t group = id >> 8 & 0x3FFFF;
    return (group >> 8 & 0xFF) < 240 ? group & 0x3FF00 : group;
}

} // namespace qor

#endif
