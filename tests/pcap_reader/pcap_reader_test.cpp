// Captures of all dialects, whole and damaged, and a real one.
#include <gtest/gtest.h>

#include "tests/support/mutants.hpp"
#include "tests/support/pcap_writer.hpp"
#include "tests/support/real_recordings.hpp"
#include "tests/support/recorded.hpp"
#include "tests/support/seeds.hpp"

namespace tavi::test {
namespace {

const reader_plugin& plugin() {
    static const reader_plugin instance("qor_pcap_reader");
    return instance;
}

std::string read(const std::string& bytes, const std::string& format = "pcap") {
    return read_in_all_manners(plugin(), format, bytes);
}

std::string refusal(const std::string& bytes, const std::string& format = "pcap") {
    try {
        read(bytes, format);
        return "";
    } catch (const std::exception& failure) {
        return failure.what();
    }
}

const frame_to_write classic{.time = 1669809629123456000, .id = 0xC0, .data = "\x11\x22\x33"};
const std::string pcap_end = "end: unknown, absolute, version 2.4\n";
const std::string ng_end = ", absolute, version 1.0, producer my recorder\n";

TEST(pcap_reader, reads_all_magics_link_types_and_frames) {
    const frame_to_write frames[] = {
        classic,
        {.time = 2000000, .id = 0x18FF1234, .data = "\x01", .is_extended = true, .is_sent = true, .channel = 3},
        {.time = 3000000, .id = 0x7FF, .is_remote = true, .requested = 5},
        {.time = 4000000, .id = 0x10, .data = std::string(12, 'A'), .is_fd = true},
        {.time = 5000000, .id = 0x20000004, .data = std::string(8, '\1')},
    };
    for (const std::uint32_t link_type : {227U, 113U, 276U}) {
        for (const bool is_big : {false, true}) {
            for (const bool has_nanoseconds : {false, true}) {
                const pcap_dialect dialect{is_big, has_nanoseconds, link_type};
                std::string bytes = pcap_header(dialect);
                for (const frame_to_write& frame : frames) {
                    bytes += pcap_frame(frame, dialect);
                }
                const std::string digits = has_nanoseconds ? "000 " : " ";
                const std::string channel = link_type == 276 ? "can1 " : "can0 ";
                EXPECT_EQ(read(bytes), "1669809629.123456" + digits + channel + "0C0#112233\n0.002000" + digits +
                                           (link_type == 276 ? "can3 " : "can0 ") + "18FF1234#01" +
                                           (link_type == 227 ? "" : " tx") + "\n0.003000" + digits + channel +
                                           "7FF#R5\n0.004000" + digits + channel +
                                           "010#414141414141414141414141 fd5\n0.005000" + digits + channel +
                                           "004#0101010101010101 error\n" + pcap_end);
            }
        }
    }
}

TEST(pcap_reader, counts_what_is_not_a_frame_and_refuses_other_captures) {
    const pcap_dialect cooked{.link_type = 113};
    const std::string ip = big(0, 2) + big(1, 2) + std::string(10, '\0') + big(0x0800, 2) + std::string(1500, 'x');
    const std::string xl = big(0, 2) + big(280, 2) + std::string(10, '\0') + big(14, 2) + std::string(100, '\x80');
    EXPECT_EQ(read(pcap_header(cooked) + pcap_packet(1, ip, cooked) + pcap_packet(1, xl, cooked) +
                   pcap_packet(1, ip, cooked)),
              pcap_end + "other: 2 packet of protocol 0800, 1 CAN XL frame\n");
    // Bytes after the length that the recorder left as they were.
    EXPECT_EQ(read(pcap_header() + pcap_packet(0, big(0xC0, 4) + "\x01\x2D\x92\x04\x11")),
              "0.000000 can0 0C0#11\n" + pcap_end);
    EXPECT_EQ(refusal(pcap_header({.link_type = 1})),
              "the capture holds packets of Ethernet (link type 1); CAN frames are in SocketCAN (227) and Linux cooked "
              "(113, 276) captures");
    EXPECT_EQ(refusal(pcap_header({.link_type = 147})).substr(0, 49),
              "the capture holds packets of link type 147; CAN f");
    EXPECT_EQ(
        refusal(pcapng_section() + pcapng_interface("", {.link_type = 1}) + pcapng_interface("", {.link_type = 105}),
                "pcapng")
            .substr(0, 75),
        "the capture holds packets of Ethernet (link type 1), WLAN (link type 105); ");
    EXPECT_EQ(refusal(pcap_header().substr(0, 20)), "the recording ends within the header of the file");
    EXPECT_EQ(plugin().recognised(pcap_header({.is_big = true})), "pcap");
    EXPECT_EQ(plugin().recognised(pcapng_section(0, {.is_big = true})), "pcapng");
    EXPECT_EQ(plugin().recognised(std::string("\xD4\xC3\xB2", 3)), "");
    EXPECT_EQ(plugin().recognised(std::string("\x0A\x0D\x0D\x0A and more than that")), "");
}

TEST(pcap_reader, reports_damage_and_goes_on) {
    const std::string header = pcap_header();
    const std::string packet = pcap_frame(classic); // 32 bytes
    const std::string shown = "1669809629.123456 can0 0C0#112233\n";
    const auto changed = [](std::string bytes, std::size_t at, const std::string& replacement) {
        return bytes.replace(at, replacement.size(), replacement);
    };
    const std::string contradicted = "end: contradicted, absolute, version 2.4\n";
    const struct {
        std::string bytes, expected;
    } cases[] = {
        {packet + changed(packet, 4, little(1000000, 4)) + packet + packet,
         shown + "! 56 the header of a packet is damaged\n" + shown + shown + pcap_end},
        {packet + "some bytes" + packet + packet,
         shown + "! 56 the header of a packet is damaged\n" + shown + shown + pcap_end},
        {packet + changed(packet, 8, little(48, 4)) + packet,
         shown + "! 56 the header of a packet is damaged\n" + shown + pcap_end},
        {packet + changed(packet, 20, "\x09") + packet,
         shown + "! 56 the frame has more data than a frame can have\n" + shown + pcap_end},
        {packet + changed(packet, 16, big(0x800, 4)) + packet,
         shown + "! 56 the id has more than 11 bits and is not marked as one of 29\n" + shown + pcap_end},
        {packet + pcap_packet(classic.time, can_packet(classic).substr(0, 10)) + packet,
         shown + "! 56 the packet was cut when it was recorded\n" + shown + pcap_end},
        {packet + packet.substr(0, 20), shown + "! 56 the recording ends within a packet\n" + contradicted},
        {packet + packet.substr(0, 10),
         shown + "! 56 the recording ends within the header of a packet\n" + contradicted},
    };
    for (const auto& [bytes, expected] : cases) {
        EXPECT_EQ(read(header + bytes), expected);
    }
}

TEST(pcapng_reader, reads_sections_interfaces_and_resolutions) {
    const std::string data = can_packet(classic);
    std::string bytes;
    std::string expected;
    for (const bool is_big : {false, true}) {
        const pcap_dialect dialect{.is_big = is_big};
        const auto option = [&](std::uint16_t code, const std::string& value) {
            return pcapng_option(code, value, dialect);
        };
        const std::string end = dialect.number(0, 4);
        bytes += pcapng_section(UINT64_MAX, dialect) + pcapng_interface("", dialect) +
                 pcapng_interface(option(2, "vcan7") + option(9, "\x09") + end, dialect) +
                 pcapng_interface(option(9, "\x94") + option(14, dialect.number(100, 8)) + end, dialect) +
                 pcapng_interface("", {is_big, false, 1}) + pcapng_interface("", {is_big, false, 276});
        bytes += pcapng_packet(0, 1500000, data, dialect) + pcapng_packet(1, 1500000001, data, dialect) +
                 pcapng_packet(2, 3 << 19, data, dialect, option(2, dialect.number(2, 4)) + end) +
                 pcapng_packet(3, 0, "something", dialect) +
                 pcapng_packet(4, 7, can_packet(classic, {is_big, false, 276}), dialect) +
                 pcapng_packet(0, 8, data, dialect, "", 2) + pcapng_block(3, dialect.number(16, 4) + data, dialect) +
                 pcapng_block(5, "statistics", dialect) + pcapng_block(77, "", dialect);
        expected += "1.500000 can0 0C0#112233\n1.500000001 vcan7 0C0#112233\n101.500000000 can2 0C0#112233 tx\n"
                    "0.000007 can1 0C0#112233\n0.000008 can0 0C0#112233\n- can0 0C0#112233\n";
    }
    EXPECT_EQ(read(bytes, "pcapng"), expected + "end: unknown" + ng_end +
                                         "other: 2 Ethernet (link type 1) packet, 2 interface statistics, "
                                         "2 block type 77\n");
}

TEST(pcapng_reader, proves_the_end_of_sections_and_reports_damage) {
    const std::string packet = pcapng_packet(0, 1500000, can_packet(classic)); // 48 bytes
    const std::string interface = pcapng_interface("");
    const std::string shown = "1.500000 can0 0C0#112233\n";
    const auto changed = [](std::string bytes, std::size_t at, const std::string& replacement) {
        return bytes.replace(at, replacement.size(), replacement);
    };
    const auto sized = [&](const std::string& blocks) {
        return pcapng_section(interface.size() + blocks.size()) + interface + blocks;
    };
    const std::string begin = pcapng_section() + interface;
    const std::string second = std::to_string(begin.size() + packet.size());
    const std::string unknown = "end: unknown" + ng_end;
    const struct {
        std::string bytes, expected;
    } cases[] = {
        {sized(packet) + sized(packet + packet), shown + shown + shown + "end: proven" + ng_end},
        {sized(packet + packet).substr(0, begin.size() + packet.size()),
         shown + "! " + second + " the section has another size than its header says\nend: contradicted" + ng_end},
        {begin + packet + packet.substr(0, 30),
         shown + "! " + second + " the recording ends within a block\nend: contradicted" + ng_end},
        {begin + packet + packet.substr(0, 6),
         shown + "! " + second + " the recording ends within a block\nend: contradicted" + ng_end},
        {begin + packet + changed(packet, 4, little(50, 4)) + packet,
         shown + "! " + second + " the header of a block is damaged\n" + shown + unknown},
        {begin + packet + changed(packet, 4, little(52, 4)) + packet,
         shown + "! " + second + " the two lengths of a block differ\n" + shown + unknown},
        {begin + packet + changed(packet, 8, little(1, 4)) + packet,
         shown + "! " + second + " the packet is of an interface that was not described\n" + shown + unknown},
        {begin + packet + changed(packet, 20, little(17, 4)) + packet,
         shown + "! " + second + " the size of the packet is damaged\n" + shown + unknown},
        {begin + packet + changed(packet, 20, little(12, 4)) + packet,
         shown + "! " + second + " the size of the packet is not that of its frame\n" + shown + unknown},
        {begin + packet + changed(packet, 12, little(UINT32_MAX, 4)) + packet,
         shown + "! " + second + " the time is beyond the year 2262\n" + shown + unknown},
    };
    for (const auto& [bytes, text] : cases) {
        EXPECT_EQ(read(bytes, "pcapng"), text);
    }
}

TEST(pcap_reader, delivers_before_it_reads_again) {
    const std::string packet = pcap_frame(classic);
    const std::string bytes = pcap_header() + packet + packet + packet;
    memory_stream stream(bytes, 24 + 2 * packet.size());
    EXPECT_EQ(plugin().first_batch("pcap", stream), 2U);
    EXPECT_EQ(stream.reads(), 1U);
}

TEST(pcap_reader, reports_what_damage_changed) {
    std::string pcap = pcap_header();
    std::string blocks = pcapng_interface(pcapng_option(2, "can0")) + pcapng_interface("");
    for (unsigned index = 0; index < 24; ++index) {
        const frame_to_write frame{.time = 1600000000000000000 + 1000000ULL * index,
                                   .id = 0x100 + index,
                                   .data = little(index * 7919, index % 9),
                                   .is_fd = index % 5 == 0};
        pcap += pcap_frame(frame);
        blocks += pcapng_packet(index % 2, frame.time / 1000, can_packet(frame));
        blocks += index % 7 == 0 ? pcapng_block(5, "statistics") : "";
    }
    const std::string pcapng = pcapng_section(blocks.size()) + blocks;
    renew_seed("pcap_fuzz", "pcap", pcap);
    renew_seed("pcap_fuzz", "pcapng", pcapng);
    check_mutants(plugin(), "pcap", pcap, 1000, {});
    check_mutants(plugin(), "pcapng", pcapng, 1000, {});
}

TEST(pcap_reader, gives_the_frames_of_a_real_capture) {
    const auto folder = real_recordings();
    if (!folder) {
        GTEST_SKIP() << "needs the folder of measurement data (TAVI_SHARED_DATA)";
    }
    const std::string path = *folder + "/nmea2000_boat.pcap";
    std::string others;
    auto frames = read_frames(plugin().read("pcap", content_of(path)), others);
    const auto expected = listed_frames(path + ".frames.csv.gz");
    EXPECT_EQ(others, pcap_end);
    EXPECT_EQ(frames.size(), 49928U);
    frames.resize(expected.size());
    EXPECT_EQ(frames, expected);
}

} // namespace
} // namespace tavi::test
