// Lines of logs, good and damaged, and blocks that end anywhere.
#include "plugins/candump_reader/candump_recording.hpp"

#include <gmock/gmock.h>

#include "qorcpp/can_frame.hpp"
#include "tests/support/page.hpp"
#include "tests/support/recorded.hpp"
#include "tests/support/split.hpp"

namespace qor::candump {
namespace {

namespace test = tavi::test;

sdk::recording_input input_of(test::memory_stream& stream) {
    return sdk::recording_input(*stream.stream());
}

// All that a recording gives, one line for each package or fault.
std::string read_all(candump_recording& recording, std::size_t most = 1000) {
    std::string result;
    sdk::batch_builder builder;
    for (bool has_more = true; has_more;) {
        builder.begin(most);
        has_more = recording.read(builder);
        const qor_recording_batch_t batch = builder.batch(!has_more);
        std::size_t fault = 0;
        for (std::size_t index = 0; index <= batch.package_count; ++index) {
            for (; fault < batch.fault_count && batch.faults[fault].package == index; ++fault) {
                const qor_recording_fault_t& damage = batch.faults[fault];
                result +=
                    std::to_string(damage.place) + ' ' + std::to_string(damage.column) + ' ' + damage.cause + '\n';
                EXPECT_LE(damage.text_size, 262144u);
            }
            if (index == batch.package_count) {
                break;
            }
            const qor_recorded_package_t& package = batch.packages[index];
            can_frame_view frame{};
            EXPECT_TRUE(read_can_frame({package.payload, static_cast<std::size_t>(package.payload_size)}, frame));
            EXPECT_EQ(frame.id, package.address);
            result += std::to_string(package.place) + ' ' + std::string(package.time_text, package.time_text_size) +
                      ' ' + recording.sources()[package.source].name + ' ' + std::to_string(frame.id) + ' ' +
                      std::to_string(frame.flags) + ' ' + std::to_string(frame.length);
            for (std::size_t at = 0; at < frame.data.size(); ++at) {
                result += at == 0 ? " " : "";
                result += {"0123456789ABCDEF"[frame.data[at] >> 4], "0123456789ABCDEF"[frame.data[at] & 15]};
            }
            result += '\n';
        }
    }
    return result;
}

std::string told(std::string_view text, std::size_t piece = SIZE_MAX, std::size_t block = 4096) {
    test::memory_stream stream(text, piece);
    candump_recording recording(input_of(stream), block);
    return read_all(recording);
}

// Behind a line: room enough for the road that lines of a known shape take.
const std::string blank_lines(600, '\n');

// Whatever ends the line, and whatever came before it.
void expect_line(const std::string& line, const std::string& result) {
    for (const char* const end : {"", "\n", "\r\n"}) {
        EXPECT_EQ(told(line + end), "1 " + result + '\n') << line;
        EXPECT_EQ(told(line + '\n' + line + end + blank_lines), "1 " + result + "\n2 " + result + '\n') << line;
        EXPECT_EQ(told("(1.5) can0 064#00\n" + line + end + blank_lines), "1 1.5 can0 100 0 1 00\n2 " + result + '\n')
            << line;
    }
}

TEST(candump_recording, reads_lines_as_the_page_shows) {
    test::expect_page_of_lines(
        "tests/candump_reader/candump_lines.md", "",
        [](const std::string& line) { return !line.starts_with("    ") && line.find("^ ") == std::string::npos; },
        [](const std::string& line, bool) {
            std::string result = told(line).substr(2);
            result.pop_back();
            expect_line(line, result);
            const std::size_t blank = result.find(' ');
            const bool is_frame = result.find('.') < blank; // it begins with a time, else with a column
            return is_frame ? "    " + result : std::string(std::stoul(result) - 1, ' ') + '^' + result.substr(blank);
        });
    expect_line("  (1.5)\tcan0  064#0102 \t", "1.5 can0 100 0 2 0102");
    expect_line(std::string("(1.5) c\0n 064#00", 16),
                "7 the name of the interface is not printable or longer than 254 bytes");
    expect_line(std::string("(1.5) can0 064#00 \0", 19), "19 the frame is followed by unexpected characters");
}

// Lines of a known shape are read on a road of their own: what a line gives must not depend on the line before it.
TEST(candump_recording, reads_a_line_alike_whatever_came_before) {
    const auto lines =
        test::split("(1.5) can0 001#AA|(2.5) can0 001#AA|(0.5) can0 001#AA|(10.5) can0 001#AA|(01.5) can0 001#AA|"
                    "(1.55) can0 001#AA|(1.5)_can0 001#AA|(1x5) can0 001#AA|(:.5) can0 001#AA|(x.5) can0 001#AA|(1.5] "
                    "can0 001#AA|(1.5)  can0 001#AA|"
                    "(1.5) can1 001#AA|(1.5) can01 001#AA|(1.5) c 001#AA| (1.5) can0 001#AA|(1.5) can0\t001#AA|"
                    "(1.5) can0 \t001#AA|(1.5) canbus0 001#AA|(1.5) canbus 001#AA|(1.5) can0 001|(1.5) can0 800#AA|"
                    "(1.5)|(123456789.123456) c 001#|(12345678.1) c 001#|(1234567890123.5) c 1#0|"
                    "(000000000000000001.5) c 001#AA|(999999999999999999.5) c 001#AA|"
                    "(0999999999999999999.5) c 001#AA|(12345678\xB1.1) c 001#",
                    '|');
    for (const std::string_view before : lines) {
        for (const std::string_view line : lines) {
            const std::string text = std::string(before) + '\n' + std::string(line) + blank_lines;
            EXPECT_EQ(told(text), told(before) + "2 " + told(line).substr(2)) << text;
        }
    }
}

TEST(candump_recording, goes_on_behind_a_damaged_line_and_counts_blank_ones) {
    EXPECT_EQ(told("(1.0) can0 001#AA\r\n\r\n \t\nnoise\n\n(2.0) can1 002#BB"),
              "1 1.0 can0 1 0 1 AA\n4 1 the line does not begin with a time in parentheses\n6 2.0 can1 2 0 1 BB\n");
}

TEST(candump_recording, passes_over_a_byte_order_mark_at_the_beginning_alone) {
    const std::string mark = "\xEF\xBB\xBF", line = "(1.0) can0 001#AA\n";
    const std::string damaged = " 1 the line does not begin with a time in parentheses\n";
    EXPECT_EQ(told(mark + line + mark + line), "1 1.0 can0 1 0 1 AA\n2" + damaged);
    EXPECT_EQ(told(mark + line, 1), "1 1.0 can0 1 0 1 AA\n");
    EXPECT_EQ(told(mark + "\n" + line), "2 1.0 can0 1 0 1 AA\n");
    EXPECT_EQ(told(mark), "");
    EXPECT_EQ(told(mark.substr(0, 2) + line), "1" + damaged);
    EXPECT_EQ(told("\n" + mark + line), "2" + damaged);
}

TEST(candump_recording, gives_the_same_wherever_blocks_end) {
    std::string text;
    for (int line = 0; line < 300; ++line) {
        text.append("(").append(std::to_string(line)).append(".25) can").append(std::to_string(line % 3));
        text.append(" 12").append(std::to_string(line % 10)).append("#00112233");
        text += line % 7 == 0 ? "4\n" : line % 5 == 0 ? "\r\n" : "\n";
    }
    const std::string whole = told(text, SIZE_MAX, 1 << 20);
    for (const std::size_t piece : {1, 2, 3, 17, 31, 4095, 4096}) {
        EXPECT_EQ(told(text, piece), whole) << piece;
    }
}

TEST(candump_recording, keeps_memory_bounded_on_a_line_without_end) {
    const std::string log = "(1.0) can0 001#" + std::string(10'000'000, '0') + "\n(2.0) can0 001#BB\n";
    EXPECT_EQ(told(log, SIZE_MAX, 8192),
              "1 32 2041 bytes of data; a classic frame has at most 8\n2 2.0 can0 1 0 1 BB\n");
    // A legal frame followed by blanks beyond all measure is damaged too.
    EXPECT_EQ(told("(1.0) can0 001#AA" + std::string(10000, ' ') + "\n(2.0) can0 001#BB\n"),
              "1 4097 the line is longer than 4096 bytes\n2 2.0 can0 1 0 1 BB\n");
}

TEST(candump_recording, knows_a_limited_number_of_interfaces) {
    std::string text;
    for (std::size_t channel = 0; channel <= candump_recording::channel_limit; ++channel) {
        text += std::string("(1.0) c") + std::to_string(channel) + " 001#\n";
    }
    text += "(1.0) c7 001#\n";
    EXPECT_THAT(told(text), ::testing::EndsWith("257 7 the log has more than 256 interfaces\n258 1.0 c7 1 0 0\n"));
}

TEST(candump_recording, has_times_in_nanoseconds) {
    const auto time_of = [](const std::string& text) {
        const std::string line = "(" + text + ") c 001#\n";
        test::memory_stream stream(line);
        candump_recording recording(input_of(stream));
        sdk::batch_builder builder;
        builder.begin(1);
        recording.read(builder);
        const qor_recorded_package_t& package = builder.batch(true).packages[0];
        return std::to_string(package.time) + '/' + std::to_string(package.time_decimals);
    };
    EXPECT_EQ(time_of("0012.050"), "12050000000/3");
    EXPECT_EQ(time_of("1.1234567899"), "1123456789/9");
    EXPECT_EQ(time_of("9223372035.999999999"), "9223372035999999999/9");
    EXPECT_EQ(time_of("999999999999999999.5"), std::to_string(INT64_MAX) + "/1");
}

// Lines that the filter passes over are checked all the same; the last one without end always comes.
TEST(candump_recording, passes_over_what_a_filter_excludes) {
    const std::string text = "(1.0) a 001#\n(1.0) b 002#\n(1.0) a 002#\n(1.0) a 00x#\n(1.0) a 001#R\n(1.0) b 001#\n"
                             "(1.0) a 002#";
    test::memory_stream stream(text, 14);
    candump_recording recording(input_of(stream));
    sdk::batch_builder builder;
    builder.begin(1);
    recording.read(builder);
    recording.set_filter(0, "(SourceId = 16 AND Address = 0x1)");
    EXPECT_EQ(read_all(recording),
              "2 1.0 b 2 0 0\n4 11 the id contains a character that is not a hexadecimal digit\n6 1.0 b 1 0 0\n"
              "7 1.0 a 2 0 0\n");
    std::string excluded;
    for (const qor_excluded_packages_t& passed : recording.excluded()) {
        excluded += std::to_string(passed.address) + 'x' + std::to_string(passed.count) + ' ';
    }
    EXPECT_EQ(excluded, "2x1 1073741825x1 ");
}

TEST(candump_recording, is_recognised_by_the_line_that_comes_first) {
    const auto certainty = [](std::string_view text, bool is_whole) {
        return candump_recording::recognise({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()},
                                            is_whole);
    };
    const std::string frame = "(1.0) can0 001#00";
    EXPECT_EQ(certainty("\n \n" + frame, true), 95);
    EXPECT_EQ(certainty("\xEF\xBB\xBF" + frame + "\n", false), 95);
    EXPECT_EQ(certainty(frame, false), QOR_RECORDING_NEEDS_MORE);
    EXPECT_EQ(certainty(frame + "0\n", false), 60);
    EXPECT_EQ(certainty("noise\n" + frame, false), 40);
    EXPECT_EQ(certainty("noise", true), QOR_RECORDING_IS_POSSIBLE);
    EXPECT_EQ(certainty("noise", false), QOR_RECORDING_NEEDS_MORE);
    EXPECT_EQ(certainty("$GPGGA,1\n" + frame, true), QOR_RECORDING_IS_OTHER);
    EXPECT_EQ(certainty("(1.0) can0 0C0 [2] 04 00\n" + frame, true), QOR_RECORDING_IS_OTHER);
}

} // namespace
} // namespace qor::candump
