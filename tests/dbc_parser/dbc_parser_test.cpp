// What a page shows of the language, and what it cannot show.
#include <algorithm>

#include "tests/support/described_page.hpp"

namespace tavi::test {
namespace {

described read_dbc(std::string_view text) {
    static parsing_plugin plugin("qor_dbc_parser");
    return plugin.parse(text);
}

// "A : 0|8@1+" as a line with no conversion, limits or unit.
std::string sg(const std::string& bits) {
    std::string line = " SG_ ";
    return line.append(bits).append(" (1,0) [0|0] \"\" X\n");
}

const std::string head = "VERSION \"\"\nBO_ 100 M: 8 X\n";

TEST(DbcParser, WritesAndTellsWhatThePageShows) {
    expect_descriptions("qor_dbc_parser", "tests/dbc_parser/descriptions.md", "dbc", "CAN\n");
}

// What a message with one good signal becomes with more lines, without what it is by itself.
std::string in_addition(const std::string& signals, const std::string& lines) {
    const std::string message = "CAN\nCAN.M @100 8 bytes\n", good = "CAN.M.Good 0+0|8@0 1 bytes uint8\n";
    const std::string text = head + signals + sg("Good : 0|8@1+") + lines;
    std::string now = shown(read_dbc(text.substr(0, text.size() - 1)));
    if (now.find("CAN.M.Good ") == std::string::npos) {
        return now;
    }
    now.erase(0, now.starts_with(message) ? message.size() : 0);
    return now.erase(std::min(now.find(good), now.size()), good.size());
}

TEST(DbcParser, AddsWhatThePageOfLinesShows) {
    expect_page("tests/dbc_parser/descriptions.md", "lines", [](const std::string& block) {
        std::istringstream lines(block);
        std::string told, signals, others;
        const auto tell = [&] {
            told += signals.empty() && others.empty() ? "" : in_addition(signals, others);
            signals = others = "";
        };
        bool adds = false;
        for (std::string line; std::getline(lines, line);) {
            if (!std::exchange(adds, line.starts_with("> ")) && adds) {
                tell();
            }
            if (adds) {
                told += line + '\n';
                const bool is_signal = line.starts_with("> SG_ ") && others.empty();
                (is_signal ? signals : others) += line.substr(is_signal ? 1 : 2) + '\n';
            }
        }
        tell();
        return told;
    });
}

// What a page cannot show.
TEST(DbcParser, TakesByteOrderMarksAnyLineEndsAndOldCharacters) {
    EXPECT_EQ(shown(read_dbc("\xEF\xBB\xBF"
                             "CM_ \"before the version\";\r\nVERSION \"a\"\r\nBO_ 1 2Fast:8 X\r\n"
                             " SG_ 3x : 0|8@1+ (.25,+1E1) [0|0] \"\xB0\" X\r\n\r\nFILTER_ anything \"goes\" here\r\n"
                             "VERSION \"b\"\r\nBO_ 2 Other : 8 X\r\n SG_ y:0|8@1+(1.,0)[0|0]\"\" X\r\n"
                             "VAL_TABLE_ T 1 \"one\" ;\r\nVAL_ 2 y T;\r\n// a note\r\n"
                             "BO_ 3221225472 VECTOR__INDEPENDENT_SIG_MSG: 0 X\r\n"
                             " SG_ z : 0|8@1+ (1,0) [0|0] \"\" X\r\nCM_ SG_ 3221225472 z \"none\";\r\n")),
              R"(CAN "before the version"
CAN._2Fast @1 8 bytes
CAN.Other @2 8 bytes
CAN._2Fast._3x 0+0|8@0 1 bytes uint8 = float64(0 0.25 10 / 0 0 1) '°'
CAN.Other.y 0+0|8@0 1 bytes uint8 {1=one}
version: b
)");
    // The second of two joined files adds to messages of the first.
    EXPECT_EQ(shown(read_dbc("CM_ \"one\";\nBO_ 1 M: 4 A\n" + sg("a : 0|8@1+") +
                             "\xEF\xBB\xBFVERSION \"\"\nCM_ \"two\";\nBO_ 1 M: 8 A\n" + sg("a : 0|8@1+") +
                             sg("b : 8|8@1+") + "CM_ SG_ 1 a \"text\";\n")),
              R"(CAN "one
two"
CAN.M @1 8 bytes
CAN.M.a 0+0|8@0 1 bytes uint8 "text"
CAN.M.b 1+0|8@0 1 bytes uint8
! 6:7 message 'M' is defined again; signals that the first definition lacks are added to it
)");
    // Hardly a text at all.
    const std::string expected = "expected a section of a DBC such as VERSION, BU_ or BO_, found ";
    EXPECT_EQ(read_dbc("").told, "1:1: " + expected + "the end of the text\n");
    EXPECT_EQ(read_dbc(std::string_view("\0\1", 2)).told, "1:2: " + expected + "'?'\n");
}

TEST(DbcParser, ReadsTextsInAnyQuotes) {
    const std::pair<const char*, const char*> rows[] = {
        {"\"a\"", "a"},
        {"\xE2\x80\x9C\xC3\x84 b\xE2\x80\x9D", "\xC3\x84 b"}, // “Ä b”
        {"\xE2\x80\x9E z\"", " z"},                           // „ z"
        {"\x84 d\xFC\x93", " d\xC3\xBC"},                     // the same quotes in CP-1252
        {"\"e\r\nf\"", "e\nf"},
        {"\"C:\\\"", "C:\\"},
        {"\"say \\\"no\\\"\"", "say \"no\""},
        {"\"\x80 1\x81\"", "\xE2\x82\xAC 1\xC2\x81"},
    };
    for (const auto& [written, text] : rows) {
        const auto file = read_dbc(head + "CM_ BO_ 100 " + written + ";");
        EXPECT_EQ(file.written, std::string("CAN\nCAN.M @100 8 bytes \"") + text + "\"\n");
        EXPECT_EQ(file.told, "") << written;
    }
}

TEST(DbcParser, TellsItsProgressAndStopsWhenAsked) {
    parsing_plugin plugin("qor_dbc_parser");
    std::string text = "BO_ 1 M: 1 X\n SG_ t : 0|0@1+ (1,0) [0|0] \"\" X\n";
    EXPECT_EQ(plugin.parse(text, nullptr).told.substr(0, 16), "description:2:12");
    while (text.size() < 2'000'000) {
        text += "CM_ \"a comment on everything\";\n";
    }
    std::vector<float> fractions;
    const auto go_on = [](float fraction, void* context) {
        static_cast<std::vector<float>*>(context)->push_back(fraction);
        return true;
    };
    plugin.parse(text, "x", go_on, &fractions);
    EXPECT_GE(fractions.size(), 5u);
    EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
    EXPECT_EQ(fractions.back(), 1.0f);
    const auto stopped = plugin.parse(text, "x", [](float fraction, void*) { return fraction < 0.5f; });
    EXPECT_TRUE(stopped.told.ends_with("\nparsing was stopped\n"));
    EXPECT_EQ(stopped.written, "");
}

} // namespace
} // namespace tavi::test
