// Structures, arrays and strings, and the walks through them.
#include <functional>

#include "introspection/xtypes/checked_map.hpp"
#include "tests/introspection/type_fixture.hpp"

namespace {

using namespace tavi::test;

std::string& text_at(std::uint8_t* memory) {
    return *reinterpret_cast<std::string*>(memory);
}

TEST(struct_type, refuses_what_it_has_and_what_it_has_not) {
    struct_type type = structure("T", {{"x", number32}});
    EXPECT_EQ(thrown<std::runtime_error>([&] { type.add_member(member_record("x", &number32)); }),
              "type 'T' already have a member named 'x'.");
    EXPECT_EQ(thrown<std::out_of_range>([&] { type.member("y"); }), "type 'T' doesn't have a member named 'y'");
    EXPECT_EQ(thrown<std::out_of_range>([&] { type.member(1); }), "member(1) is out of bounds");
    EXPECT_EQ(thrown<std::out_of_range>([&] { value_at(std::map<int, int>{}, 1); }), "invalid map<K, T> key");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { type.add_member(member_record("y", nullptr)); }),
              "argument 'type' was not initialized");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { type.add_member_at(member_record("y", &number32), 3, 0, true); }),
              "invalid offset specified for structure 'T' member 'y', offset 3 is less than current structure size 4");
    EXPECT_EQ(type.members().size(), 1u);
}

TEST(struct_type, last_member_rules_the_size) {
    const auto signal = make({.raw = type_kind::uint16, .length = 16});
    struct_type type("T");
    type.add_member_at(member_record("a", signal.get()), 4, 0, true);
    EXPECT_EQ(type.instance_size(), 6u);
    type.add_member_at(member_record("b", signal.get()), 0, 0, true); // signals may overlap
    EXPECT_EQ(type.instance_size(), 2u);
    type.add_member_at(member_record("c", &number32), 1, 3, false);
    EXPECT_EQ(type.instance_size(), 8u);
}

TEST(struct_type, name_hash_follows_the_members) {
    EXPECT_EQ(struct_type("").name_hash(), 0xCBF29CE484222325u);
    EXPECT_EQ(struct_type("a").name_hash(), 0xAF63DC4C8601EC8Cu);
    const std::uint64_t hash = structure("a", {{"x", number32}}).name_hash();
    EXPECT_EQ(hash, structure("a", {{"y", number32}}).name_hash()); // names of members don't count, their types do
    EXPECT_NE(hash, structure("a", {{"x", number64}}).name_hash());
    EXPECT_NE(hash, struct_type("a").name_hash());
}

TEST(composite_types, operations_reach_all_members_and_elements) {
    const string_type string(100), bound(3);
    const array_type two(string, 2);
    const struct_type type = structure("T", {{"s", bound}, {"x", number32, 32}, {"t", two, 40}, {"u", string, 104}});
    alignas(std::string) std::uint8_t a[136];
    alignas(std::string) std::uint8_t b[136];
    type.construct(a);
    EXPECT_EQ(load<std::uint32_t>(a + 32), 0u);
    EXPECT_GE(text_at(a + 72).capacity(), 100u);
    text_at(a) = "abc";
    text_at(a + 72) = "a text that lives outside of its object";
    type.copy(b, a);
    for (const std::size_t place : {0, 40, 72, 104}) {
        EXPECT_TRUE(type.compare(a, b));
        EXPECT_EQ(type.hash(a), type.hash(b));
        text_at(a + place) += "d and more";
        EXPECT_FALSE(type.compare(a, b)) << place;
        EXPECT_EQ(type.hash(a) == type.hash(b), place == 40 || place == 72); // an array does not count
        text_at(b + place) = text_at(a + place);
    }
    type.destroy(a);
    type.move(a, b, true);
    EXPECT_EQ(text_at(a), "abcd and more");
    type.copy(b, a);
    EXPECT_EQ(text_at(b), "abc"); // not beyond its bound
    type.destroy(a);
    type.destroy(b);
    const std::string letter = "a";
    const auto* const place = reinterpret_cast<const std::uint8_t*>(&letter);
    EXPECT_EQ(&string.content_type(), &character);
    EXPECT_EQ(string.hash(place), 0xAF63DC4C8601EC8Cu);
    EXPECT_EQ(string.element_count(place), 1u);
    EXPECT_EQ(*string.element_at(place, 0), 'a');

    EXPECT_EQ(struct_type("E").hash(a), 0u);
}

