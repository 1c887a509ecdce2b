// From types to text and back.
#include "tavi/schema_reader.hpp"

#include <gtest/gtest.h>

#include <cstring>

#include "introspection/generator/json_printer.hpp"
#include "tests/host/random_types.hpp"
#include "tests/support/thrown.hpp"

namespace tavi::test {
namespace {

using host::read_schema;
using host::schema_error;
using qor::introspection::generator::json_printer;

// The text holds every field, and what is printed is seen in the tests of the printer.
TEST(SchemaReader, GivesBackTheTypeThatWasPrinted) {
    random_types types(11, false);
    for (int round = 0; round < 1'500; ++round) {
        const auto type = types.structure(3);
        const std::string text = json_printer::print(*type, round % 2 == 0);
        const auto read = read_schema(text);
        ASSERT_EQ(json_printer::print(*read, round % 2 == 0), text);
        ASSERT_EQ(read->name_hash(), type->name_hash());
        ASSERT_EQ(read->instance_size(), type->instance_size());
    }
}

constexpr const char* signal_text =
    R"({"kind":"signal","name":"signal_double_uint8_t_le_2c_0_8_0.000000_0.500000_0.000000_0.000000_0.000000_1.000000",)"
    R"("size":1,"converted":"float64","raw":"uint8","byte_order":"little_endian","bit_offset":0,"bit_length":8,)"
    R"("coefficients":[0,0.5,0,0,0,1],"encoding":"unspecified","suffix":""})";

TEST(SchemaReader, NamesThePlaceOfAFault) {
    const std::string structure = std::string(R"({"kind":"structure","name":"A","size":4,"members":[)") +
                                  R"({"name":"x","offset":0,"type":)" + signal_text + "}]}";
    ASSERT_EQ(json_printer::print(*read_schema(structure), false), structure);
    const std::string at_x = "/members/0/type";
    struct fault {
        const char* part; // of the text, all of it when null
        std::string instead;
        std::string message;
    };
    const std::string annotated =
        R"({"kind":"uint32","name":"uint32_t","size":4,"annotations":[{"name":"a","parameters":[)";
    const fault rows[] = {
        {nullptr, structure.substr(0, 40), "offset 41: the text is not valid JSON"},
        {nullptr, "{}", "the schema: 'kind' is missing"},
        {nullptr, R"({"kind":"float64","name":"double","size":8})", "/kind: there is no type of kind 'float64'"},
        {nullptr, R"({"kind":"thing","name":"","size":8})", "/kind: 'thing' is not a kind of type"},
        {"[{", "[1,{", "/members/0: expected an object"},
        {R"("members":[)", R"("members":7,"x":[)", "/members: expected an array"},
        {R"("offset":0)", R"("offset":-1)",
         "/members/0/offset: expected a whole number of at most 18446744073709551615"},
        {R"("bit_length":8)", R"("bit_length":"8")",
         at_x + "/bit_length: expected a whole number of at most 4294967295"},
        {R"("bit_length":8)", R"("bit_length":9)",
         at_x + ": the specified underlying primitive type cannot store the specified bit length of the signal"},
        {"[0,0.5,", "[0,", at_x + "/coefficients: expected six numbers"},
        {"0.5,", R"("nan",)", at_x + R"(/coefficients/1: expected a number, "NaN", "Infinity" or "-Infinity")"},
        {R"("raw":"uint8")", R"("raw":"boolean")", at_x + ": there is no signal of these kinds"},
        {"little_endian", "middle_endian", at_x + "/byte_order: 'middle_endian' is not known"},
        {"_le_", "_be_",
         at_x + "/name: expected 'signal_double_uint8_t_le_2c_0_8_0.000000_0.500000_0.000000_0.000000_0.000000_"
                "1.000000'"},
        {R"("size":1)", R"("size":2)", at_x + "/size: expected 1"},
        {"members\":[", std::string(R"(members":[{"name":"x","offset":1,"type":)") + signal_text + "},",
         "/members/1: there is a member 'x' already"},
        {nullptr, annotated + R"({"name":"p","kind":"int8","value":1}]}]})",
         R"(/annotations/0/parameters/0/kind: expected "string", "uint32" or "uint64")"},
        {nullptr, annotated + R"({"name":"p","kind":"uint32","value":1},{"name":"p","kind":"uint32","value":1}]}]})",
         "the schema: annotation 'a' already has a parameter named 'p'"},
    };
    for (const fault& row : rows) {
        std::string text = row.part != nullptr ? structure : row.instead;
        if (row.part != nullptr) {
            text.replace(text.find(row.part), std::strlen(row.part), row.instead);
        }
        EXPECT_EQ(thrown<schema_error>([&] { read_schema(text); }), row.message) << text;
    }
}

TEST(SchemaReader, SurvivesDeepTexts) {
    std::string alias = signal_text;
    for (int i = 0; i < 300; ++i) {
        alias = R"({"kind":"alias","name":"a","size":1,"target":)" + alias + "}";
    }
    EXPECT_THROW(read_schema(alias), schema_error);
    EXPECT_THROW(read_schema(std::string(1'000'000, '[')), schema_error);
}

} // namespace
} // namespace tavi::test
