#include "tools/tavi/report/printable.hpp"

#include <algorithm>

#include <gmock/gmock.h>

#include "tools/tavi/report/description_log.hpp"
#include "tools/tavi/report/diagnostics.hpp"

namespace tavi::tool {
namespace {

TEST(printable, escapes_what_a_terminal_would_obey) {
    const std::pair<std::string_view, std::string_view> texts[] = {
        {"plain ~", "plain ~"},
        {"a\tb\r\n", "a\\tb\\r\\n"},
        {{"\0\x1B[31m\x7F", 7}, "\\x00\\x1B[31m\\x7F"},
        {"gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x9A\x97", "gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x9A\x97"},
        {"\xB0"
         "C \xFC",
         "\\xB0C \\xFC"},                                                 // no UTF-8
        {"\xE2\x80\xAE", "\\xE2\\x80\\xAE"},                              // turns the rest of a line around
        {"\xC2\x9B", "\\xC2\\x9B"},                                       // a control character of two bytes
        {"\xE0\x80\xAF \xED\xA0\x80", "\\xE0\\x80\\xAF \\xED\\xA0\\x80"}, // overlong, half a pair
        {"\xF5\x80\x80\x80 \xE2\x82", "\\xF5\\x80\\x80\\x80 \\xE2\\x82"}, // beyond the end, cut
    };
    for (const auto& [text, expected] : texts) {
        EXPECT_EQ(printable(text), expected);
    }
    EXPECT_EQ(printable_lines("a\r\n\n\x1B"), "a\\r\n\n\\x1B");
    EXPECT_EQ(printable_lines("a\n"), "a\n");
    EXPECT_EQ(without_controls("\xB0 \xE2\x80\xAE\n\xC2\x9B\x7F"), "\xB0 \xE2\x80\xAE\\n\\xC2\\x9B\\x7F");
}

TEST(make_excerpt, keeps_the_column_in_view) {
    const auto shown = [](std::string_view line, std::size_t column, std::size_t width) {
        const excerpt cut = make_excerpt(line, column, width);
        return cut.text + '\n' + std::string(cut.caret, ' ') + '^';
    };
    EXPECT_EQ(shown("abc", 2, 30), "abc\n ^");
    EXPECT_EQ(shown("abc", 99, 30), "abc\n   ^");
    EXPECT_EQ(shown("\x01z", 2, 30), "\\x01z\n    ^");
    EXPECT_EQ(shown("\xC3\xBCz", 3, 30), "\xC3\xBCz\n ^");
    EXPECT_EQ(shown("0123456789abcdefghij", 1, 12), "012345...\n^");
    EXPECT_EQ(shown("0123456789abcdefghij", 12, 12), "...789abc...\n       ^");
    EXPECT_EQ(shown("0123456789ab", 12, 12), "0123456789ab\n           ^");
    // Whatever the column and the characters, it stays within its width.
    for (const std::string piece : {"aaa", "\x01\x01\x01", "\xC3\xBC.", "ab\xFF"}) {
        std::string line(999, ' ');
        for (std::size_t at = 0; at < line.size(); ++at) {
            line[at] = piece[at % 3];
        }
        for (std::size_t column = 1; column <= line.size() + 1; ++column) {
            const excerpt cut = make_excerpt(line, column);
            const auto width = std::count_if(cut.text.begin(), cut.text.end(), [](char byte) {
                return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
            });
            ASSERT_TRUE(width <= 120 && static_cast<std::ptrdiff_t>(cut.caret) <= width) << column;
        }
    }
}

TEST(diagnostic, reads_as_compilers_write_it) {
    EXPECT_EQ(format_diagnostic({topic::damaged_line, "a\nb.log", 14, 5, "no \x1B digit", "(1.5) x", "look"}),
              "a\\nb.log:14:5: error: no \\x1B digit\n  (1.5) x\n      ^\n  hint: look\n");
}

TEST(parser_message, is_taken_apart) {
    const auto parsed = parse_parser_message("x.dbc:12:4: warning: signal 'a' left out", "x.dbc").value();
    EXPECT_EQ(std::tuple(parsed.line, parsed.column, parsed.cause), std::tuple(12u, 4u, "signal 'a' left out"));
    EXPECT_EQ(parse_parser_message("x.dbc:1:2: expected ':'", "x.dbc")->cause, "expected ':'");
    for (const char* const other :
         {"y.dbc:1:2: no", "x.dbc", "x.dbc: no place", "x.dbc:", "x.dbc:99999999999999999999:1: "}) {
        EXPECT_FALSE(parse_parser_message(other, "x.dbc")) << other;
    }
    EXPECT_EQ(line_of("one\r\ntwo\nthree", 1), "one");
    EXPECT_EQ(line_of("one\r\ntwo\nthree", 3), "three");
    EXPECT_EQ(line_of("one\r\ntwo\nthree", 4), "");
}

} // namespace
} // namespace tavi::tool