TEST(array_type, plain_elements_are_one_block) {
    const array_type numbers(number32, 3);
    bytes a = {0, 0, 0, 0, 9, 0, 0, 0, 0, 0, 0, 0};
    bytes b(12, 0xFF);
    numbers.copy(b.data(), a.data());
    EXPECT_TRUE(numbers.compare(a.data(), b.data()));
    EXPECT_EQ(*numbers.element_at(b.data(), 1), 9);
    numbers.construct(a.data());
    EXPECT_EQ(a, bytes(12, 0));
    EXPECT_FALSE(numbers.compare(a.data(), b.data()));
    const array_type signals(*make({.offset = 1, .length = 3}), 2); // never compared one by one
    EXPECT_TRUE(signals.compare(a.data(), a.data()));
}

// Depth, index, last flag, member and type of each node that a walk visits, a line each.
template<typename Node>
std::string describe(const Node& node) {
    return std::to_string(node.depth) + "/" + std::to_string(node.index) + (node.last ? "! " : " ") +
           (node.member != nullptr ? node.member->name + " " : "") + node.type->name();
}

TEST(walking, visits_each_node_before_its_children) {
    const array_type array(structure("E", {{"b", number32, 4}}), 2);
    const struct_type type = structure("T", {{"x", number32}, {"a", array, 8}});
    std::uint8_t memory[24] = {};
    std::string seen;
    const auto note = [&](const type_node& node, const std::string& path) {
        seen += path + ":" + describe(node) + "; ";
    };
    const auto note_instance = [&](const std::string& path, const instance_node& node) {
        seen += path + ":" + describe(node) + " @" + std::to_string(node.instance - memory) + "; ";
    };
    const instance_node instance{nullptr, &type, memory, 0, 0, true, nullptr};
    const type_node root{nullptr, &type, 0, 0, nullptr, true};
    type.walk_instance_named(instance, "", note_instance);
    EXPECT_EQ(std::exchange(seen, ""), ":0/0! T @0; .x:1/0 x uint32_t @0; .a:1/1! a array_2_E @8; .a[0]:2/0 E @8; "
                                       ".a[0].b:3/0! b uint32_t @12; .a[1]:2/1! E @16; .a[1].b:3/0! b uint32_t @20; ");
    type.walk_instance(instance, [&](const instance_node& node) { note_instance("", node); });
    EXPECT_EQ(std::exchange(seen, ""), ":0/0! T @0; :1/0 x uint32_t @0; :1/1! a array_2_E @8; :2/0 E @8; "
                                       ":3/0! b uint32_t @12; :2/1! E @16; :3/0! b uint32_t @20; ");
    type.walk_type_named(root, "top", [&](const std::string& path, const type_node& node) { note(node, path); });
    EXPECT_EQ(std::exchange(seen, ""), "top:0/0! T; top.x:1/0 x uint32_t; top.a:1/1! a array_2_E; ");
    type.walk_type(root, [&](const type_node& node) { note(node, ""); });
    EXPECT_EQ(std::exchange(seen, ""), ":0/0! T; :1/0 x uint32_t; :1/1! a array_2_E; :2/0 E; :3/0! b uint32_t; ");
    type.walk_path(root, "a.b", note);
    EXPECT_EQ(seen, "a.b:0/0! T; b:1/1! a array_2_E; b:2/0 E; :3/0! b uint32_t; ");
    EXPECT_THROW(type.walk_instance(instance, nullptr), std::bad_function_call);
    EXPECT_EQ(thrown<std::runtime_error>([&] { type.walk_path(root, "a[0].b", note); }),
              "invalid path fragment, 'a[0]' is not member of type 'T'");
}

} // namespace
