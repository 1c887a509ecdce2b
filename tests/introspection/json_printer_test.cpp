#include <limits>

#include "introspection/generator/json_printer.hpp"
#include "tests/introspection/type_fixture.hpp"

namespace {

using namespace tavi::test;
using qor::introspection::generator::json_printer;

std::string compact(const dynamic_type& type) {
    return json_printer::print(type, false);
}

TEST(json_printer, every_kind_in_compact_text) {
    const auto signal = make({.converted = type_kind::float64,
                              .raw = type_kind::int16,
                              .offset = 4,
                              .length = 12,
                              .c = {0, 0.1, -40, 0, 0, 1},
                              .order = 2,
                              .encoding = 1,
                              .suffix = "km/h"});
    const std::string number = R"({"kind":"uint32","name":"uint32_t","size":4})";
    const struct {
        const dynamic_type& type;
        std::string text;
    } table[] = {
        {number32(), number},
        {character(), R"({"kind":"char8","name":"char","size":1})"},
        {array_type(number32(), 3),
         R"({"kind":"array","name":"array_3_uint32_t","size":12,"dimension":3,"element":)" + number + "}"},
        {string_type(5), R"({"kind":"string","name":"std::string_5","size":32,"bound":5})"},
        {alias_type("n", number32()), R"({"kind":"alias","name":"n","size":4,"target":)" + number + "}"},
        {struct_type("E"), R"({"kind":"structure","name":"E","size":0,"members":[]})"},
        {*signal, R"({"kind":"signal","name":"signal_double_int16_t_ibe_sm_4_12_0.000000_0.100000_-40.000000_0.000000_)"
                  R"(0.000000_1.000000_km/h","size":2,"converted":"float64","raw":"int16",)"
                  R"("byte_order":"inconsistent_big_endian","bit_offset":4,"bit_length":12,)"
                  R"("coefficients":[0,0.1,-40,0,0,1],"encoding":"sign_magnitude","suffix":"km/h"})"},
    };
    for (const auto& row : table) {
        EXPECT_EQ(compact(row.type), row.text);
    }
}

TEST(json_printer, indented_structure_with_annotations) {
    annotation_type measurement("measurement");
    measurement.add_parameter("view", string_type(0)).add_parameter("cycle", number32());
    measurement.add_parameter("address", number64());
    struct_type type = structure("T", {{"x", &number64(), 8}});
    type.add_annotation(applied_annotation(measurement)
                            .apply_parameter("view", std::string("CAN"))
                            .apply_parameter("cycle", std::uint32_t{0})
                            .apply_parameter("address", std::uint64_t{0xFFFFFFFFFFFFFFFF}));
    EXPECT_EQ(json_printer::print(type, true), R"({
  "kind": "structure",
  "name": "T",
  "size": 16,
  "members": [
    {
      "name": "x",
      "offset": 8,
      "type": {
        "kind": "uint64",
        "name": "uint64_t",
        "size": 8
      }
    }
  ],
  "annotations": [
    {
      "name": "measurement",
      "parameters": [
        {
          "name": "view",
          "kind": "string",
          "value": "CAN"
        },
        {
          "name": "cycle",
          "kind": "uint32",
          "value": 0
        },
        {
          "name": "address",
          "kind": "uint64",
          "value": 18446744073709551615
        }
      ]
    }
  ]
})");
}

TEST(json_printer, empty_lists_stay_on_their_line) {
    EXPECT_EQ(json_printer::print(struct_type("E"), true),
              "{\n  \"kind\": \"structure\",\n  \"name\": \"E\",\n  \"size\": 0,\n  \"members\": []\n}");
}

TEST(json_printer, numbers_read_back_the_same) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const std::string text =
        compact(*make({.c = {-0.0, 0.1, 1e300, infinity, -infinity, std::numeric_limits<double>::quiet_NaN()}}));
    EXPECT_NE(text.find(R"("coefficients":[-0.0,0.1,1e+300,"Infinity","-Infinity","NaN"])"), std::string::npos) << text;
    const std::string odd = compact(*make({.order = 9, .encoding = 7}));
    EXPECT_NE(odd.find(R"("byte_order":9,)"), std::string::npos) << odd;
    EXPECT_NE(odd.find(R"("encoding":7,)"), std::string::npos) << odd;
}

TEST(json_printer, texts_are_valid_utf8) {
    const std::string bad = "\xEF\xBF\xBD";
    const struct {
        std::string name;
        std::string text;
    } table[] = {
        {"a\"b\\c/", R"(a\"b\\c/)"},
        {std::string("\b\f\n\r\t\x01\x1F\x7F\0", 9), R"(\b\f\n\r\t\u0001\u001f\u007f\u0000)"},
        {"\xC2\xB0 \xE2\x82\xAC \xF0\x9F\x9A\x97", "\xC2\xB0 \xE2\x82\xAC \xF0\x9F\x9A\x97"},
        {"\xB0"
         "C",
         bad + "C"},
        {"\xC0\xAF", bad + bad},                     // overlong
        {"\xE0\x80\xAF", bad + bad + bad},           // overlong
        {"\xED\xA0\x80", bad + bad + bad},           // surrogate
        {"\xF4\x90\x80\x80", bad + bad + bad + bad}, // beyond U+10FFFF
        {"\xE2\x82", bad + bad},                     // cut short
        {"\xE2\x82\"", bad + bad + "\\\""},
    };
    for (const auto& row : table) {
        EXPECT_EQ(compact(struct_type(row.name)),
                  R"({"kind":"structure","name":")" + row.text + R"(","size":0,"members":[]})");
    }
}

} // namespace
