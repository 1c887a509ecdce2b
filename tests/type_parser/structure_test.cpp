// Node lists and the structures that they become: nesting, arrays, sizes, layout faults.
#include "tests/type_parser/parsing.hpp"

namespace tavi::test {
namespace {

TEST(type_parser, makes_structures_of_nodes) {
    const char* const groups = "group 1 9 G 16 8 4; signal 2 1 a; signal 3 1 b 4";
    const char* const arrays = "object 1 9 O 256 16 2; signal 2 1 x 0 1 4; group 3 1 g 4 6 2; signal 4 3 y 2 1 4";
    expect_all({
        {"object 1 9 O 256 20; signal 2 1 a 1; group 3 1 g 4 8; signal 4 3 b 3; group 5 3 h 6 2; signal 6 5 c 1; "
         "signal 7 1 d 19",
         "O:20{a@1 uint8, g@4 O.g:8{b@3 uint8, h@6 O.g.h:2{c@1 uint8}}, d@19 uint8}"},
        {groups, "G:32{G@0 4*G.G:8{a@0 uint8, b@4 uint8}}"},
        {groups, "G:8{a@0 uint8, b@4 uint8}", parsing::indexed},
        {arrays, "O:32{O@0 2*O.O:16{x@0 4*uint8, g@4 2*O.O.g:6{y@2 4*uint8}}}"},
        // A selected element loses the arrays of its own signals only.
        {arrays, "O:16{x@0 uint8, g@4 2*O.g:6{y@2 4*uint8}}", parsing::indexed},
        {"signal 1 9 S 7 2", "S:2{S@0 uint8}"},
        {"signal 1 9 S 7 4 3", "S:12{S@0 3*uint8}"},
        {"signal 1 9 S 7 4 3", "S:4{S@0 uint8}", parsing::indexed},
        // An object below an object has no offset.
        {"object 1 9 O 256 8; object 2 1 P 512 4; signal 3 2 a 1", "O:8{P@0 O.P:4{a@1 uint8}}"},
        // A large array does not wrap.
        {"group 1 9 G 0 4294967295 4294967295", "G:18446744065119617025{G@0 4294967295*G.G:4294967295{}}"},
        // A view and unknown kinds have neither size nor members, and are passed over below others.
        {"view 1 0 V; object 2 1 O 0 8; signal 3 2 a", "V:0{}"},
        {"9 1 0 N; signal 3 1 a", "N:0{}"},
        {"object 1 9 O 0 4; 9 2 1 N; 1 3 1 V; signal 4 1 a 2", "O:4{a@2 uint8}"},
        {"object 1 9 - 0 4; signal 2 1 - 2", ":4{@2 uint8}"},
        // Nodes of another tree behind the list, and a signal that is listed twice.
        {"object 1 9 O 0 4; signal 2 1 a 2; signal 3 8 b 3", "O:4{a@2 uint8}"},
        {"object 1 9 O 0 4; signal 2 1 a 2; signal 3 1 a 2", "O:4{a@2 uint8}"},
    });
}

TEST(type_parser, the_declared_size_wins_and_the_end_of_the_list_tells_of_a_cut) {
    expect_all({
        {"object 1 9 O 0 64; signal 2 1 a", "O:64{a@0 uint8}"},
        {"object 1 9 O 0 4; signal 2 1 a 11",
         "parse: Truncating structure 'O' from size 12 to 4 bytes\nO:4{a@11 uint8}"},
        {"object 1 9 O 0 20; group 2 1 g 0 2; signal 3 2 a 3; signal 4 1 z 10",
         "O:20{g@0 O.g:2{a@3 uint8}, z@10 uint8}"},
        {"object 1 9 O 0 2; group 2 1 g 0 2; signal 3 2 a 3",
         "parse: Truncating structure 'O.g' from size 4 to 2 bytes\nO:2{g@0 O.g:2{a@3 uint8}}"},
        {"group 1 9 G 0 2 0; signal 2 1 a",
         "parse: Truncating structure 'G' from size 2 to 0 bytes\nG:0{G@0 G.G:2{a@0 uint8}}"},
    });
}

TEST(type_parser, layout_faults_fail_or_are_logged) {
    const char* const group = "object 1 9 O 0 8; signal 2 1 a 3; group 3 1 g 2 2; signal 4 3 b; signal 5 1 c 1";
    const char* const array = "object 1 9 O 0 8; signal 2 1 a 3; signal 3 1 s 1 1 2";
    const auto fault = [](const char* member) {
        return std::string("invalid offset specified for structure 'O' member ") + member +
               " is less than current structure size 4";
    };
    expect_all({
        {group, "invalid_argument: " + fault("'g', offset 2")},
        {group, "parse: " + fault("'g', offset 2") + "\nO:8{a@3 uint8, g@2 O.g:2{b@0 uint8}, c@1 uint8}",
         parsing::lenient},
        {array, "invalid_argument: " + fault("'s', offset 1")},
        {array, "parse: " + fault("'s', offset 1") + "\nO:8{a@3 uint8, s@1 2*uint8}", parsing::lenient},
        // Signals may overlap.
        {"object 1 9 O 0 8; signal 2 1 a 3; signal 3 1 b 1", "O:8{a@3 uint8, b@1 uint8}"},
    });
}

TEST(type_parser, some_faults_fail_in_any_mode) {
    nodes_of unknown("object 1 9 O 0 8; signal 2 1 x");
    unknown.nodes()[1].signal.converted_kind = 0x4001;
    nodes_of too_long("object 1 9 O 0 8; signal 2 1 x");
    too_long.nodes()[1].signal.bit_length = 9;
    for (const parsing mode : {parsing::strict, parsing::lenient}) {
        expect_all({
            {"", "runtime_error: unexpected node list received for schema retrieval", mode},
            {"object 1 9 O 0 8; signal 2 1 a 3; signal 3 1 a 1",
             "runtime_error: type 'O' already has a member 'a' with a different offset", mode},
        });
        EXPECT_EQ(parse(unknown.sequence(), mode),
                  "runtime_error: failed to declare signal type 'x', a dynamic type was not returned");
        EXPECT_EQ(parse(too_long.sequence(), mode), "invalid_argument: the specified underlying primitive type cannot "
                                                    "store the specified bit length of the signal");
        EXPECT_EQ(parse({nullptr, 1}, mode), "invalid_argument: invalid node object state");
    }
}

TEST(type_parser, bounds_the_depth_of_nesting) {
    const auto nested = [](std::uint64_t depth) {
        nodes_of list;
        for (std::uint64_t level = 0; level <= depth; ++level) {
            list.add("group " + std::to_string(level + 1) + ' ' + std::to_string(level) + " g 0 4");
        }
        return parse(list.sequence());
    };
    const std::string too_deep = "runtime_error: the nodes of 'g' are nested deeper than 256 levels";
    EXPECT_EQ(nested(256).substr(0, 18), "g:4{g@0 g.g:4{g@0 ");
    EXPECT_EQ(nested(257), too_deep);
    // All nodes are their own parents and so below one another.
    nodes_of itself("group 0 0 g 0 4");
    std::vector ring(100'000, itself.nodes()[0]);
    EXPECT_EQ(parse({ring.data(), ring.size()}), too_deep);
}

// Work that grew with the square of the members would outlast the test.
TEST(type_parser, takes_many_members_of_many_and_of_one_name) {
    constexpr std::uint32_t many = 30'000;
    nodes_of list("object 1 9 O 0 120000");
    for (std::uint32_t i = 0; i < 2 * many; ++i) {
        const std::string number = std::to_string(i), kind = i < many ? "signal " : "group ";
        list.add(kind + std::to_string(2 + i) + " 1 " + (i < many ? number : "g") + ' ' + number);
    }
    std::uint64_t index = 0;
    const auto type = type_parser::parse(nullptr, list.sequence(), index, false, nullptr, true);
    ASSERT_EQ(type.members().size(), 2 * many);
    EXPECT_EQ(type.member(2 * many - 1).name, "g_" + std::to_string(many - 1));
}

TEST(type_parser, reads_from_the_index_up_to_the_last_node_below_and_leaves_the_list_as_it_was) {
    nodes_of list("object 1 9 O 0 8; signal 2 1 a; group 3 1 g 1 2; group 4 3 h 0 1 2; signal 5 4 b; signal 6 1 c 7");
    std::uint64_t index = 2;
    const struct_type parent("P");
    EXPECT_EQ(shape_of(type_parser::parse(nullptr, list.sequence(), index, false, &parent, false)),
              "P.g:2{h@0 2*P.g.h:1{b@0 uint8}}");
    EXPECT_EQ(index, 4u);
    EXPECT_EQ(list.nodes()[3].group.element_count, 2u);
}

} // namespace
} // namespace tavi::test
