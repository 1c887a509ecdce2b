// CAN frames in packets of captures, by link type:
//
//     227  SocketCAN       id and flags u32 (high byte first), length u8, FD flags u8, 2 bytes, data
//     113  Linux cooked    16 bytes with packet type u16 at 0 and protocol u16 at 14, then as 227
//     276  Linux cooked 2  20 bytes with protocol u16 at 0, interface u32 at 4 and packet type u8 at 10, then as 227
//
// Numbers of the cooked headers have their high byte first; the id after them is in the byte order of the capture.
#ifndef PCAP_READER_CAN_PACKET_HPP
#define PCAP_READER_CAN_PACKET_HPP

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "qor_plugin_sdk/binary_input.hpp"
#include "qor_plugin_sdk/can_recording.hpp"

namespace tavi::pcap {

inline constexpr std::uint32_t link_socketcan = 227;
inline constexpr std::uint32_t link_cooked = 113;
inline constexpr std::uint32_t link_cooked_2 = 276;

bool has_can(std::uint32_t link_type) noexcept;

// "Ethernet (link type 1)".
std::string link_name(std::uint32_t link_type);

// Numbers in the byte order of a capture.
struct number_reader {
    qor::sdk::byte_order order = qor::sdk::byte_order::little;

    template<typename Integer>
    Integer load(std::span<const std::uint8_t> bytes, std::size_t at) const noexcept {
        return order == qor::sdk::byte_order::little ? qor::sdk::load<Integer>(bytes, at, qor::sdk::byte_order::little)
                                                     : qor::sdk::load<Integer>(bytes, at, qor::sdk::byte_order::big);
    }
};

struct packet {
    enum class content { frame, other, damaged };

    content kind = content::damaged;
    // What is wrong with the packet, or what it is when it is no frame.
    const char* text = "";
    // Of Linux cooked packets without CAN.
    std::uint16_t protocol = 0;
    qor::sdk::recorded_frame frame;
    // Of Linux cooked 2: the number of the interface on the recording machine.
    std::optional<std::uint32_t> interface_index;
};

// Reads a packet of a link type that has_can(). `frame.data` is in the packet.
packet read_packet(std::span<const std::uint8_t> bytes, std::uint32_t link_type, number_reader numbers) noexcept;

// What a packet without a frame is counted as.
std::string packet_name(const packet& found);

} // namespace tavi::pcap

#endif
