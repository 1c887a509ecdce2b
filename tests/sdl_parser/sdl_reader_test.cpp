// Texts of descriptions: what is read, what defaults give, and what each broken rule is told.
#include "tests/support/described.hpp"

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

TEST(SdlReader, ReadsEverythingThatANodeHolds) {
    const auto read = read_sdl(R"({"sdl": 1, "$schema": "x", "comment": "c", "views": [
        {"name": "Raw View", "cycle": 5, "comment": "first", "objects": [
          {"name": "O", "address": "0xFFFFFFFF00000000", "count": 3, "size": 64, "comment": "second", "members": [
            {"name": "g", "at": 2, "count": 4, "size": 13, "members": [
              {"name": "s", "at": 1, "bit": 3, "bits": 12, "count": 2, "size": 6, "stored": "int16",
               "physical": "float32", "byte_order": "little_endian", "encoding": "ones_complement",
               "coefficients": [1, 2, 3, 4, 5, 6], "unit": "km/h", "comment": "third", "minimum": -1.5, "maximum": 2,
               "values": {"-1": "a\\b", "2": "c\nd"}}]}]}]}]})");
    EXPECT_EQ(read.told, "");
    EXPECT_EQ(read.written, R"(Raw View cycle 5 "first"
Raw View.O @18446744069414584320 3*64 bytes "second"
Raw View.O.g 2 4*13 bytes
Raw View.O.g.s 1+3|12@0 2*6 bytes int16 = float32(1 2 3 / 4 5 6) encoding 2 [-1.5|2] 'km/h' {-1=a\\b
2=c\nd} "third"
)");
}

