#include "plugins/pcap_reader/can_packet.hpp"

#include <array>
#include <cstdio>

namespace tavi::pcap {

using qor::sdk::byte_order;
using qor::sdk::load;

namespace {

constexpr std::size_t frame_header_size = 8;
constexpr std::size_t classic_frame_size = 16;
constexpr std::size_t fd_frame_size = 72;
constexpr std::size_t cooked_header_size = 16;
constexpr std::size_t cooked_2_header_size = 20;
constexpr std::uint16_t protocol_can = 0x000C;
constexpr std::uint16_t protocol_can_fd = 0x000D;
constexpr std::uint16_t protocol_can_xl = 0x000E;
constexpr std::uint8_t can_xl_flag = 0x80; // in the place of the length
constexpr unsigned packet_sent = 4;
constexpr std::uint32_t largest_standard_id = 0x7FF;

struct link {
    std::uint32_t type;
    const char* name;
};

constexpr std::array links{
    link{0, "loopback"},
    link{1, "Ethernet"},
    link{101, "raw IP"},
    link{105, "WLAN"},
    link{127, "WLAN"},
    link{187, "Bluetooth"},
    link{189, "USB"},
    link{190, "CAN 2.0B"},
    link{195, "IEEE 802.15.4"},
    link{201, "Bluetooth"},
    link{210, "FlexRay"},
    link{212, "LIN"},
    link{220, "USB"},
    link{228, "IPv4"},
    link{229, "IPv6"},
    link{249, "USB"},
    link{252, "exported PDU"},
    link{link_socketcan, "SocketCAN"},
    link{link_cooked, "Linux cooked"},
    link{link_cooked_2, "Linux cooked 2"},
};

packet damaged(const char* cause) noexcept {
    packet result;
    result.text = cause;
    return result;
}

packet other(const char* name, std::uint16_t protocol = 0) noexcept {
    packet result;
    result.kind = packet::content::other;
    result.text = name;
    result.protocol = protocol;
    return result;
}

// A frame is stored with as many data bytes as it has, or with room for the most that it can have.
packet read_frame(std::span<const std::uint8_t> bytes, std::uint32_t id, bool is_fd_protocol) noexcept {
    const std::uint8_t length = bytes[4];
    if ((length & can_xl_flag) != 0) {
        return other("CAN XL frame");
    }
    // Older captures have anything in the bytes after the length.
    const bool has_flags = bytes[5] <= 7 && bytes[6] == 0 && bytes[7] == 0;
    const bool is_fd =
        is_fd_protocol || bytes.size() == fd_frame_size || (has_flags && (bytes[5] & qor::sdk::can_fd_format) != 0);
    const std::size_t most = is_fd ? qor::can_max_data_size : 8;
    if (length > most) {
        return damaged("the frame has more data than a frame can have");
    }
    const bool is_special = (id & (qor::can_extended_bit | qor::can_error_bit)) != 0;
    if (!is_special && (id & qor::can_id_mask) > largest_standard_id) {
        return damaged("the id has more than 11 bits and is not marked as one of 29");
    }
    packet result;
    result.kind = packet::content::frame;
    result.frame.id = id;
    result.frame.length = length;
    result.frame.fd_flags = is_fd ? static_cast<std::uint8_t>((bytes[5] & 3) | qor::sdk::can_fd_format) : 0;
    if ((id & qor::can_remote_bit) == 0) {
        const std::size_t size = frame_header_size + length;
        if (bytes.size() < size) {
            return damaged("the packet was cut when it was recorded");
        }
        if (bytes.size() != size && bytes.size() != classic_frame_size && bytes.size() != fd_frame_size) {
            return damaged("the size of the packet is not that of its frame");
        }
        result.frame.data = bytes.subspan(frame_header_size, length);
    }
    return result;
}

packet read_cooked(std::span<const std::uint8_t> bytes, std::size_t header_size, std::uint16_t protocol,
                   number_reader numbers) noexcept {
    if (protocol == protocol_can_xl) {
        return other("CAN XL frame");
    }
    if (protocol != protocol_can && protocol != protocol_can_fd) {
        return other("packet", protocol);
    }
    const auto frame = bytes.subspan(header_size);
    if (frame.size() < frame_header_size) {
        return damaged("the packet is shorter than a frame");
    }
    return read_frame(frame, numbers.load<std::uint32_t>(frame, 0), protocol == protocol_can_fd);
}

} // namespace

bool has_can(std::uint32_t link_type) noexcept {
    return link_type == link_socketcan || link_type == link_cooked || link_type == link_cooked_2;
}

std::string link_name(std::uint32_t link_type) {
    const std::string number = "link type " + std::to_string(link_type);
    for (const link& known : links) {
        if (known.type == link_type) {
            return known.name + (" (" + number + ")");
        }
    }
    return number;
}

packet read_packet(std::span<const std::uint8_t> bytes, std::uint32_t link_type, number_reader numbers) noexcept {
    const std::size_t least = link_type == link_cooked     ? cooked_header_size
                              : link_type == link_cooked_2 ? cooked_2_header_size
                                                           : frame_header_size;
    if (bytes.size() < least) {
        return damaged("the packet is shorter than its header");
    }
    packet result;
    unsigned type = 0;
    if (link_type == link_cooked) {
        type = load<std::uint16_t>(bytes, 0, byte_order::big);
        result = read_cooked(bytes, least, load<std::uint16_t>(bytes, 14, byte_order::big), numbers);
    } else if (link_type == link_cooked_2) {
        type = bytes[10];
        result = read_cooked(bytes, least, load<std::uint16_t>(bytes, 0, byte_order::big), numbers);
        result.interface_index = load<std::uint32_t>(bytes, 4, byte_order::big);
    } else {
        result = read_frame(bytes, load<std::uint32_t>(bytes, 0, byte_order::big), false);
    }
    result.frame.flags = type == packet_sent ? QOR_RECORDED_TRANSMITTED : 0;
    return result;
}

std::string packet_name(const packet& found) {
    if (found.protocol == 0) {
        return found.text;
    }
    char name[32];
    std::snprintf(name, sizeof name, "packet of protocol %04X", unsigned{found.protocol});
    return name;
}

} // namespace tavi::pcap
