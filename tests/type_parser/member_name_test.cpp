// What becomes of two nodes of one name.
#include "tests/support/thrown.hpp"
#include "tests/type_parser/parsing.hpp"

namespace tavi::test {
namespace {

struct_type structure_with(const std::vector<std::string>& names) {
    struct_type structure("T");
    for (const std::string& name : names) {
        const struct_type empty("E");
        structure.add_member_at(member_record(name, &empty), 4, 0, false);
    }
    return structure;
}

TEST(validate_member_name, gives_the_first_free_name) {
    recording_sink sink;
    const auto logger = std::make_shared<qor::extensibility::log::logger>(&sink);
    const struct {
        std::vector<std::string> members;
        std::string name;
        std::string result;
    } cases[] = {
        {{}, "a", "a"},
        {{"b"}, "a", "a"},
        {{"a"}, "a", "a_1"},
        {{"a", "a_1"}, "a", "a_2"},
        {{"a", "a_2"}, "a", "a_1"},
        {{"a_1"}, "a_1", "a_1_1"},
        {{"a_1"}, "a", "a"},
        {{""}, "", "_1"},
    };
    for (const auto& each : cases) {
        const struct_type structure = structure_with(each.members);
        sink.records.clear();
        EXPECT_EQ(type_parser::validate_member_name(logger, structure, each.name, 4, true), each.result);
        EXPECT_EQ(sink.records.size(), each.result == each.name ? 0u : 1u) << each.result;
        EXPECT_EQ(type_parser::validate_member_name(nullptr, structure, each.name, 8, true), each.result);
    }
}

TEST(validate_member_name, tells_the_clash_by_its_offset) {
    const struct_type structure = structure_with({"a"});
    const std::string twice =
        "member names of aggregation types must be unique, it appears that 'T.a' is added multiple times0";
    const std::string elsewhere =
        "member names of aggregation types must be unique, 'T' already has a member with 'a' name0";
    for (const std::uint64_t offset : {4, 5}) {
        const std::string& text = offset == 4 ? twice : elsewhere;
        recording_sink sink;
        const auto logger = std::make_shared<qor::extensibility::log::logger>(&sink);
        const auto validate = [&](bool lenient) {
            return type_parser::validate_member_name(logger, structure, "a", offset, lenient);
        };
        EXPECT_EQ(thrown<std::runtime_error>([&] { validate(false); }), text);
        EXPECT_THAT(sink.records, ::testing::IsEmpty());
        validate(true);
        EXPECT_THAT(sink.records, ::testing::ElementsAre("validate_member_name: Validate member: " + text));
    }
}

TEST(type_parser, groups_of_one_name_clash_or_are_renamed) {
    const auto unique = [](const std::string& rest) {
        return "member names of aggregation types must be unique, " + rest;
    };
    const auto clash = [&](const std::string& name) {
        return "validate_member_name: Validate member: " + unique("'O' already has a member with '" + name + "' name0");
    };
    const std::vector<qor_type_node_t> twice = {object_node(1, 9, "O", 0, 8), group_node(2, 1, "g", 0, 0),
                                                group_node(3, 1, "g", 0, 4), signal_node(4, 3, "a", 1)};
    const std::vector<qor_type_node_t> many = {object_node(1, 9, "O", 0, 8),  group_node(2, 1, "g", 0, 1),
                                               group_node(3, 1, "g_1", 1, 1), group_node(4, 1, "g", 2, 1),
                                               group_node(5, 1, "g_1", 3, 1), group_node(6, 1, "g", 4, 1)};
    const std::vector<qor_type_node_t> behind_signal = {object_node(1, 9, "O", 0, 8), signal_node(2, 1, "x", 0),
                                                        group_node(3, 1, "x", 4, 4)};
    expect_all({
        {"at one offset", twice, "runtime_error: " + unique("it appears that 'O.g' is added multiple times0")},
        {"at one offset",
         twice,
         "O:8{g@0 O.g:0{}, g_1@0 O.g:4{a@1 uint8}}",
         {"validate_member_name: Validate member: " + unique("it appears that 'O.g' is added multiple times0"),
          "parse: Rename 'O.g' to 'g_1'0"},
         false,
         true},
        {"at several", many, "runtime_error: " + unique("'O' already has a member with 'g' name0")},
        {"at several",
         many,
         "O:8{g@0 O.g:1{}, g_1@1 O.g_1:1{}, g_2@2 O.g:1{}, g_1_1@3 O.g_1:1{}, g_3@4 O.g:1{}}",
         {clash("g"), "parse: Rename 'O.g' to 'g_2'0", clash("g_1"), "parse: Rename 'O.g_1' to 'g_1_1'0", clash("g"),
          "parse: Rename 'O.g' to 'g_3'0"},
         false,
         true},
        {"behind a signal",
         behind_signal,
         "O:8{x@0 uint8, x_1@4 O.x:4{}}",
         {clash("x"), "parse: Rename 'O.x' to 'x_1'0"},
         false,
         true},
        {"a signal behind a group",
         {object_node(1, 9, "O", 0, 8), group_node(2, 1, "x", 0, 1), signal_node(3, 1, "x", 4)},
         "runtime_error: type 'O' already has a member 'x' with a different offset",
         {},
         false,
         true},
    });
}

} // namespace
} // namespace tavi::test
