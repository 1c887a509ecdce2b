// Node lists and the structures that they become: nesting, arrays, sizes, layout faults.
#include "tests/type_parser/parsing.hpp"

namespace tavi::test {
namespace {

const std::vector<qor_type_node_t> array_of_groups = {group_node(1, 9, "G", 16, 8, 4), signal_node(2, 1, "a", 0),
                                                      signal_node(3, 1, "b", 4)};
const std::vector<qor_type_node_t> array_with_arrays = {object_node(1, 9, "O", 0x100, 16, 2),
                                                        signal_node(2, 1, "x", 0, 1, 4), group_node(3, 1, "g", 4, 6, 2),
                                                        signal_node(4, 3, "y", 2, 1, 4)};

TEST(type_parser, makes_structures_of_nodes) {
    expect_all({
        {"an object with signals and nested groups",
         {object_node(1, 9, "O", 0x100, 20), signal_node(2, 1, "a", 1), group_node(3, 1, "g", 4, 8),
          signal_node(4, 3, "b", 3), group_node(5, 3, "h", 6, 2), signal_node(6, 5, "c", 1),
          signal_node(7, 1, "d", 19)},
         "O:20{a@1 uint8, g@4 O.g:8{b@3 uint8, h@6 O.g.h:2{c@1 uint8}}, d@19 uint8}"},
        {"an array of groups", array_of_groups, "G:32{G@0 4*G.G:8{a@0 uint8, b@4 uint8}}"},
        {"one element of it", array_of_groups, "G:8{a@0 uint8, b@4 uint8}", {}, true},
        {"arrays inside an array", array_with_arrays, "O:32{O@0 2*O.O:16{x@0 4*uint8, g@4 2*O.O.g:6{y@2 4*uint8}}}"},
        {"a selected element loses the arrays of its own signals only",
         array_with_arrays,
         "O:16{x@0 uint8, g@4 2*O.g:6{y@2 4*uint8}}",
         {},
         true},
        {"a signal", {signal_node(1, 9, "S", 7, 2)}, "S:2{S@0 uint8}"},
        {"an array of signals", {signal_node(1, 9, "S", 7, 4, 3)}, "S:12{S@0 3*uint8}"},
        {"one element of it", {signal_node(1, 9, "S", 7, 4, 3)}, "S:4{S@0 uint8}", {}, true},
        {"an object below an object has no offset",
         {object_node(1, 9, "O", 0x100, 8), object_node(2, 1, "P", 0x200, 4), signal_node(3, 2, "a", 1)},
         "O:8{P@0 O.P:4{a@1 uint8}}"},
        {"a large array does not wrap",
         {group_node(1, 9, "G", 0, 0xFFFFFFFF, 0xFFFFFFFF)},
         "G:18446744065119617025{G@0 4294967295*G.G:4294967295{}}"},
        {"a view has neither size nor members",
         {view_node(1, "V"), object_node(2, 1, "O", 0, 8), signal_node(3, 2, "a", 0)},
         "V:0{}"},
        {"an unknown kind as well", {node(9, 1, 0, "N"), signal_node(3, 1, "a", 0)}, "N:0{}"},
        {"unknown kinds and views on the way are passed over",
         {object_node(1, 9, "O", 0, 4), node(9, 2, 1, "N"), node(1, 3, 1, "V"), signal_node(4, 1, "a", 2)},
         "O:4{a@2 uint8}"},
        {"nodes without a name", {object_node(1, 9, nullptr, 0, 4), signal_node(2, 1, nullptr, 2)}, ":4{@2 uint8}"},
        {"nodes of another tree behind the list",
         {object_node(1, 9, "O", 0, 4), signal_node(2, 1, "a", 2), signal_node(3, 8, "b", 3)},
         "O:4{a@2 uint8}"},
        {"a signal listed twice is a member once",
         {object_node(1, 9, "O", 0, 4), signal_node(2, 1, "a", 2), signal_node(3, 1, "a", 2)},
         "O:4{a@2 uint8}"},
    });
}

TEST(type_parser, the_declared_size_wins_and_the_end_of_the_list_tells_of_a_cut) {
    expect_all({
        {"larger than its members", {object_node(1, 9, "O", 0, 64), signal_node(2, 1, "a", 0)}, "O:64{a@0 uint8}"},
        {"smaller, at the end of the list",
         {object_node(1, 9, "O", 0, 4), signal_node(2, 1, "a", 11)},
         "O:4{a@11 uint8}",
         {"parse: Truncating structure 'O' from size 12 to 4 bytes"}},
        {"smaller, with more behind it",
         {object_node(1, 9, "O", 0, 20), group_node(2, 1, "g", 0, 2), signal_node(3, 2, "a", 3),
          signal_node(4, 1, "z", 10)},
         "O:20{g@0 O.g:2{a@3 uint8}, z@10 uint8}"},
        {"smaller, last in a structure that fits",
         {object_node(1, 9, "O", 0, 2), group_node(2, 1, "g", 0, 2), signal_node(3, 2, "a", 3)},
         "O:2{g@0 O.g:2{a@3 uint8}}",
         {"parse: Truncating structure 'O.g' from size 4 to 2 bytes"}},
        {"an array without elements",
         {group_node(1, 9, "G", 0, 2, 0), signal_node(2, 1, "a", 0)},
         "G:0{G@0 G.G:2{a@0 uint8}}",
         {"parse: Truncating structure 'G' from size 2 to 0 bytes"}},
    });
}

TEST(type_parser, layout_faults_fail_or_are_logged) {
    const std::vector<qor_type_node_t> groups = {object_node(1, 9, "O", 0, 8), signal_node(2, 1, "a", 3),
                                                 group_node(3, 1, "g", 2, 2), signal_node(4, 3, "b", 0),
                                                 signal_node(5, 1, "c", 1)};
    const std::string group_fault =
        "invalid offset specified for structure 'O' member 'g', offset 2 is less than current structure size 4";
    const std::vector<qor_type_node_t> arrays = {object_node(1, 9, "O", 0, 8), signal_node(2, 1, "a", 3),
                                                 signal_node(3, 1, "s", 1, 1, 2)};
    const std::string array_fault =
        "invalid offset specified for structure 'O' member 's', offset 1 is less than current structure size 4";
    expect_all({
        {"a group", groups, "invalid_argument: " + group_fault},
        {"a group", groups, "O:8{a@3 uint8, g@2 O.g:2{b@0 uint8}, c@1 uint8}", {"parse: " + group_fault}, false, true},
        {"an array of signals", arrays, "invalid_argument: " + array_fault},
        {"an array of signals", arrays, "O:8{a@3 uint8, s@1 2*uint8}", {"parse: " + array_fault}, false, true},
        {"signals may overlap",
         {object_node(1, 9, "O", 0, 8), signal_node(2, 1, "a", 3), signal_node(3, 1, "b", 1)},
         "O:8{a@3 uint8, b@1 uint8}"},
    });
}

TEST(type_parser, some_faults_fail_in_any_mode) {
    qor_type_node_t unknown = signal_node(2, 1, "x", 0);
    unknown.signal.converted_kind = 0x4001;
    qor_type_node_t too_long = signal_node(2, 1, "x", 0);
    too_long.signal.bit_length = 9;
    for (const bool lenient : {false, true}) {
        expect_all({
            {"no node", {}, "runtime_error: unexpected node list received for schema retrieval", {}, false, lenient},
            {"one name at two offsets",
             {object_node(1, 9, "O", 0, 8), signal_node(2, 1, "a", 3), signal_node(3, 1, "a", 1)},
             "runtime_error: type 'O' already has a member 'a' with a different offset",
             {},
             false,
             lenient},
            {"a kind that no signal has",
             {object_node(1, 9, "O", 0, 8), unknown},
             "runtime_error: failed to declare signal type 'x', a dynamic type was not returned",
             {},
             false,
             lenient},
            {"bits that its raw kind does not hold",
             {object_node(1, 9, "O", 0, 8), too_long},
             "invalid_argument: the specified underlying primitive type cannot store the specified bit length of the "
             "signal",
             {},
             false,
             lenient},
        });
    }
    std::uint64_t index = 0;
    const qor_type_node_sequence_t nowhere = {nullptr, 1};
    EXPECT_EQ(outcome_of([&] { return type_parser::parse(nullptr, nowhere, index, false, nullptr, true); }),
              "invalid_argument: invalid node object state");
}

std::vector<qor_type_node_t> nested(std::uint64_t depth) {
    std::vector<qor_type_node_t> nodes;
    for (std::uint64_t level = 0; level <= depth; ++level) {
        nodes.push_back(group_node(level + 1, level, "g", 0, 4));
    }
    return nodes;
}

TEST(type_parser, bounds_the_depth_of_nesting) {
    EXPECT_EQ(parse(nested(256)).outcome.substr(0, 18), "g:4{g@0 g.g:4{g@0 ");
    EXPECT_EQ(parse(nested(257)).outcome, "runtime_error: the nodes of 'g' are nested deeper than 256 levels");
    // All nodes are their own parents and so below one another.
    EXPECT_EQ(parse(std::vector(100'000, group_node(0, 0, "g", 0, 4))).outcome,
              "runtime_error: the nodes of 'g' are nested deeper than 256 levels");
}

// Work that grew with the square of the members would outlast the test.
TEST(type_parser, takes_many_members_of_many_and_of_one_name) {
    constexpr std::uint32_t many = 30'000;
    std::vector<std::string> names;
    for (std::uint32_t i = 0; i < many; ++i) {
        names.push_back(std::to_string(i));
    }
    std::vector<qor_type_node_t> nodes = {object_node(1, 9, "O", 0, 4 * many)};
    for (std::uint32_t i = 0; i < many; ++i) {
        nodes.push_back(signal_node(2 + i, 1, names[i].c_str(), i));
    }
    for (std::uint32_t i = 0; i < many; ++i) {
        nodes.push_back(group_node(2 + many + i, 1, "g", many + i, 1));
    }
    const qor_type_node_sequence_t sequence = {nodes.data(), nodes.size()};
    std::uint64_t index = 0;
    const struct_type type = type_parser::parse(nullptr, sequence, index, false, nullptr, true);
    ASSERT_EQ(type.members().size(), 2 * many);
    EXPECT_EQ(type.member(2 * many - 1).name, "g_" + std::to_string(many - 1));
}

TEST(type_parser, reads_from_the_index_up_to_the_last_node_below_and_leaves_the_list_as_it_was) {
    std::vector<qor_type_node_t> nodes = {object_node(1, 9, "O", 0, 8),   signal_node(2, 1, "a", 0),
                                          group_node(3, 1, "g", 1, 2, 1), group_node(4, 3, "h", 0, 1, 2),
                                          signal_node(5, 4, "b", 0),      signal_node(6, 1, "c", 7)};
    const qor_type_node_sequence_t sequence = {nodes.data(), nodes.size()};
    std::uint64_t index = 2;
    const struct_type parent("P");
    EXPECT_EQ(shape_of(type_parser::parse(nullptr, sequence, index, false, &parent, false)),
              "P.g:2{h@0 2*P.g.h:1{b@0 uint8}}");
    EXPECT_EQ(index, 4u);
    EXPECT_EQ(nodes[3].group.element_count, 2u);
}

} // namespace
} // namespace tavi::test
