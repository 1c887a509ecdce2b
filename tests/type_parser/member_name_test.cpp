// What becomes of two nodes of one name.
#include "tests/type_parser/parsing.hpp"

namespace tavi::test {
namespace {

TEST(validate_member_name, gives_the_first_free_name) {
    const struct {
        std::vector<std::string> members;
        std::string name;
        std::string result;
    } cases[] = {{{"b"}, "a", "a"}, {{"a"}, "a", "a_1"}, {{"a", "a_2"}, "a", "a_1"}, {{"a_1"}, "a_1", "a_1_1"}};
    for (const auto& each : cases) {
        const struct_type empty("E");
        struct_type structure("T");
        for (const std::string& name : each.members) {
            structure.add_member_at(member_record(name, &empty), 4, 0, false);
        }
        recording_sink sink;
        EXPECT_EQ(type_parser::validate_member_name(sink.logger(), structure, each.name, 4, true), each.result);
        EXPECT_EQ(sink.told.empty(), each.result == each.name) << each.result;
    }
}

TEST(type_parser, groups_of_one_name_clash_or_are_renamed) {
    const std::string unique = "member names of aggregation types must be unique, ";
    const auto clash = [](const std::string& name) { return "'O' already has a member with '" + name + "' name0"; };
    const auto renamed = [&](const std::string& text, const std::string& name, const std::string& new_name) {
        return "validate_member_name: Validate member: " + unique + text + "\nparse: Rename 'O." + name + "' to '" +
               new_name + "'0\n";
    };
    const std::string same_place = "it appears that 'O.g' is added multiple times0";
    const char* const twice = "object 1 9 O 0 8; group 2 1 g 0 0; group 3 1 g 0 4; signal 4 3 a 1";
    const char* const many =
        "object 1 9 O 0 8; group 2 1 g; group 3 1 g_1 1; group 4 1 g 2; group 5 1 g_1 3; group 6 1 g 4";
    expect_all({
        {twice, "runtime_error: " + unique + same_place},
        {twice, renamed(same_place, "g", "g_1") + "O:8{g@0 O.g:0{}, g_1@0 O.g:4{a@1 uint8}}", parsing::lenient},
        {many, "runtime_error: " + unique + clash("g")},
        {many,
         renamed(clash("g"), "g", "g_2") + renamed(clash("g_1"), "g_1", "g_1_1") + renamed(clash("g"), "g", "g_3") +
             "O:8{g@0 O.g:1{}, g_1@1 O.g_1:1{}, g_2@2 O.g:1{}, g_1_1@3 O.g_1:1{}, g_3@4 O.g:1{}}",
         parsing::lenient},
        {"object 1 9 O 0 8; signal 2 1 x; group 3 1 x 4 4",
         renamed(clash("x"), "x", "x_1") + "O:8{x@0 uint8, x_1@4 O.x:4{}}", parsing::lenient},
        {"object 1 9 O 0 8; group 2 1 -; group 3 1 - 4", renamed(clash(""), "", "_1") + "O:8{@0 O.:1{}, _1@4 O.:1{}}",
         parsing::lenient},
        {"object 1 9 O 0 8; group 2 1 x; signal 3 1 x 4",
         "runtime_error: type 'O' already has a member 'x' with a different offset", parsing::lenient},
    });
}

} // namespace
} // namespace tavi::test
