// Bus recordings in MDF 4 of all dialects, whole and damaged, and a real one.
#include <gtest/gtest.h>

#include "tests/support/mf4_writer.hpp"
#include "tests/support/mutants.hpp"
#include "tests/support/real_recordings.hpp"
#include "tests/support/recorded.hpp"
#include "tests/support/seeds.hpp"

namespace tavi::test {
namespace {

const reader_plugin& plugin() {
    static const reader_plugin instance("qor_mf4_reader");
    return instance;
}

std::string read(const std::string& bytes) {
    return read_in_all_manners(plugin(), "mf4", bytes);
}

std::string refusal(const std::string& bytes) {
    try {
        return "read: " + read(bytes);
    } catch (const std::exception& failure) {
        return failure.what();
    }
}

std::string end_text(const std::string& end) {
    return "end: " + end + ", absolute from 1600000000.000000000, version 4.10, producer writer\n";
}

std::string changed(std::string bytes, std::size_t at, const std::string& replacement) {
    return bytes.replace(at, replacement.size(), replacement);
}

// Frames whose ids, times and lengths grow, and their texts with `digits` of the time.
std::vector<frame_to_write> numbered(unsigned count, bool is_fd = false) {
    std::vector<frame_to_write> frames;
    for (unsigned index = 0; index < count; ++index) {
        frames.push_back({.time = 1000000ULL * index,
                          .id = 0x100 + index,
                          .data = std::string(is_fd ? 64 : index % 9, static_cast<char>('A' + index % 26)),
                          .is_fd = is_fd,
                          .channel = 1});
    }
    return frames;
}

std::string texts(const std::vector<frame_to_write>& frames, const std::string& digits) {
    std::string result;
    for (const frame_to_write& frame : frames) {
        char text[64];
        std::snprintf(text, sizeof text, "1600000000.%03u%s can%u %03X#", static_cast<unsigned>(frame.time / 1000000),
                      digits.c_str(), frame.channel, frame.id);
        result += text;
        for (const char byte : frame.data) {
            std::snprintf(text, sizeof text, "%02X", static_cast<unsigned char>(byte));
            result += text;
        }
        result += frame.is_fd ? " fd7\n" : "\n";
    }
    return result;
}

// The groups of a recording with payloads in a group of their own; returns the first.
std::uint64_t unsorted_groups(mf4_writer& writer, std::uint64_t frames = 0) {
    const std::uint64_t payloads = writer.group({.name = "", .record_id = 2, .records = frames, .is_payload = true}, 0);
    std::uint64_t next = writer.group({.name = "LIN_Frame", .record_id = 5, .record_size = 3}, payloads);
    std::uint64_t id = 4;
    for (const char* const name : {"CAN_RemoteFrame", "CAN_ErrorFrame"}) {
        next = writer.group({.name = name,
                             .record_id = id--,
                             .record_size = mf4_frame_size,
                             .channels = mf4_frame_channels(writer, 0, name)},
                            next);
    }
    return writer.group({.name = "CAN_DataFrame",
                         .record_id = 1,
                         .records = frames,
                         .record_size = mf4_frame_size,
                         .channels = mf4_frame_channels(writer, payloads)},
                        next);
}

// Frames with their payloads after them, as records with ids.
std::string unsorted_records(const std::vector<frame_to_write>& frames) {
    std::string records;
    std::uint64_t offset = 0;
    for (const frame_to_write& frame : frames) {
        records += "\x01" + mf4_frame(frame, offset) + "\x02" + little(frame.data.size(), 4) + frame.data;
        offset += 4 + frame.data.size();
    }
    return records;
}

std::string open_recording(const std::string& records) {
    mf4_writer writer(5);
    writer.data_group(unsorted_groups(writer), 0, 1);
    writer.add_last_data(records);
    return writer.bytes();
}

enum class storage { plain, list, deflated, transposed, deflated_list, transposed_list };

std::uint64_t stored(mf4_writer& writer, const std::string& data, storage form, unsigned columns,
                     const std::string& id = "DT") {
    const bool is_transposed = form == storage::transposed || form == storage::transposed_list;
    const bool is_deflated = is_transposed || form == storage::deflated || form == storage::deflated_list;
    return form == storage::plain || form == storage::deflated || form == storage::transposed
               ? writer.data(data, is_deflated, is_transposed ? columns : 0, id)
               : writer.list(data, 100, is_deflated, is_transposed ? columns : 0, id);
}

constexpr storage all_forms[] = {storage::plain,      storage::list,          storage::deflated,
                                 storage::transposed, storage::deflated_list, storage::transposed_list};

// Records of one group, with payloads in a data section of their own.
std::string sorted_recording(const std::vector<frame_to_write>& frames, storage form) {
    mf4_writer writer;
    std::string records;
    std::string payloads;
    for (const frame_to_write& frame : frames) {
        records += mf4_frame(frame, payloads.size());
        payloads += little(frame.data.size(), 4) + frame.data;
    }
    const std::uint64_t signal_data = stored(writer, payloads, form, 7, "SD");
    const mf4_group group{.name = "CAN_DataFrame",
                          .records = frames.size(),
                          .record_size = mf4_frame_size,
                          .channels = mf4_frame_channels(writer, signal_data)};
    const std::uint64_t first = writer.group(group, 0);
    writer.data_group(first, stored(writer, records, form, mf4_frame_size), 0);
    return writer.bytes();
}

// Frames in two groups in turn, with their data in the records.
std::string fixed_recording(const std::vector<frame_to_write>& frames, storage form) {
    mf4_writer writer;
    for (unsigned part = 0; part < 2; ++part) {
        const unsigned data_size = frames[0].is_fd ? 64 : 8;
        std::string records;
        std::uint64_t count = 0;
        for (std::size_t index = part; index < frames.size(); index += 2, ++count) {
            records += mf4_fixed_frame(frames[index], data_size);
        }
        const std::uint64_t group = writer.group(mf4_fixed_group(writer, frames[part], count, data_size), 0);
        writer.data_group(group, stored(writer, records, form, 11 + data_size), 0);
    }
    return writer.bytes();
}

TEST(mf4_reader, reads_every_form_of_data) {
    for (const unsigned count : {1U, 30U}) {
        const auto frames = numbered(count);
        for (const storage form : all_forms) {
            EXPECT_EQ(read(sorted_recording(frames, form)),
                      texts(frames, "000000") + end_text("proven, " + std::to_string(count) + " announced"));
        }
    }
    for (const bool is_fd : {false, true}) {
        auto frames = numbered(30, is_fd);
        for (std::size_t index = 1; index < frames.size(); index += 2) {
            frames[index].channel = 2;
        }
        for (const storage form : all_forms) {
            std::string expected = texts(frames, "000");
            for (std::size_t at = expected.find(" fd7"); at != std::string::npos; at = expected.find(" fd7")) {
                expected.replace(at, 4, " fd4"); // this layout has no bit rate switch
            }
            EXPECT_EQ(read(fixed_recording(frames, form)), expected + end_text("proven, 30 announced"));
        }
    }
}

TEST(mf4_reader, reads_unsorted_records_of_every_kind) {
    const frame_to_write sent{
        .time = 5, .id = 0x18FF1234, .data = "\x01", .is_extended = true, .is_sent = true, .channel = 3};
    const frame_to_write remote{.time = 6, .id = 0x7FF, .is_remote = true, .channel = 2, .requested = 5};
    const frame_to_write fd{.time = 7, .id = 0x10, .data = std::string(12, 'A'), .is_fd = true};
    const std::string of_fd = "\x01" + mf4_frame(fd, 5);
    const std::string payload_of_fd = "\x02" + little(12, 4) + fd.data;
    const std::string before = unsorted_records({sent}) + "\x05LIN\x04" + mf4_frame(remote, 0) + "\x03" +
                               mf4_frame({.time = 8, .channel = 1}, 0);
    const std::string shown = "1600000000.000000005 can3 18FF1234#01 tx\n1600000000.000000006 can2 7FF#R5\n"
                              "1600000000.000000008 can1 000# error\n"
                              "1600000000.000000007 can1 010#414141414141414141414141 fd5\n";
    const std::string end = end_text("unknown") + "other: 1 LIN_Frame\n";
    // A payload after its frame and before it.
    EXPECT_EQ(read(open_recording(before + of_fd + payload_of_fd)), shown + end);
    EXPECT_EQ(read(open_recording(before + payload_of_fd + of_fd)), shown + end);
    // Closed, with counts.
    const auto frames = numbered(20);
    mf4_writer writer;
    const std::uint64_t groups = unsorted_groups(writer, frames.size());
    writer.data_group(groups, writer.list(unsorted_records(frames), 64, true), 1);
    EXPECT_EQ(read(writer.bytes()), texts(frames, "000000") + end_text("proven, 20 announced"));
}

TEST(mf4_reader, converts_clocks) {
    const auto at = [](std::uint64_t raw, unsigned bits, unsigned data_type, double offset, double factor,
                       std::uint64_t start) {
        mf4_writer writer(0, 420, start);
        mf4_group group = mf4_fixed_group(writer, {.channel = 0}, 1, 8);
        group.record_size = 27;
        group.channels[0] = {.name = "t",
                             .byte = 19,
                             .bits = bits,
                             .type = 2,
                             .data_type = data_type,
                             .conversion = writer.linear(offset, factor)};
        const std::uint64_t first = writer.group(group, 0);
        writer.data_group(first, writer.data(mf4_fixed_frame({.id = 1}, 8) + little(raw, 8)), 0);
        const std::string text = read(writer.bytes());
        return text.substr(0, text.find(' '));
    };
    EXPECT_EQ(at(1500, 64, 0, 0, 1e-3, 0), "1.500");
    EXPECT_EQ(at(1500, 32, 0, 2, 1e-6, 0), "2.001500");
    EXPECT_EQ(at(UINT64_MAX, 64, 2, 2, 0.5, 0), "1.5");
    EXPECT_EQ(at(std::bit_cast<std::uint64_t>(1.25), 64, 4, 0, 1, 0), "1.250000000");
    EXPECT_EQ(at(std::bit_cast<std::uint32_t>(1.25F), 32, 4, 0, 1, 3000000000), "4.250000000");
    EXPECT_EQ(at(std::bit_cast<std::uint64_t>(1e300), 64, 4, 0, 1, 0), "!");
    EXPECT_EQ(at(UINT64_MAX, 64, 0, 0, 1, 0), "!");
}

TEST(mf4_reader, refuses_what_holds_no_frames) {
    EXPECT_EQ(refusal(mf4_writer(0, 330).bytes()),
              "MDF of version 3.30 is not read, only version 4: convert the recording");
    mf4_writer signals;
    const std::uint64_t group =
        signals.group({.name = "Engine", .record_size = 2, .channels = {{.name = "Speed", .bits = 16}}}, 0);
    signals.data_group(group, signals.data("abcd"), 0);
    EXPECT_EQ(refusal(signals.bytes()),
              "the recording holds no CAN frames, only measured signals: MDF recordings of buses are read");
    EXPECT_EQ(refusal("MDF     4.10    "), "the recording ends within its first block");
    const std::string whole = sorted_recording(numbered(1), storage::plain);
    EXPECT_EQ(refusal(changed(whole, 64 + 24, little(100, 8))),
              "there is no block DG at byte 100, where another block links to one");
    EXPECT_EQ(plugin().recognised(whole), "mf4");
    EXPECT_EQ(plugin().recognised(open_recording("")), "mf4");
    EXPECT_EQ(plugin().recognised("MDF is a word"), "");
}

TEST(mf4_reader, reports_damage_and_goes_on) {
    const auto frames = numbered(20);
    const std::string records = unsorted_records(frames);
    const std::string shown = texts(frames, "000000");
    const std::string begin = std::to_string(open_recording("").size());
    const auto without = [&](std::size_t index) {
        auto rest = frames;
        rest.erase(rest.begin() + static_cast<std::ptrdiff_t>(index));
        return rest;
    };
    // Of a recording that was not closed.
    EXPECT_EQ(read(open_recording(records.substr(0, records.size() - 1))),
              texts(numbered(19), "000000") + "! " + std::to_string(std::stoul(begin) + records.size() - 6) +
                  " the recording ends within a record\n! " + std::to_string(std::stoul(begin) + records.size() - 29) +
                  " the payload of the frame is missing\n" + end_text("contradicted"));
    EXPECT_EQ(read(open_recording(changed(records, 0, "\x09"))),
              "! " + begin + " no group has the record id 9\n" + texts(without(0), "000000") + end_text("unknown"));
    EXPECT_EQ(read(open_recording(records + "some bytes that are no record" + records.substr(0, 28))),
              shown + "! " + std::to_string(std::stoul(begin) + records.size()) + " no group has the record id 115\n" +
                  texts(numbered(1), "000000") + end_text("unknown"));
    // A deflated block whose last bytes are damaged, and a count that differs.
    std::string deflated = fixed_recording(frames, storage::transposed);
    const std::size_t block = deflated.rfind("##DZ");
    deflated = changed(deflated, deflated.rfind("##DG") - 12, "\xFF\xFF\xFF\xFF");
    const std::size_t second = deflated.rfind("##CG");
    std::string first_half;
    for (std::size_t index = 0; index < frames.size(); index += 2) {
        first_half += texts({frames[index]}, "000");
    }
    EXPECT_EQ(read(deflated), "! " + std::to_string(block) + " the compressed data of a block are damaged\n! " +
                                  std::to_string(second) + " the group counts 10 records, and 0 were read\n" +
                                  first_half + end_text("contradicted, 20 announced"));
    mf4_writer cut;
    cut.data_group(unsorted_groups(cut, 20), 0, 1);
    cut.add_last_data(records, true);
    const std::string text = read(cut.bytes().substr(0, cut.bytes().size() - records.size() / 2));
    EXPECT_TRUE(shown.starts_with(text.substr(0, text.find('!')))) << text;
    EXPECT_NE(text.find(" the recording ends within a data block\n"), std::string::npos) << text;
    EXPECT_NE(text.find(" the group counts 20 records, and "), std::string::npos) << text;
    EXPECT_NE(text.find(end_text("contradicted, 20 announced")), std::string::npos) << text;
}

TEST(mf4_reader, reports_what_damage_changed) {
    const std::string samples[] = {open_recording(unsorted_records(numbered(12))),
                                   sorted_recording(numbered(12), storage::deflated_list),
                                   fixed_recording(numbered(12), storage::transposed)};
    unsigned number = 0;
    for (const std::string& sample : samples) {
        renew_seed("mf4_fuzz", std::to_string(++number), sample);
        check_mutants(plugin(), "mf4", sample, 700, {});
    }
}

TEST(mf4_reader, gives_the_frames_of_a_real_recording) {
    const auto folder = real_recordings();
    if (!folder) {
        GTEST_SKIP() << "needs the folder of measurement data (TAVI_SHARED_DATA)";
    }
    const std::string path = *folder + "/nmea2000_boat.mf4";
    std::string others;
    const auto frames = read_frames(plugin().read("mf4", content_of(path)), others);
    EXPECT_EQ(others, "end: unknown, absolute from 1616685482.000000000, version 4.11, producer CE\n");
    EXPECT_EQ(frames, listed_frames(path + ".frames.csv.gz"));
}

} // namespace
} // namespace tavi::test
