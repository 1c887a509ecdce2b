// Writes captures in pcap and pcapng with CAN frames, for tests.
#ifndef TESTS_SUPPORT_PCAP_WRITER_HPP
#define TESTS_SUPPORT_PCAP_WRITER_HPP

#include "tests/support/recording_bytes.hpp"

namespace tavi::test {

struct pcap_dialect {
    bool is_big = false;          // byte order
    bool has_nanoseconds = false; // else microseconds
    std::uint32_t link_type = 227;

    std::string number(std::uint64_t value, std::size_t size) const {
        return is_big ? big(value, size) : little(value, size);
    }
};

// A SocketCAN frame; `id` are the bytes of its id with flags. As captured: padded to the size of the kernel's record.
inline std::string socketcan_frame(const frame_to_write& frame, const std::string& id) {
    std::string bytes = id + little(frame.length(), 1) + little(frame.is_fd ? 5 : 0, 1) + little(0, 2) + frame.data;
    bytes.resize(frame.is_fd ? 72 : 16);
    return bytes;
}

inline std::uint32_t socketcan_id(const frame_to_write& frame) {
    return frame.id | (frame.is_extended ? 0x80000000U : 0) | (frame.is_remote ? 0x40000000U : 0);
}

// The bytes of a packet of the dialect's link type.
inline std::string can_packet(const frame_to_write& frame, const pcap_dialect& dialect = {}) {
    const std::string protocol = big(frame.is_fd ? 13 : 12, 2);
    const std::string id = dialect.number(socketcan_id(frame), 4);
    if (dialect.link_type == 113) {
        return big(frame.is_sent ? 4 : 1, 2) + big(280, 2) + std::string(10, '\0') + protocol +
               socketcan_frame(frame, id);
    }
    if (dialect.link_type == 276) {
        return protocol + big(0, 2) + big(frame.channel, 4) + big(280, 2) + little(frame.is_sent ? 4 : 1, 1) +
               std::string(9, '\0') + socketcan_frame(frame, id);
    }
    return socketcan_frame(frame, big(socketcan_id(frame), 4));
}

// ---- pcap

inline std::string pcap_header(const pcap_dialect& dialect = {}) {
    return dialect.number(dialect.has_nanoseconds ? 0xA1B23C4D : 0xA1B2C3D4, 4) + dialect.number(2, 2) +
           dialect.number(4, 2) + dialect.number(0, 8) + dialect.number(262144, 4) +
           dialect.number(dialect.link_type, 4);
}

inline std::string pcap_packet(std::uint64_t time, const std::string& packet, const pcap_dialect& dialect = {}) {
    const std::uint64_t fraction = time % 1000000000;
    return dialect.number(time / 1000000000, 4) +
           dialect.number(dialect.has_nanoseconds ? fraction : fraction / 1000, 4) + dialect.number(packet.size(), 4) +
           dialect.number(packet.size(), 4) + packet;
}

inline std::string pcap_frame(const frame_to_write& frame, const pcap_dialect& dialect = {}) {
    return pcap_packet(frame.time, can_packet(frame, dialect), dialect);
}

// ---- pcapng

inline std::string pcapng_block(std::uint32_t type, const std::string& body, const pcap_dialect& dialect = {}) {
    const std::string whole = padded(body, 4);
    const std::string length = dialect.number(whole.size() + 12, 4);
    return dialect.number(type, 4) + length + whole + length;
}

inline std::string pcapng_option(std::uint16_t code, const std::string& value, const pcap_dialect& dialect = {}) {
    return dialect.number(code, 2) + dialect.number(value.size(), 2) + padded(value, 4);
}

// `size`: bytes of the section's blocks, all ones for an unknown size.
inline std::string pcapng_section(std::uint64_t size = UINT64_MAX, const pcap_dialect& dialect = {}) {
    return pcapng_block(0x0A0D0D0A,
                        dialect.number(0x1A2B3C4D, 4) + dialect.number(1, 2) + dialect.number(0, 2) +
                            dialect.number(size, 8) + pcapng_option(4, "my recorder", dialect) + dialect.number(0, 4),
                        dialect);
}

inline std::string pcapng_interface(const std::string& options, const pcap_dialect& dialect = {}) {
    return pcapng_block(1, dialect.number(dialect.link_type, 2) + dialect.number(0, 2) + dialect.number(0, 4) + options,
                        dialect);
}

// An enhanced packet, or of type 2 an older one. `ticks`: time in the interface's unit.
inline std::string pcapng_packet(std::uint32_t interface, std::uint64_t ticks, const std::string& packet,
                                 const pcap_dialect& dialect = {}, const std::string& options = "",
                                 std::uint32_t type = 6) {
    return pcapng_block(
        type,
        (type == 2 ? dialect.number(interface, 2) + dialect.number(0, 2) : dialect.number(interface, 4)) +
            dialect.number(ticks >> 32, 4) + dialect.number(ticks & UINT32_MAX, 4) + dialect.number(packet.size(), 4) +
            dialect.number(packet.size(), 4) + padded(packet, 4) + options,
        dialect);
}

} // namespace tavi::test

#endif
