// Structures, arrays and strings, and the walks through them.
#include <functional>

#include "introspection/xtypes/checked_map.hpp"
#include "tests/introspection/type_fixture.hpp"

namespace {

using namespace tavi::test;

TEST(struct_type, refuses_what_it_has_and_what_it_has_not) {
    struct_type type = structure("T", {{"x", &number32()}});
    EXPECT_EQ(thrown<std::runtime_error>([&] { type.add_member(member_record("x", &number32())); }),
              "type 'T' already have a member named 'x'.");
    EXPECT_EQ(thrown<std::out_of_range>([&] { type.member("y"); }), "type 'T' doesn't have a member named 'y'");
    EXPECT_EQ(thrown<std::out_of_range>([&] { type.member(1); }), "member(1) is out of bounds");
    EXPECT_EQ(thrown<std::out_of_range>([&] { value_at(std::map<int, int>{}, 1); }), "invalid map<K, T> key");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { type.add_member(member_record("y", nullptr)); }),
              "argument 'type' was not initialized");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { type.add_member_at(member_record("y", &number32()), 3, 0, true); }),
              "invalid offset specified for structure 'T' member 'y', offset 3 is less than current structure size 4");
    EXPECT_FALSE(type.has_member("y"));
    EXPECT_EQ(type.member("x").id, -1);
}

TEST(struct_type, last_member_rules_the_size) {
    const auto signal = make({.raw = type_kind::uint16, .length = 16});
    struct_type type("T");
    type.add_member_at(member_record("a", signal.get()), 4, 0, true);
    EXPECT_EQ(type.instance_size(), 6u);
    type.add_member_at(member_record("b", signal.get()), 0, 0, true); // signals may overlap
    EXPECT_EQ(type.instance_size(), 2u);
    type.add_member_at(member_record("c", &number32()), 1, 3, false);
    EXPECT_EQ(type.instance_size(), 8u);
    type.set_memory_size(64);
    EXPECT_EQ(struct_type(type).instance_size(), 64u);
}

TEST(struct_type, name_hash_follows_the_members) {
    struct_type a("T");
    const std::uint64_t empty = a.name_hash();
    a.add_member(member_record("x", &number32()));
    const struct_type b = structure("T", {{"other", &number32()}});
    EXPECT_NE(a.name_hash(), empty);
    EXPECT_EQ(a.name_hash(), b.name_hash()); // names of members don't count, their types do
    EXPECT_NE(a.name_hash(), structure("T", {{"x", &number64()}}).name_hash());
}

TEST(struct_type, operations_reach_all_members) {
    const string_type string(3);
    const struct_type type = structure("T", {{"s", &string}, {"x", &number32(), 32}, {"t", &string, 40}});
    alignas(std::string) std::uint8_t a[72];
    alignas(std::string) std::uint8_t b[72];
    type.construct(a);
    EXPECT_EQ(value_of<std::uint32_t>(a + 32), 0u);
    reinterpret_cast<std::string*>(a)->assign("abcd and more than fits into the object");
    type.copy(b, a);
    EXPECT_EQ(*reinterpret_cast<std::string*>(b), "abc");
    EXPECT_FALSE(type.compare(a, b));
    EXPECT_NE(type.hash(a), type.hash(b));
    type.destroy(a);
    type.move(a, b, true);
    EXPECT_EQ(*reinterpret_cast<std::string*>(a), "abc");
    *reinterpret_cast<std::string*>(a + 40) = "t";
    type.destroy(a);
    EXPECT_EQ(*reinterpret_cast<std::string*>(a), "");
    EXPECT_EQ(*reinterpret_cast<std::string*>(a + 40), "");

    const struct_type empty("E");
    EXPECT_EQ(empty.instance_size(), 0u);
    EXPECT_EQ(empty.hash(a), 0u);
    EXPECT_TRUE(empty.compare(a, b));

    const struct_type with_signal = structure("S", {{"x", make({}).get()}});
    EXPECT_EQ(thrown<std::runtime_error>([&] { with_signal.compare(a, a); }),
              "compare operation for signal primitives is not supported");
}

