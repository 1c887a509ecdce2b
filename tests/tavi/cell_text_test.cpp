#include "tools/tavi/output/cell_text.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tavi::tool {
namespace {

TEST(csv_field, is_quoted_where_needed_and_has_no_control_characters) {
    const std::tuple<std::string_view, const char*, const char*> cases[] = {
        // text, in a file, on a terminal
        {"", "", ""},
        {"km/h", "km/h", "km/h"},
        {"a,b", "\"a,b\"", "\"a,b\""},
        {"5\" pipe", "\"5\"\" pipe\"", "\"5\"\" pipe\""},
        {"a\n\r\tb", "a\\n\\r\\tb", "a\\n\\r\\tb"},
        {"\x1B]0;x\x07,", "\"\\x1B]0;x\\x07,\"", "\"\\x1B]0;x\\x07,\""},
        {"\xC2\x9B\x7F", "\\xC2\\x9B\\x7F", "\\xC2\\x9B\\x7F"},
        {"\xB0"
         "C",
         "\xB0"
         "C",
         "\\xB0"
         "C"},
        {"\xE2\x80\xAE\xEF\xBB\xBF", "\xE2\x80\xAE\xEF\xBB\xBF", "\\xE2\\x80\\xAE\\xEF\\xBB\\xBF"},
        {"\xC2\xB0\x43 \xE2\x80\x8D", "\xC2\xB0\x43 \xE2\x80\x8D", "\xC2\xB0\x43 \xE2\x80\x8D"},
    };
    for (const auto& [text, in_file, on_terminal] : cases) {
        EXPECT_EQ(csv_field(text, {}), in_file);
        EXPECT_EQ(csv_field(text, {true, true}), on_terminal);
    }
}

TEST(csv_field, guards_what_a_spreadsheet_would_run) {
    for (const char* const formula : {"=1", "=", "@SUM(A1)", "+1", "-1", "-A1", "+(1)", "-[x]", "-{1}", "--1", "+-@x",
                                      "+=1", " =1", " - 1", "-$A$1", "+'[x.xls]y'!A1", "-\xD0\x94\xD0\x90()",
                                      "\xEF\xBC\x9D"
                                      "1",
                                      "\xEF\xBC\x8D"
                                      "1"}) {
        EXPECT_TRUE(runs_as_formula(formula)) << formula;
        EXPECT_EQ(csv_field(formula, {}), std::string("'") + formula);
        EXPECT_EQ(csv_field(formula, {false}), formula);
    }
    for (const char* const unit :
         {"", "-", "--", "+", "+/-", "-/-", "- ", "-%", "-\xC2\xB0", "-.", "1-2", "km=h", "(-1)",
          "\xC2\xB1"
          "1",
          "'=1"}) {
        EXPECT_FALSE(runs_as_formula(unit)) << unit;
        EXPECT_EQ(csv_field(unit, {}), unit);
    }
    EXPECT_EQ(csv_field("=HYPERLINK(\"x\",1)", {}), "\"'=HYPERLINK(\"\"x\"\",1)\"");
    EXPECT_EQ(csv_field("\t=1", {}), "\\t=1");
}

TEST(json_text, escapes_and_mends) {
    EXPECT_EQ(json_text("a\"b\\\n=1"), "\"a\\\"b\\\\\\n=1\"");
    EXPECT_EQ(json_text("\xB0"
                        "C"),
              "\"\xEF\xBF\xBD"
              "C\"");
    const std::string text = "\x1B\x7F\xC2\x9B\xE2\x80\xAE\xE2\x80\xA9\xF3\xA0\x80\xA1\xC2\xB0";
    EXPECT_EQ(json_text(text), "\"\\u001b\\u007f\\u009b\\u202e\\u2029\\udb40\\udc21\xC2\xB0\"");
    EXPECT_EQ(nlohmann::json::parse(json_text(text)).get<std::string>(), text);
    EXPECT_EQ(escape_json("{\n\t\"a\": \"\x7F\"\n}\n"), "{\n\t\"a\": \"\\u007f\"\n}\n");
}

} // namespace
} // namespace tavi::tool
