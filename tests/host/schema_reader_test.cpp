// From types to text and back.
#include "host/schema_reader.hpp"

#include <gtest/gtest.h>

#include "introspection/generator/json_printer.hpp"
#include "tests/host/random_types.hpp"

namespace tavi::test {
namespace {

using host::read_schema;
using host::schema_error;
using qor::introspection::generator::json_printer;

std::uint64_t bits(double value) {
    return std::isnan(value) ? 1 : std::bit_cast<std::uint64_t>(value);
}

bool equal(const dynamic_type& left, const dynamic_type& right);

bool equal_signals(const signal_type_base& left, const signal_type_base& right) {
    return left.raw_kind() == right.raw_kind() && left.byte_order() == right.byte_order() &&
           left.bit_offset() == right.bit_offset() && left.bit_length() == right.bit_length() &&
           bits(left.numerator_x2()) == bits(right.numerator_x2()) &&
           bits(left.numerator_x1()) == bits(right.numerator_x1()) &&
           bits(left.numerator_x0()) == bits(right.numerator_x0()) &&
           bits(left.denominator_x2()) == bits(right.denominator_x2()) &&
           bits(left.denominator_x1()) == bits(right.denominator_x1()) &&
           bits(left.denominator_x0()) == bits(right.denominator_x0()) && left.conversion() == right.conversion() &&
           left.encoding() == right.encoding() && left.signal_suffix() == right.signal_suffix();
}

bool equal_annotations(const dynamic_type& left, const dynamic_type& right) {
    return std::equal(left.annotations().begin(), left.annotations().end(), right.annotations().begin(),
                      right.annotations().end(), [](const applied_annotation& a, const applied_annotation& b) {
                          return a.type().name() == b.type().name() &&
                                 std::equal(a.parameters().begin(), a.parameters().end(), b.parameters().begin(),
                                            b.parameters().end(), [](const auto& p, const auto& q) {
                                                return p.name == q.name && p.value == q.value;
                                            });
                      });
}

bool equal_structures(const struct_type& left, const struct_type& right) {
    return std::equal(left.members().begin(), left.members().end(), right.members().begin(), right.members().end(),
                      [](const member_record& a, const member_record& b) {
                          return a.name == b.name && a.offset == b.offset && equal(*a.type, *b.type);
                      });
}

bool equal(const dynamic_type& left, const dynamic_type& right) {
    if (left.kind() != right.kind() || left.name() != right.name() || left.name_hash() != right.name_hash() ||
        left.instance_size() != right.instance_size() || !equal_annotations(left, right)) {
        return false;
    }
    if (has_flag(left.kind(), signal_flag)) {
        return equal_signals(static_cast<const signal_type_base&>(left), static_cast<const signal_type_base&>(right));
    }
    switch (left.kind()) {
    case type_kind::structure:
        return equal_structures(static_cast<const struct_type&>(left), static_cast<const struct_type&>(right));
    case type_kind::array:
        return static_cast<const array_type&>(left).dimension() == static_cast<const array_type&>(right).dimension() &&
               equal(static_cast<const array_type&>(left).content_type(),
                     static_cast<const array_type&>(right).content_type());
    case type_kind::string:
        return static_cast<const string_type&>(left).bound() == static_cast<const string_type&>(right).bound();
    case type_kind::alias:
        return equal(static_cast<const alias_type&>(left).target(), static_cast<const alias_type&>(right).target());
    default:
        return true;
    }
}

TEST(SchemaReader, GivesBackTheTypeThatWasPrinted) {
    random_types types(11, false);
    for (int round = 0; round < 1'500; ++round) {
        const auto type = types.structure(3);
        const std::string text = json_printer::print(*type, round % 2 == 0);
        const auto read = read_schema(text);
        ASSERT_TRUE(equal(*type, *read)) << text << "\nbecame\n" << json_printer::print(*read, round % 2 == 0);
    }
}

constexpr const char* signal_text =
    R"({"kind":"signal","name":"signal_double_uint8_t_le_2c_0_8_0.000000_0.500000_0.000000_0.000000_0.000000_1.000000",)"
    R"("size":1,"converted":"float64","raw":"uint8","byte_order":"little_endian","bit_offset":0,"bit_length":8,)"
    R"("coefficients":[0,0.5,0,0,0,1],"encoding":"unspecified","suffix":""})";

std::string with(const std::string& text, const std::string& old_part, const std::string& new_part) {
    const std::size_t at = text.find(old_part);
    EXPECT_NE(at, std::string::npos) << old_part;
    return text.substr(0, at) + new_part + text.substr(at + old_part.size());
}

TEST(SchemaReader, NamesThePlaceOfAFault) {
    const std::string structure = std::string(R"({"kind":"structure","name":"A","size":4,"members":[)") +
                                  R"({"name":"x","offset":0,"type":)" + signal_text + "}]}";
    ASSERT_NO_THROW(read_schema(structure));
    const std::string at_x = "/members/0/type";
    const std::pair<std::string, std::string> rows[] = {
        {"", "offset 1: the text is no JSON"},
        {structure.substr(0, 40), "offset 41: the text is no JSON"},
        {"[1]", "the schema: expected an object"},
        {"{}", "the schema: 'kind' is missing"},
        {R"({"kind":"structure"})", "the schema: 'name' is missing"},
        {R"({"kind":"float64","name":"double","size":8})", "/kind: there is no type of kind 'float64'"},
        {R"({"kind":"thing","name":"","size":8})", "/kind: 'thing' is no kind of type"},
        {with(structure, "[{", "[1,{"), "/members/0: expected an object"},
        {with(structure, R"("members":[)", R"("members":7,"x":[)"), "/members: expected an array"},
        {with(structure, R"("offset":0)", R"("offset":-1)"),
         "/members/0/offset: expected a whole number of at most 18446744073709551615"},
        {with(structure, R"("bit_length":8)", R"("bit_length":"8")"),
         at_x + "/bit_length: expected a whole number of at most 4294967295"},
        {with(structure, R"("bit_offset":0)", R"("bit_offset":4294967296)"),
         at_x + "/bit_offset: expected a whole number of at most 4294967295"},
        {with(structure, R"("bit_length":8)", R"("bit_length":9)"),
         at_x + ": the specified underlying primitive type cannot store the specified bit length of the signal"},
        {with(structure, "[0,0.5,", "[0,"), at_x + "/coefficients: expected six numbers"},
        {with(structure, "0.5,", R"("nan",)"),
         at_x + R"(/coefficients/1: expected a number, "NaN", "Infinity" or "-Infinity")"},
        {with(structure, "0.5,", "null,"), at_x + "/coefficients/1: expected a number"},
        {with(structure, R"("raw":"uint8")", R"("raw":"boolean")"), at_x + ": there is no signal of these kinds"},
        {with(structure, "little_endian", "middle_endian"), at_x + "/byte_order: 'middle_endian' is not known"},
        {with(structure, "\"little_endian\"", "256"), at_x + "/byte_order: expected a whole number of at most 255"},
        {with(structure, "_le_", "_be_"),
         at_x + "/name: expected 'signal_double_uint8_t_le_2c_0_8_0.000000_0.500000_0.000000_0.000000_0.000000_"
                "1.000000'"},
        {with(structure, R"("size":1)", R"("size":2)"), at_x + "/size: expected 1"},
        {with(structure, R"({"name":"x")",
              std::string(R"({"name":"x","offset":1,"type":)") + signal_text + R"(},{"name":"x")"),
         "/members/1: there is a member 'x' already"},
        {R"({"kind":"uint32","name":"uint32_t","size":4,"annotations":[{"name":"a","parameters":[)"
         R"({"name":"p","kind":"int8","value":1}]}]})",
         R"(/annotations/0/parameters/0/kind: expected "string", "uint32" or "uint64")"},
        {R"({"kind":"uint32","name":"uint32_t","size":4,"annotations":[{"name":"a","parameters":[)"
         R"({"name":"p","kind":"uint32","value":1},{"name":"p","kind":"uint32","value":1}]}]})",
         "the schema: annotation 'a' already has a parameter named 'p'"},
    };
    for (const auto& [text, message] : rows) {
        try {
            read_schema(text);
            ADD_FAILURE() << "read: " << text;
        } catch (const schema_error& error) {
            EXPECT_EQ(error.what(), message) << text;
        }
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