TEST(struct_type, copies_are_deep) {
    const struct_type type = structure("T", {{"s", make({}).get()}, {"x", &number32(), 1}});
    const struct_type copy(type);
    EXPECT_NE(copy.member("s").type.get(), type.member("s").type.get());
    EXPECT_EQ(copy.member("x").type.get(), &number32());
    EXPECT_EQ(copy.name_hash(), type.name_hash());
}

// A type that may come to have a parent; none of the library's own does.
struct heir : struct_type {
    using aggregation_type::set_parent;
    using struct_type::struct_type;
};

TEST(struct_type, parent_is_one_and_comes_first) {
    heir type("T");
    EXPECT_EQ(type.parent(), nullptr);
    type.set_parent(structure("P", {{"x", &number32()}}));
    EXPECT_EQ(struct_type(type).parent()->name(), "P");
    EXPECT_EQ(thrown<std::logic_error>([&] { type.set_parent(type); }), "only one parent is allowed");
    heir filled("F");
    filled.add_member(member_record("x", &number32()));
    EXPECT_EQ(thrown<std::logic_error>([&] { filled.set_parent(type); }),
              "cannot set parent to a type with already defined members");
}

TEST(struct_type, copy_from_pairs_by_position) {
    const struct_type xy = structure("xy", {{"x", &number32()}, {"y", &number64(), 4}, {"z", &number32(), 12}});
    const struct_type yx = structure("yx", {{"y", &number64()}, {"x", &number32(), 8}});
    bytes source(12);
    source[0] = 1;
    source[8] = 2;
    bytes result(16, 0xFF);
    xy.copy_from(result.data(), source.data(), alias_type("alias", yx));
    EXPECT_EQ(result, (bytes{1, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));

    const struct_type one = structure("one", {{"x", &number32(), 7}});
    bytes single(4);
    one.copy_from(single.data(), source.data(), number64()); // neither offset counts
    EXPECT_EQ(single, (bytes{1, 0, 0, 0}));
    EXPECT_EQ(thrown<std::runtime_error>([&] { xy.copy_from(result.data(), source.data(), number32()); }),
              "cannot copy data from different types: from 'uint32_t' to 'xy'");
    EXPECT_EQ(thrown<std::runtime_error>([&] { one.copy_from(result.data(), source.data(), array_type(one, 1)); }),
              "cannot copy data from different types: from 'array_1_one' to 'one'");
}

TEST(composite_types, compatibility) {
    const struct_type xy = structure("T", {{"x", &number32()}, {"y", &number32(), 4}});
    const struct_type renamed = structure("T", {{"x", &number32()}, {"z", &number32(), 4}});
    const struct_type moved = structure("T", {{"x", &number32(), 8}, {"y", &number32(), 4}});
    const struct_type both = structure("T", {{"z", &number32(), 8}, {"y", &number32(), 4}});
    const struct_type wider = structure("T", {{"x", &number32()}, {"y", &number64(), 4}});
    const struct_type longer = structure("T", {{"x", &number32()}, {"y", &number32(), 4}, {"z", &number32(), 8}});
    const struct_type one = structure("T", {{"x", &number32()}});
    const array_type two(number32(), 2);
    const array_type three(number64(), 3);
    const string_type free(0);
    const string_type bound(3);
    const struct_type text = structure("T", {{"s", &free}});
    const struct_type texts = structure("T", {{"s", &free}, {"t", &free, 32}});
    const struct {
        const dynamic_type& type;
        const dynamic_type& other;
        std::uint32_t expected;
    } table[] = {
        {xy, xy, 0},
        {xy, alias_type("a", xy), 0},
        {xy, renamed, 0x0020},
        {xy, moved, 0x0200},
        {xy, both, 0x0020}, // of a member by another name the offset doesn't count
        {xy, wider, 0x0402},
        {xy, longer, 0x0440},
        {longer, xy, 0x0040},
        {xy, number32(), 0xFFFFFFFF},
        {xy, texts, 0xFFFFFFFF},
        {one, number64(), 0x0002},
        {one, one, 0},
        {two, three, 0x000A},
        {two, alias_type("a", two), 0},
        {two, structure("T", {{"a", &two}}), 0},
        {two, number32(), 0xFFFFFFFF},
        {array_type(number32(), 2), array_type(free, 3), 0xFFFFFFFF},
        {free, bound, 0x0010},
        {bound, text, 0x0010},
        {free, number32(), 0xFFFFFFFF},
    };
    for (const auto& row : table) {
        EXPECT_EQ(row.type.compatibility(row.other), row.expected) << row.type.name() << " / " << row.other.name();
    }
}

TEST(array_type, elements) {
    const array_type numbers(number32(), 3);
    EXPECT_EQ(numbers.name(), "array_3_uint32_t");
    EXPECT_EQ(numbers.instance_size(), 12u);
    bytes a(12, 0xFF);
    numbers.construct(a.data());
    EXPECT_EQ(a, bytes(12, 0));
    a[4] = 9;
    bytes b(12);
    numbers.copy(b.data(), a.data());
    EXPECT_TRUE(numbers.compare(a.data(), b.data()));
    EXPECT_EQ(*numbers.element_at(b.data(), 1), 9);
    b[11] = 1;
    EXPECT_FALSE(numbers.compare(a.data(), b.data()));

    // Widened element by element, or cut to the smaller dimension in one block; the rest stays.
    bytes wide(32, 0xEE);
    array_type(number64(), 4).copy_from(wide.data(), b.data(), structure("T", {{"a", &numbers}}));
    EXPECT_EQ(wide, (bytes{0, 0, 0, 0, 0, 0, 0, 0, 9,    0,    0,    0,    0,    0,    0,    0,
                           0, 0, 0, 1, 0, 0, 0, 0, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}));
    bytes cut(16, 0xEE);
    array_type(number32(), 4).copy_from(cut.data(), b.data(), array_type(number32(), 2));
    EXPECT_EQ(cut, (bytes{0, 0, 0, 0, 9, 0, 0, 0, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}));
    EXPECT_EQ(thrown<std::runtime_error>([&] { numbers.copy_from(cut.data(), b.data(), number32()); }),
              "cannot copy data from different types: from 'uint32_t' to 'array_3_uint32_t'");

    // Signals are plain bytes here: compared in one block, never one by one.
    const array_type signals(*make({.offset = 1, .length = 3}), 2);
    EXPECT_TRUE(signals.compare(a.data(), a.data()));
    EXPECT_EQ(array_type(number32(), 0).instance_size(), 0u);
}

TEST(array_type, constructed_elements_one_by_one) {
    const string_type string(0);
    const array_type type(string, 2);
    alignas(std::string) std::uint8_t a[64];
    alignas(std::string) std::uint8_t b[64];
    type.construct(a);
    reinterpret_cast<std::string*>(a + 32)->assign("a text that lives outside of its object");
    type.copy(b, a);
    EXPECT_TRUE(type.compare(a, b));
    reinterpret_cast<std::string*>(b)->assign("x");
    EXPECT_FALSE(type.compare(a, b));
    type.destroy(a);
    type.destroy(b);
}

TEST(string_type, names_and_bounds) {
    EXPECT_EQ(string_type(0).name(), "std::string");
    EXPECT_EQ(string_type(3).name(), "std::string_3");
    EXPECT_EQ(string_type(0).instance_size(), 32u);
    EXPECT_EQ(&string_type(0).content_type(), &character());
    alignas(std::string) std::uint8_t memory[32];
    const string_type type(100);
    type.construct(memory);
    auto& text = *reinterpret_cast<std::string*>(memory);
    EXPECT_GE(text.capacity(), 100u);
    text = "a";
    EXPECT_EQ(type.hash(memory), 0xAF63DC4C8601EC8Cu);
    EXPECT_EQ(type.element_count(memory), 1u);
    EXPECT_EQ(*type.element_at(memory, 0), 'a');
    EXPECT_EQ(thrown<std::runtime_error>([&] { type.copy_from(memory, memory, number32()); }),
              "cannot copy data from different types: from 'uint32_t' to 'std::string_100'");
    type.destroy(memory);
}

// Depth, index, last flag, member and place of each node that a walk visits.
template<typename Node>
std::string describe(const Node& node) {
    return std::to_string(node.depth) + "/" + std::to_string(node.index) + (node.last ? "!" : "") +
           (node.member != nullptr ? " " + node.member->name : "") + " " + node.type->name();
}

class walking : public testing::Test {
protected:
    const struct_type element = structure("E", {{"b", &number32(), 4}});
    const array_type array{element, 2};
    const struct_type type = structure("T", {{"x", &number32()}, {"a", &array, 8}});
    std::uint8_t memory[24] = {};
    std::vector<std::string> seen;
};

TEST_F(walking, instances) {
    const instance_node root{nullptr, &type, memory, 0, 0, true, nullptr};
    const auto place = [&](const instance_node& node) { return " @" + std::to_string(node.instance - memory); };
    type.walk_instance_named(root, "", [&](const std::string& path, const instance_node& node) {
        seen.push_back(path + ": " + describe(node) + place(node));
    });
    EXPECT_EQ(seen, (std::vector<std::string>{": 0/0! T @0", ".x: 1/0 x uint32_t @0", ".a: 1/1! a array_2_E @8",
                                              ".a[0]: 2/0 E @8", ".a[0].b: 3/0! b uint32_t @12", ".a[1]: 2/1! E @16",
                                              ".a[1].b: 3/0! b uint32_t @20"}));
    std::size_t count = 0;
    type.walk_instance(root, [&](const instance_node& node) {
        const std::string& expected = seen.at(count++);
        EXPECT_EQ(expected.substr(expected.find(": ") + 2), describe(node) + place(node));
    });
    EXPECT_EQ(count, seen.size());
    EXPECT_THROW(type.walk_instance(root, nullptr), std::bad_function_call);
}

TEST_F(walking, types) {
    const type_node root{nullptr, &type, 0, 0, nullptr, true};
    type.walk_type_named(root, "top", [&](const std::string& path, const type_node& node) {
        seen.push_back(path + ": " + describe(node));
    });
    EXPECT_EQ(seen, (std::vector<std::string>{"top: 0/0! T", "top.x: 1/0 x uint32_t", "top.a: 1/1! a array_2_E"}));
    seen.clear();
    type.walk_type(root, [&](const type_node& node) { seen.push_back(describe(node)); });
    EXPECT_EQ(seen,
              (std::vector<std::string>{"0/0! T", "1/0 x uint32_t", "1/1! a array_2_E", "2/0 E", "3/0! b uint32_t"}));
}

TEST_F(walking, paths) {
    const type_node root{nullptr, &type, 0, 0, nullptr, true};
    const path_visitor note = [&](const type_node& node, const std::string& path) {
        seen.push_back(describe(node) + " '" + path + "'");
    };
    type.walk_path(root, "a.b", note);
    EXPECT_EQ(seen,
              (std::vector<std::string>{"0/0! T 'a.b'", "1/1! a array_2_E 'b'", "2/0 E 'b'", "3/0! b uint32_t ''"}));
    EXPECT_EQ(thrown<std::runtime_error>([&] { type.walk_path(root, "a[0].b", note); }),
              "invalid path fragment, 'a[0]' is not member of type 'T'");
}

} // namespace
