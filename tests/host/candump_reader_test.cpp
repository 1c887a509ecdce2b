// Lines of logs, good and damaged, and blocks that end anywhere.
#include "tavi/candump_reader.hpp"

#include <cstring>

#include <gmock/gmock.h>

#include "qorcpp/can_frame.hpp"
#include "tests/support/page.hpp"
#include "tests/support/split.hpp"

namespace tavi::host {
namespace {

using outcome = candump_reader::outcome;

byte_source source_of(std::string_view text, std::size_t piece = SIZE_MAX) {
    return [text, piece](char* buffer, std::size_t room) mutable {
        const std::size_t count = std::min({room, piece, text.size()});
        std::memcpy(buffer, text.data(), count);
        text.remove_prefix(count);
        return count;
    };
}

// All that a reader tells of a text, one line for each frame or fault.
std::string told(std::string_view text, std::size_t piece = SIZE_MAX, std::size_t block = 4096) {
    candump_reader reader(source_of(text, piece), block);
    candump_frame frame;
    std::string result;
    for (auto next = reader.next(frame); next != outcome::end; next = reader.next(frame)) {
        result += std::to_string(reader.line_number()) + ' ';
        if (next == outcome::frame) {
            result += std::string(frame.time) + ' ' + reader.channels()[frame.channel] + ' ' +
                      std::to_string(frame.id) + ' ' + std::to_string(frame.flags) + ' ' + std::to_string(frame.length);
            for (std::size_t at = 0; at < frame.length && (frame.id & qor::can_remote_bit) == 0; ++at) {
                result += at == 0 ? " " : "";
                result += {"0123456789ABCDEF"[frame.data[at] >> 4], "0123456789ABCDEF"[frame.data[at] & 15]};
            }
        } else {
            result += std::to_string(reader.fault().column) + ' ' + reader.fault().cause;
        }
        result += '\n';
    }
    return result;
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

TEST(candump_reader, reads_lines_as_the_page_shows) {
    test::expect_page_of_lines(
        "tests/host/candump_lines.md", "",
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
TEST(candump_reader, reads_a_line_alike_whatever_came_before) {
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

TEST(candump_reader, goes_on_behind_a_damaged_line_and_counts_blank_ones) {
    EXPECT_EQ(told("(1.0) can0 001#AA\r\n\r\n \t\nnoise\n\n(2.0) can1 002#BB"),
              "1 1.0 can0 1 0 1 AA\n4 1 the line does not begin with a time in parentheses\n6 2.0 can1 2 0 1 BB\n");
}

TEST(candump_reader, passes_over_a_byte_order_mark_at_the_beginning_alone) {
    const std::string mark = "\xEF\xBB\xBF", line = "(1.0) can0 001#AA\n";
    const std::string damaged = " 1 the line does not begin with a time in parentheses\n";
    EXPECT_EQ(told(mark + line + mark + line), "1 1.0 can0 1 0 1 AA\n2" + damaged);
    EXPECT_EQ(told(mark + line, 1), "1 1.0 can0 1 0 1 AA\n");
    EXPECT_EQ(told(mark + "\n" + line), "2 1.0 can0 1 0 1 AA\n");
    EXPECT_EQ(told(mark), "");
    EXPECT_EQ(told(mark.substr(0, 2) + line), "1" + damaged);
    EXPECT_EQ(told("\n" + mark + line), "2" + damaged);
}

TEST(candump_reader, gives_the_same_wherever_blocks_end) {
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

TEST(candump_reader, keeps_memory_bounded_on_a_line_without_end) {
    const std::string log = "(1.0) can0 001#" + std::string(10'000'000, '0') + "\n(2.0) can0 001#BB\n";
    std::size_t largest = 0;
    const byte_source whole = source_of(log);
    candump_reader reader(
        [&](char* buffer, std::size_t room) {
            largest = std::max(largest, room);
            return whole(buffer, room);
        },
        8192);
    candump_frame frame;
    ASSERT_EQ(reader.next(frame), outcome::damaged);
    EXPECT_EQ(reader.fault().column, 32u);
    EXPECT_LE(reader.line_text().size(), 4096u);
    ASSERT_EQ(reader.next(frame), outcome::frame);
    EXPECT_EQ(reader.line_number(), 2u);
    EXPECT_EQ(largest, 8192u);
    // A legal frame followed by blanks beyond all measure is damaged too.
    EXPECT_EQ(told("(1.0) can0 001#AA" + std::string(10000, ' ') + "\n(2.0) can0 001#BB\n"),
              "1 4097 the line is longer than 4096 bytes\n2 2.0 can0 1 0 1 BB\n");
}

TEST(candump_reader, knows_a_limited_number_of_interfaces) {
    std::string text;
    for (std::size_t channel = 0; channel <= candump_reader::channel_limit; ++channel) {
        text += std::string("(1.0) c") + std::to_string(channel) + " 001#\n";
    }
    text += "(1.0) c7 001#\n";
    EXPECT_THAT(told(text), ::testing::EndsWith("257 7 the log has more than 256 interfaces\n258 1.0 c7 1 0 0\n"));
}

} // namespace
} // namespace tavi::host
