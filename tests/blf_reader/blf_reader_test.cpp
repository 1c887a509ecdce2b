// BLF recordings of all dialects, whole and damaged, and real ones.
#include <gtest/gtest.h>

#include "tests/support/blf_writer.hpp"
#include "tests/support/mutants.hpp"
#include "tests/support/real_recordings.hpp"
#include "tests/support/recorded.hpp"
#include "tests/support/seeds.hpp"

namespace tavi::test {
namespace {

const reader_plugin& plugin() {
    static const reader_plugin instance("qor_blf_reader");
    return instance;
}

std::string read(const std::string& bytes) {
    return read_in_all_manners(plugin(), "blf", bytes);
}

const std::string version = ", version 2.6.8.1, producer application 5 version 1.2.3\n";
const frame_to_write classic{.time = 1500000000, .id = 0xC0, .data = "\x11\x22\x33"};
const std::string classic_text = "1.500000000 can1 0C0#112233\n";

std::string repeated(const std::string& text, int count) {
    std::string result;
    while (count-- > 0) {
        result += text;
    }
    return result;
}

TEST(blf_reader, reads_every_kind_of_frame) {
    const frame_to_write extended{
        .time = 20000, .id = 0x18FF1234, .data = "\x01", .is_extended = true, .is_sent = true, .channel = 2};
    const frame_to_write remote{.time = 30000, .id = 0x7FF, .is_remote = true, .channel = 300, .requested = 5};
    const frame_to_write fd{.time = 40000, .id = 0x10, .data = std::string(12, 'A'), .is_fd = true};
    const std::string data12 = repeated("41", 12);
    for (const blf_dialect& dialect :
         {blf_dialect{1, false}, blf_dialect{1, true}, blf_dialect{2, false}, blf_dialect{2, true}}) {
        const std::string digits = dialect.is_coarse ? "" : "0000";
        const std::string objects = blf_can_message(extended, dialect) + blf_can_message(remote, dialect, 86) +
                                    blf_can_fd_message(fd, dialect) + blf_can_fd_message_64(fd, 64, dialect) +
                                    blf_can_fd_message_64(fd, 2, dialect) + blf_can_fd_message(classic, dialect) +
                                    blf_object(2, 50000, little(1, 8), dialect) +
                                    blf_object(73, 50000, little(1, 32), dialect) +
                                    blf_object(104, 50000, little(1, 50), dialect);
        EXPECT_EQ(read(blf_file(objects, 9)),
                  "0.00002" + digits + " can2 18FF1234#01 tx\n" + "0.00003" + digits + " can300 7FF#R5\n" + "0.00004" +
                      digits + " can1 010#" + data12 + " fd5\n" + "0.00004" + digits + " can1 010#" + data12 +
                      " fd7\n" + "0.00004" + digits + " can1 010#4141" + repeated("00", 10) + " fd7\n" + "1.50000" +
                      digits + " can1 0C0#112233\n" + repeated("0.00005" + digits + " can1 000# error\n", 3) +
                      "end: proven, 9 announced, relative" + version);
    }
}

TEST(blf_reader, reads_containers_of_every_size_and_form) {
    std::string objects;
    for (int index = 0; index < 5; ++index) {
        objects += blf_can_message(classic) + blf_object(65, 0, std::string(static_cast<std::size_t>(index), 'x'));
    }
    const std::string expected = repeated(classic_text, 5);
    const std::string others = version + "other: 5 text\n";
    for (const std::size_t size : {1UL, 3UL, 16UL, 47UL, 50UL, 100000UL}) {
        for (const bool is_deflated : {false, true}) {
            EXPECT_EQ(read(blf_file(blf_containers(objects, size, is_deflated), 10)),
                      expected + "end: proven, 5 announced, relative" + others)
                << size;
        }
    }
    // Not closed; with a date; counted without restore points.
    EXPECT_EQ(read(blf_file(blf_container(objects), 0)), expected + "end: unknown, relative" + others);
    EXPECT_EQ(read(blf_file(blf_can_message(classic) + blf_object(115, 0, ""), 1, true)),
              "1698934934.520000000 can1 0C0#112233\n"
              "end: proven, 1 announced, absolute from 1698934933.020000000" +
                  version + "other: 1 restore point\n");
    // An object of 200,000 bytes through several containers, and requests to send.
    frame_to_write request = classic;
    std::string requested = blf_can_message(request);
    requested[34] = 2;
    EXPECT_EQ(
        read(blf_file(blf_containers(blf_object(500, 0, std::string(200000, 'x')) + requested + objects, 70000), 12)),
        expected + "end: proven, 5 announced, relative" + version +
            "other: 1 object type 500, 1 transmit request, 5 text\n");
}

TEST(blf_reader, reports_damage_and_goes_on) {
    const std::string object = blf_can_message(classic);
    const std::string container = blf_container(object);
    const std::string second = std::to_string(144 + container.size());
    const auto changed = [](std::string bytes, std::size_t at, const std::string& replacement) {
        return bytes.replace(at, replacement.size(), replacement);
    };
    const std::string proven = "end: proven, 1 announced, relative" + version;
    const std::string unknown = "end: unknown, relative" + version;
    const std::string contradicted = "end: contradicted, relative" + version;
    frame_to_write too_large_id = classic;
    too_large_id.id = 0x800;
    std::string too_much_data = blf_can_fd_message(classic);
    too_much_data[32 + 14] = 65;
    struct {
        std::string bytes, expected;
    } const cases[] = {
        {blf_file(container, 2), classic_text +
                                     "! 32 the header counts 2 objects, and 1 were read\n"
                                     "end: contradicted, 2 announced, relative" +
                                     version},
        {blf_file(container + changed(container, 40, "\xFF\xFF\xFF") + container, 0),
         classic_text + "! " + second + " the compressed data of the container are damaged\n" + classic_text + unknown},
        {blf_file(container + container.substr(0, container.size() - 3), 0),
         classic_text + classic_text + "! " + second + " the recording ends within a container\n" + contradicted},
        {blf_file(blf_container(object, false).substr(0, 60), 0),
         "! 144 the recording ends within a container\n" + contradicted},
        {blf_file(object + object.substr(0, 40), 0),
         classic_text + "! 192 the recording ends within an object\n" + contradicted},
        {blf_file(object + object.substr(0, 10), 0),
         classic_text + "! 192 the recording ends within the header of an object\n" + contradicted},
        {blf_file(object + "garbage that is longer than a header" + object, 0),
         classic_text + "! 192 no object begins here\n" + classic_text + unknown},
        {blf_file(blf_container(object + "garbage that is longer" + object), 0),
         classic_text + "! 144 the content of the container has no object where one was expected\n" + classic_text +
             unknown},
        {blf_file(changed(object, 8, little(20, 4)) + object, 0),
         "! 144 the header of an object is damaged\n" + classic_text + unknown},
        {blf_file(blf_container(changed(object, 4, little(8, 2)) + object), 0),
         "! 144 the header of an object in the container is damaged\n" + classic_text + unknown},
        {blf_file(blf_container(changed(blf_object(65, 0, "abcd"), 8, little(60, 4)) + object + object), 0),
         "! 144 the size of an object in the container is damaged\n" + classic_text + classic_text + unknown},
        {blf_file(changed(container, 16, little(9, 2)) + container, 0),
         "! 144 the container is compressed by an unknown method\n" + classic_text + unknown},
        {blf_file(changed(container, 24, little(49, 4)), 0),
         "! 144 the container holds 48 bytes instead of 49\n" + classic_text + unknown},
        {blf_file(changed(blf_container(object, false), 8, little(300, 4)) + container, 0),
         "! 144 the container holds 268 bytes instead of 48\n" + classic_text + classic_text + unknown},
        {blf_file(blf_can_message(too_large_id), 1),
         "! 144 the id has more than 11 bits and is not marked as one of 29\nend: proven, 0 announced, relative" +
             version},
        {blf_file(too_much_data, 1),
         "! 144 the frame has more data than a frame can have\nend: proven, 0 announced, relative" + version},
        {blf_file(changed(object, 28, little(0xFFFFFFFF, 4)), 1),
         "! 144 the time is beyond the year 2262\nend: proven, 0 announced, relative" + version},
        {changed(blf_file(object, 1, true), 42, little(13, 2)),
         "! 40 the start of the recording is not a date\n" + classic_text + proven},
    };
    for (const auto& [bytes, expected] : cases) {
        EXPECT_EQ(read(bytes), expected);
    }
    EXPECT_THROW(read("LOGG and more"), std::exception);
    EXPECT_EQ(plugin().recognised(blf_file("", 0)), "blf");
    EXPECT_EQ(plugin().recognised("LOGS"), "");
    EXPECT_EQ(plugin().certainty(0, "LO", false), QOR_RECORDING_NEEDS_MORE);
}

TEST(blf_reader, delivers_before_it_reads_again) {
    const std::string bytes = blf_file(blf_containers(repeated(blf_can_message(classic), 4), 96), 0);
    memory_stream stream(bytes, 144 + (bytes.size() - 144) / 2);
    EXPECT_EQ(plugin().first_batch("blf", stream), 2U);
    EXPECT_EQ(stream.reads(), 1U);
}

std::string sample(bool is_deflated) {
    std::string objects;
    for (unsigned index = 0; index < 24; ++index) {
        const frame_to_write frame{.time = 1000000ULL * index,
                                   .id = 0x100 + index,
                                   .data = little(index * 7919, index % 9),
                                   .channel = 1 + index % 3};
        objects += index % 5 == 4 ? blf_can_fd_message_64(frame) : blf_can_message(frame, {1 + index % 2});
        objects += index % 7 == 6 ? blf_object(65, 0, "some text") : "";
    }
    return blf_file(blf_containers(objects, 500, is_deflated), 27, true);
}

TEST(blf_reader, proves_or_reports_what_damage_changed) {
    renew_seed("blf_fuzz", "deflated", sample(true));
    renew_seed("blf_fuzz", "stored", sample(false));
    check_mutants(plugin(), "blf", sample(true), 1000, {.packages_from = 144});
    check_mutants(plugin(), "blf", sample(false), 1000, {});
}

// The frames without their times; the times are microseconds from the first one.
std::vector<std::string> without_times(const std::vector<std::string>& frames, std::vector<long long>& times) {
    std::vector<std::string> rest;
    for (const std::string& frame : frames) {
        const std::size_t blank = frame.find(' ');
        std::string time = frame.substr(0, blank);
        times.push_back(std::stoll(time.erase(time.find('.'), 1)) - (times.empty() ? 0 : times[0]));
        rest.push_back(frame.substr(blank));
    }
    times[0] = 0;
    return rest;
}

// The frames of a text log, which has channels from 0.
std::vector<std::string> logged_frames(const std::string& path, std::size_t count) {
    std::vector<std::string> frames;
    for (const std::string& line : lines_of(content_of(path))) {
        const std::size_t channel = line.find("can") + 3;
        const std::size_t end = line.find('#');
        const bool is_fd = line[end + 1] == '#';
        frames.push_back(line.substr(1, line.find(')') - 1) + " can" + std::to_string(line[channel] - '0' + 1) +
                         line.substr(channel + 1, end - channel) + line.substr(end + (is_fd ? 3 : 1)) +
                         (is_fd ? " fd" : ""));
        if (frames.size() == count) {
            break;
        }
    }
    return frames;
}

TEST(blf_reader, gives_the_frames_of_real_recordings) {
    const auto folder = real_recordings();
    if (!folder) {
        GTEST_SKIP() << "needs the folder of measurement data (TAVI_SHARED_DATA)";
    }
    struct {
        const char *name, *log, *end;
    } const cases[] = {
        {"rav4_drive_20000", "rav4_drive", "end: proven, 20000 announced, relative"},
        {"synthetic_canfd", "synthetic_canfd", "end: proven, 5000 announced, absolute from 1700000000.000000000"},
    };
    for (const auto& [name, log, end] : cases) {
        std::string others;
        const auto frames = read_frames(plugin().read("blf", content_of(*folder + "/" + name + ".blf")), others);
        EXPECT_EQ(others, end + std::string(", version 2.6.8.1, producer application 5 version 0.0.0\n"));
        std::vector<long long> times;
        std::vector<long long> expected_times;
        EXPECT_EQ(without_times(frames, times),
                  without_times(logged_frames(*folder + "/" + log + ".log", frames.size()), expected_times));
        // The converter cut times to microseconds.
        EXPECT_TRUE(std::equal(times.begin(), times.end(), expected_times.begin(), expected_times.end(),
                               [](long long left, long long right) { return left <= right && right <= left + 1; }));
    }
}

} // namespace
} // namespace tavi::test
