// The bases for recording readers, through the example plug-ins that are made with them.
#include <gtest/gtest.h>

#include "qor_plugin_sdk/text_recording.hpp"
#include "tests/support/recorded.hpp"

namespace tavi::test {
namespace {

std::string lines(std::string_view text) {
    static const reader_plugin plugin("tagged_lines", example_folder);
    return read_in_all_manners(plugin, "tagged-lines", text);
}

constexpr const char* end_of_text = "end: unknown, relative\n";

TEST(text_recordings, give_packages_and_faults_in_order) {
    EXPECT_EQ(lines("tagged lines 1\n"
                    "12.5 box 192 1027\n"
                    "x box 192 1027\n"
                    "\n"
                    " 13,250\tother 0 \n"
                    "14 box 4294967296 00\n"
                    "15 box 1 0G\n"
                    "16 box 1 00 00\n"
                    "-0.001 box 1 FF"),
              std::string("12.5 box 0xC0#C00000001027\n"
                          "! 3:1 the time is not SECONDS.FRACTION\n"
                          "13.250 other 0x0#00000000\n"
                          "! 6:8 the tag is not a number of 32 bits\n"
                          "! 7:10 the bytes are not pairs of hexadecimal digits\n"
                          "! 8:10 the bytes are not pairs of hexadecimal digits\n"
                          "-0.001 box 0x1#01000000FF unended\n") +
                  end_of_text);
}

TEST(text_recordings, take_all_line_ends_and_encodings) {
    const std::string expected = std::string("1 b 0x1#01000000\n2 b 0x1#01000000\n") + end_of_text;
    const std::string text = "tagged lines 1\n1 b 1\n2 b 1\n";
    const auto with_ends = [&](const std::string& end) {
        std::string result;
        for (const char character : text) {
            result += character == '\n' ? end : std::string(1, character);
        }
        return result;
    };
    const auto wide = [&](bool is_little) {
        std::string result = is_little ? "\xFF\xFE" : "\xFE\xFF";
        for (const char character : text) {
            result += is_little ? std::string{character, '\0'} : std::string{'\0', character};
        }
        return result;
    };
    for (const std::string& form : {text, with_ends("\r\n"), with_ends("\r"), with_ends("\n\r"), "\xEF\xBB\xBF" + text,
                                    wide(true), wide(false)}) {
        EXPECT_EQ(lines(form), expected) << form;
    }
    // Characters beyond the first plane, and halves of them.
    EXPECT_EQ(lines(std::string("\xFF\xFEt\0\x3D\xD8\x00\xDE\x3D\xD8u\0", 12)),
              std::string("! 1:1 the time is not SECONDS.FRACTION\n") + end_of_text);
}

TEST(text_recordings, report_a_line_that_is_too_long_once_and_go_on) {
    const std::string end = std::string("1 b 0x1#01000000\n") + end_of_text;
    for (const std::size_t length : {65537UL, 131072UL, 262143UL, 262144UL, 262145UL, 1000000UL}) {
        for (const char* const line_end : {"\n", "\r\n", "\r"}) {
            const std::string text = std::string(length, 'x') + line_end + "1 b 1" + line_end;
            static const reader_plugin plugin("tagged_lines", example_folder);
            EXPECT_EQ(plugin.read("tagged-lines", text), "! 1 the line is longer than 65536 bytes\n" + end) << length;
        }
    }
}

TEST(text_recordings, deliver_before_they_read_again) {
    const reader_plugin plugin("tagged_lines", example_folder);
    const std::string line = "1 b 1\n";
    const std::string text = line + line;
    memory_stream stream(text, line.size());
    EXPECT_EQ(plugin.first_batch("tagged-lines", stream), 1U);
    EXPECT_EQ(stream.reads(), 1U);
}

TEST(text_numbers, are_read_whole_or_not_at_all) {
    const auto seconds = [](std::string_view text) {
        qor::sdk::recorded_time time;
        const char* at = text.data();
        return qor::sdk::read_seconds(at, text.data() + text.size(), time)
                   ? std::to_string(time.nanoseconds) + "/" + std::to_string(time.decimals)
                   : "no";
    };
    EXPECT_EQ(seconds("1.5"), "1500000000/1");
    EXPECT_EQ(seconds("0"), "0/0");
    EXPECT_EQ(seconds("1.1234567894"), "1123456789/9");
    EXPECT_EQ(seconds("9223372036.854775807"), "9223372036854775807/9");
    for (const char* const text :
         {"", ".", ".5", "1.5.2", "1e5", "9223372036.854775808", "9223372037", "+1", "--1", "1x"}) {
        EXPECT_EQ(seconds(text), "no") << text;
    }
}

std::string little(std::uint64_t value, std::size_t size) {
    std::string bytes;
    for (std::size_t index = 0; index < size; ++index) {
        bytes += static_cast<char>(value >> 8 * index);
    }
    return bytes;
}

TEST(binary_recordings, prove_their_end_or_report_where_it_is_missing) {
    const reader_plugin plugin("tagged_blocks", example_folder);
    const std::string record = little(12500000000, 8) + little(0xC0, 4) + little(2, 4) + "\x10\x27";
    const std::string mark = little(UINT64_MAX, 8) + little(2, 4) + little(0, 4);
    const std::string shown = "12.500000000 box 0xC0#C00000001027\n";
    const auto read = [&](const std::string& bytes) { return read_in_all_manners(plugin, "tagged-blocks", bytes); };
    EXPECT_EQ(read("TAGB" + record + record + mark), shown + shown + "end: proven, 2 announced, relative\n");
    EXPECT_EQ(read("TAGB" + record + mark),
              shown + "! 22 the end mark counts other records\nend: contradicted, 2 announced, relative\n");
    EXPECT_EQ(read("TAGB" + record + record.substr(0, 17)),
              shown + "! 22 the recording ends within a package\nend: contradicted, relative\n");
    EXPECT_EQ(read("TAGB" + record),
              shown + "! 22 the recording ends without an end mark\nend: contradicted, relative\n");
    EXPECT_EQ(plugin.recognised("TAGB"), "tagged-blocks");
    EXPECT_EQ(plugin.recognised("TAG"), "");
}

} // namespace
} // namespace tavi::test
