#include "introspection/generator/json_printer.hpp"
#include "tests/introspection/type_fixture.hpp"

namespace {

using namespace tavi::test;
using qor::introspection::generator::json_printer;

constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(json_printer, every_kind_in_compact_text) {
    const auto signal = make({.converted = type_kind::float64,
                              .raw = type_kind::int16,
                              .offset = 4,
                              .length = 12,
                              .c = {0, 0.1, -40, -0.0, 0, 1},
                              .order = 2,
                              .encoding = 1,
                              .suffix = "km/h"});
    const auto odd = make(
        {.c = {1e21, infinity, -infinity, std::numeric_limits<double>::quiet_NaN(), 0, 1}, .order = 9, .encoding = 7});
    annotation_type measurement("m");
    measurement.add_parameter("view", string_type(0)).add_parameter("address", number64);
    struct_type annotated("T");
    annotated.add_annotation(applied_annotation(measurement)
                                 .apply_parameter("view", std::string("CAN"))
                                 .apply_parameter("address", ~std::uint64_t{0}));
    const auto named = [](const std::string& text) {
        return R"({"kind":"structure","name":")" + text + R"(","size":0,"members":[]})";
    };
    const std::string bad = "\xEF\xBF\xBD";
    const std::string number = R"({"kind":"uint32","name":"uint32_t","size":4})";
    const struct { // keeps the types that are made in it alive
        const dynamic_type& type;
        std::string text;
    } table[] = {
        {number32, number},
        {array_type(number32, 3),
         R"({"kind":"array","name":"array_3_uint32_t","size":12,"dimension":3,"element":)" + number + "}"},
        {string_type(5), R"({"kind":"string","name":"std::string_5","size":32,"bound":5})"},
        {alias_type("n", number32), R"({"kind":"alias","name":"n","size":4,"target":)" + number + "}"},
        {structure("E", {{"x", number32, 8}}),
         R"({"kind":"structure","name":"E","size":12,"members":[{"name":"x","offset":8,"type":)" + number + "}]}"},
        {annotated, R"({"kind":"structure","name":"T","size":0,"members":[],"annotations":[{"name":"m","parameters":[)"
                    R"({"name":"view","kind":"string","value":"CAN"},)"
                    R"({"name":"address","kind":"uint64","value":18446744073709551615}]}]})"},
        {*signal, R"({"kind":"signal","name":"signal_double_int16_t_ibe_sm_4_12_0.000000_0.100000_-40.000000_)"
                  R"(-0.000000_0.000000_1.000000_km/h","size":2,"converted":"float64","raw":"int16",)"
                  R"("byte_order":"inconsistent_big_endian","bit_offset":4,"bit_length":12,)"
                  R"("coefficients":[0,0.1,-40,-0.0,0,1],"encoding":"sign_magnitude","suffix":"km/h"})"},
        {*odd, R"({"kind":"signal","name":")" + odd->name() +
                   R"(","size":1,"converted":"uint8","raw":"uint8","byte_order":9,"bit_offset":0,"bit_length":8,)"
                   R"("coefficients":[1e+21,"Infinity","-Infinity","NaN",0,1],"encoding":7,"suffix":""})"},
        // Texts are valid UTF-8.
        {struct_type("a\"b\\c/"), named(R"(a\"b\\c/)")},
        {struct_type({"\b\f\n\r\t\x01\x1F\x7F\0", 9}), named(R"(\b\f\n\r\t\u0001\u001f\u007f\u0000)")},
        {struct_type("\xC2\xB0 \xE2\x82\xAC \xF0\x9F\x9A\x97"), named("\xC2\xB0 \xE2\x82\xAC \xF0\x9F\x9A\x97")},
        {struct_type("\xC0\xAF"), named(bad + bad)},            // overlong
        {struct_type("\xE2\x82\""), named(bad + bad + "\\\"")}, // cut short
    };
    for (const auto& [type, text] : table) {
        EXPECT_EQ(json_printer::print(type, false), text);
    }
}

TEST(json_printer, indented_text_has_a_line_for_each_value) {
    EXPECT_EQ(json_printer::print(structure("T", {{"e", struct_type("E"), 8}}), true), R"({
  "kind": "structure",
  "name": "T",
  "size": 8,
  "members": [
    {
      "name": "e",
      "offset": 8,
      "type": {
        "kind": "structure",
        "name": "E",
        "size": 0,
        "members": []
      }
    }
  ]
})");
}

} // namespace
