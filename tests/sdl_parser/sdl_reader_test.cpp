// What a page shows of descriptions, and what it cannot show.
#include "tests/support/described_page.hpp"

namespace tavi::test {
namespace {

described read_sdl(std::string_view text) {
    static parsing_plugin plugin("qor_sdl_parser");
    return plugin.parse(text);
}

std::string around(const std::string& members) {
    return R"({"sdl": 1, "views": [{"name": "V", "objects": [{"name": "O", "address": 4, "members": [)" + members +
           "]}]}]}";
}

TEST(SdlReader, WritesAndTellsWhatThePageShows) {
    expect_descriptions("qor_sdl_parser", "tests/sdl_parser/descriptions.md", "json");
}

TEST(SdlReader, NamesThePlaceOfWhatIsNoJson) {
    EXPECT_EQ(read_sdl("").told,
              "1:1: expected JSON, parse error at line 1, column 1: syntax error while parsing value - "
              "unexpected end of input; expected '[', '{', or a literal\n");
    EXPECT_EQ(read_sdl("{\n \"sdl\": 1,\n \"views\": ]").told.substr(0, 18), "3:11: expected JSO");
    EXPECT_EQ(read_sdl("{}\n" + std::string(1, '\0')).told, "2:1: expected JSON, found a zero byte\n");
    EXPECT_EQ(read_sdl(std::string(1, '\0')).told, "there is no built-in description named 'x'\n");
}

TEST(SdlReader, BoundsTheDepthOfGroups) {
    const auto nested = [](int depth) {
        std::string text = R"({"name": "a", "stored": "int8"})";
        for (int level = 0; level < depth; ++level) {
            text = R"({"name": "g", "members": [)" + text + "]}";
        }
        return read_sdl(around(text)).told;
    };
    EXPECT_EQ(nested(31), "");
    EXPECT_NE(nested(32).find("groups are nested deeper than 32"), std::string::npos);
    EXPECT_EQ(read_sdl(std::string(200000, '[')).told, "/: nested deeper than 128 levels\n");
}

} // namespace
} // namespace tavi::test