TEST(SdlReader, DefaultsFollowFromWhatStandsBefore) {
    const auto read = read_sdl(around(
        R"({"name": "a", "stored": "uint16", "at": -0},
           {"name": "b", "stored": "uint32", "bits": 2e1, "bit": 2, "count": 3},
           {"name": "c", "stored": "uint8", "factor": 0.5, "offset": -40},
           {"name": "g", "count": 2, "members": [{"name": "x", "stored": "float64"}, {"name": "y", "stored": "int8"}]},
           {"name": "d", "stored": "int16", "byte_order": "inconsistent_big_endian", "bits": 12, "bit": 12},
           {"name": "e", "stored": "int16", "byte_order": "inconsistent_big_endian"})"));
    EXPECT_EQ(read.told, "");
    EXPECT_EQ(read.written, R"(V
V.O @4 34 bytes
V.O.a 0+0|16@0 2 bytes uint16
V.O.b 2+2|20@0 3*3 bytes uint32
V.O.c 11+0|8@0 1 bytes uint8 = float64(0 0.5 -40 / 0 0 1)
V.O.g 12 2*9 bytes
V.O.d 30+12|12@2 2 bytes int16
V.O.e 32+0|16@2 2 bytes int16
V.O.g.x 0+0|64@0 8 bytes float64
V.O.g.y 8+0|8@0 1 bytes int8
)");
}

TEST(SdlReader, NamesThePlaceOfEachFault) {
    const std::string members = "/views/0/objects/0/members";
    const std::pair<std::string, std::string> rows[] = {
        {"",
         "1:1: expected JSON, parse error at line 1, column 1: syntax error while parsing value - unexpected end of "
         "input; expected '[', '{', or a literal"},
        {std::string(1, '\0'), "there is no built-in description named 'x'"},
        {"[]", "/: expected an object, found an array of 0"},
        {R"({"views": []})", R"(/: expected an object with the key "sdl", found an object)"},
        {R"({"sdl": 2, "views": []})", "/sdl: expected an integer from 1 to 1, found 2"},
        {R"({"sdl": 1, "views": {}})", "/views: expected an array, found an object"},
        {R"({"sdl": 1, "view/s": 1})",
         R"(/view~1s: unknown key, expected one of "$schema", "sdl", "comment", "views")"},
        {R"({"sdl": 1, "views": [{"name": "2", "objects": []}]})",
         "/views/0/name: expected a name of letters, digits, '_', '-' and blanks that begins with a letter or '_', "
         "found \"2\""},
        {around(""), members + ": expected an array of at least one member, found an array of 0"},
        {around(R"({"name": "a b", "stored": "int8"})"),
         members + "/0/name: expected a name of letters, digits, '_' and '-' that begins with a letter or '_', found "
                   "\"a b\""},
        {around(R"({"name": "a", "stored": "int9"})"),
         members + R"(/0/stored: expected one of "char8", "int8", "uint8", "int16", "uint16", "int32", "uint32", )" +
             R"("int64", "uint64", "float32", "float64", found "int9")"},
        {around(R"({"name": "a", "stored": "int8", "bits": 9})"),
         members + "/0/bits: expected an integer from 1 to 8, found 9"},
        {around(R"({"name": "a", "stored": "int8", "at": -1})"),
         members + "/0/at: expected an integer from 0 to 4294967295, found -1"},
        {around(R"({"name": "a", "stored": "int8", "at": "0xG"})"),
         members + "/0/at: expected an integer from 0 to 4294967295, found \"0xG\""},
        {around(R"({"name": "a", "stored": "int8", "factor": 1, "coefficients": [0,1,0,0,0,1]})"),
         members + R"(/0/coefficients: "coefficients" cannot stand beside "factor" or "offset")"},
        {around(R"({"name": "a", "stored": "int8", "values": {"x": "y"}})"),
         members + "/0/values/x: the key of a value table has to be an integer"},
        {around(R"({"name": "a", "stored": "int8"}, {"name": "a", "stored": "int8"})"),
         members + R"(/1/name: the name "a" stands here twice)"},
        {around(R"({"name": "a", "stored": "int16", "byte_order": "inconsistent_big_endian", "bits": 12, "bit": 4})"),
         members + "/0: the value of 12 bits runs out of its first byte: from bit 4 on there are 4"},
        {around(R"({"name": "a", "stored": "int8"}, {"name": "b", "stored": "int8", "unit": "m", "unit": "s"})"),
         members + "/1/unit: the key stands here twice"},
        {R"({"sdl": 1, "views": [{"name": "V", "objects": [{"name": "O", "address": "0xFFFFFFFFFFFFFFFF", "members":
            [{"name": "a", "stored": "int16"}]}]}]})",
         "/views/0/objects/0/address: the object's 2 bytes end behind the last address"},
        {around(R"({"name": "g", "size": 3, "members": [{"name": "a", "at": 2, "stored": "int16"}]})"),
         members + "/0/size: expected an integer from 4 to 4294967295, found 3"},
        {around(R"({"name": "a", "stored": "float32", "bits": 12})"),
         members + "/0/bits: expected 32, since a floating value is whole, found 12"},
        {around(R"({"name": "a", "stored": "int8", "coefficients": [0, 1, 0, 0, 0]})"),
         members + "/0/coefficients: expected an array of 6 numbers: x squared, x and constant of the numerator, then "
                   "of the denominator, found an array of 5"},
        {around(R"({"name": "a", "stored": "int8", "coefficients": [0, 1, 0, 0, 0, 0]})"),
         members + "/0/coefficients: the denominator, the last three, is 0"},
        {around(R"({"name": "a", "stored": "int8", "minimum": 1})"),
         members + "/0/minimum: the minimum lies above the maximum"},
        {around(R"({"name": "a", "stored": "int8", "maximum": -1})"),
         members + "/0/maximum: the minimum lies above the maximum"},
        {around(R"({"name": "a", "stored": "int8", "factor": 1e999})"),
         members + "/0/factor: expected a number that a double can hold, number overflow parsing '1e999'"},
        {"{}\n" + std::string(1, '\0'), "2:1: expected JSON, found a zero byte"},
        {around(R"({"name": "a", "stored": "int8", "values": {"01": "y"}})"),
         members + "/0/values/01: the key of a value table has to fit int64 and to have no leading zeros"},
        {R"({"sdl": 1, "comment": 2, "views": []})", "/comment: expected a text, found 2"},
        {around(R"({"name": "g", "count": 4294967295, "members": [{"name": "a", "stored": "int16"}]},
                   {"name": "b", "stored": "int8"})"),
         members + "/1: the members before this one end behind byte 4294967295"},
    };
    for (const auto& [text, expected] : rows) {
        const auto read = read_sdl(text);
        EXPECT_EQ(read.told, expected + '\n') << text;
        EXPECT_EQ(read.written, "") << text;
    }
    EXPECT_EQ(read_sdl("{\n \"sdl\": 1,\n \"views\": ]").told.substr(0, 18), "3:11: expected JSO");
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
