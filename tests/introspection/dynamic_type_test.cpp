// What all types share, the primitives, aliases and annotations.
#include "qorcpp/errors.hpp"
#include "tests/introspection/type_fixture.hpp"

namespace {

using namespace tavi::test;

TEST(dynamic_type, name_hash_is_fnv) {
    EXPECT_EQ(struct_type("").name_hash(), 0xCBF29CE484222325u);
    EXPECT_EQ(struct_type("a").name_hash(), 0xAF63DC4C8601EC8Cu);
    EXPECT_EQ(number32().clone()->name_hash(), number32().name_hash());
}

TEST(dynamic_type, references_share_primitives_and_clone_the_rest) {
    EXPECT_EQ(type_reference(&number32()).get(), &number32());
    EXPECT_EQ(type_reference(nullptr).get(), nullptr);
    // A primitive that no shared pointer owns can't be shared.
    const primitive_type<std::uint32_t> local(type_kind::uint32, "uint32_t");
    EXPECT_NE(type_reference(&local).get(), &local);

    const auto signal = make({});
    const type_reference first(signal.get());
    const type_reference second(first);
    EXPECT_NE(first.get(), signal.get());
    EXPECT_NE(first.get(), second.get());
    EXPECT_EQ(second->name(), signal->name());
}

TEST(dynamic_type, primitive_operations) {
    bytes memory(12, 0xFF);
    number64().construct(memory.data() + 1); // at any address
    EXPECT_EQ(memory[0], 0xFF);
    EXPECT_EQ(value_of<std::uint64_t>(memory.data() + 1), 0u);
    EXPECT_EQ(memory[9], 0xFF);
    const bytes seven = {7, 0, 0, 0};
    number32().decode(type_kind::float64, memory.data(), seven.data());
    EXPECT_TRUE(number32().compare(memory.data(), seven.data()));
    EXPECT_FALSE(number32().compare(memory.data() + 4, seven.data()));
    EXPECT_EQ(character().instance_size(), 1u);
    EXPECT_EQ(character().name(), "char");
    EXPECT_EQ(thrown<qor::runtime::not_implemented_error>(
                  [&] { number32().encode(type_kind::uint32, seven.data(), memory.data()); }),
              "encoding is not implemented for this type");
    EXPECT_EQ(number32().hash(memory.data()), number32().hash(seven.data()));
}

template<typename T>
const dynamic_type& of_kind(type_kind kind) {
    static std::vector<std::unique_ptr<dynamic_type>> types;
    types.push_back(std::make_unique<primitive_type<T>>(kind, "other"));
    return *types.back();
}

TEST(dynamic_type, primitives_copy_from_other_kinds) {
    const struct {
        type_kind kind;
        bytes source;
        std::uint64_t expected;
    } table[] = {
        {type_kind::int8, {0xFE}, 0xFFFFFFFFFFFFFFFE},
        {type_kind::uint8, {0xFE}, 0xFE},
        {type_kind::char8, {0xFE}, 0xFFFFFFFFFFFFFFFE},
        {type_kind::boolean, {1}, 1},
        {type_kind::int16, {0xFE, 0xFF}, 0xFFFFFFFFFFFFFFFE},
        {type_kind::char16, {0xFE, 0xFF}, 0xFFFE},
        {type_kind::wide_char, {0xFE, 0xFF}, 0xFFFE},
        {type_kind::uint32, {1, 2, 3, 4}, 0x04030201},
        {type_kind::enumeration, {1, 2, 3, 4}, 0x04030201},
        {type_kind::float32, {0, 0, 0x20, 0x41}, 10},
        {type_kind::float64, {0, 0, 0, 0, 0, 0, 0xF8, 0xBF}, 0xFFFFFFFFFFFFFFFF},
        {type_kind::float128, {0, 0, 0, 0, 0, 0, 0x24, 0x40}, 10},
        // Read directly, signal or not.
        {type_kind{0x6000 | 0xD}, {0xFE}, 0xFFFFFFFFFFFFFFFE},
    };
    for (const auto& row : table) {
        bytes result(8);
        number64().copy_from(result.data(), row.source.data(), of_kind<char>(row.kind));
        EXPECT_EQ(value_of<std::uint64_t>(result.data()), row.expected) << kind_name(row.kind);
    }
}

TEST(dynamic_type, primitives_copy_from_structures_signals_and_aliases) {
    const auto signal = make({.converted = type_kind::float64,
                              .raw = type_kind::int16,
                              .offset = 4,
                              .length = 12,
                              .c = {0, 0.5, 0, 0, 0, 1}});
    const struct_type holder = structure("holder", {{"x", signal.get(), 4}});
    const alias_type alias("alias", alias_type("inner", holder));
    const bytes source = {0x50, 0x00, 0xFF, 0xFF, 0xFF, 0xFF};
    bytes result(4);
    // The member's offset is not applied.
    number32().copy_from(result.data(), source.data(), alias);
    EXPECT_EQ(value_of<std::uint32_t>(result.data()), 2u);

    const struct_type pair = structure("pair", {{"x", signal.get()}, {"y", signal.get()}});
    EXPECT_EQ(thrown<std::runtime_error>([&] { number32().copy_from(result.data(), source.data(), pair); }),
              "cannot copy data from type 'pair' to type 'uint32_t'");
    EXPECT_EQ(thrown<std::runtime_error>(
                  [&] { number32().copy_from(result.data(), source.data(), of_kind<char>(type_kind{0x4042})); }),
              "primitive dynamic data of an unknown type: 'uint32_t'");
}

TEST(dynamic_type, compatibility_of_primitives) {
    const auto plain = make({});
    const auto packed = make({.offset = 3});
    const array_type array(number32(), 2);
    const struct_type one = structure("one", {{"x", &number32()}});
    const struct_type two = structure("two", {{"x", &number32()}, {"y", &number32(), 4}});
    const alias_type alias("alias", number64());
    const string_type string(0);
    const struct {
        const dynamic_type& type;
        const dynamic_type& other;
        std::uint32_t expected;
    } table[] = {
        {number32(), number32(), 0},
        {number32(), of_kind<std::uint32_t>(type_kind::int32), 0x0001},
        {number32(), of_kind<char>(type_kind::uint8), 0x0002},
        {number32(), of_kind<char>(type_kind::int8), 0x0003},
        {number32(), number64(), 0x0002},
        {number32(), string, 0xFFFFFFFF},
        {number32(), array, 0xFFFFFFFF},
        {number32(), one, 0},
        {number32(), two, 0xFFFFFFFF},
        {number32(), alias, 0x0002},
        {alias, number32(), 0x0002},
        {character(), *plain, 0x0001},
        {character(), *packed, 0x0103},
    };
    for (const auto& row : table) {
        EXPECT_EQ(row.type.compatibility(row.other), row.expected) << row.type.name() << " / " << row.other.name();
    }
}

TEST(dynamic_type, alias_does_what_its_target_does) {
    const auto signal = make({.offset = 4, .length = 4});
    const alias_type alias("speed", *signal);
    const bytes source = {0xA5};
    std::uint8_t value = 0;
    alias.decode(type_kind::uint8, &value, source.data());
    EXPECT_EQ(value, 0xA);
    EXPECT_EQ(alias.kind(), type_kind::alias);
    EXPECT_EQ(alias.clone()->instance_size(), 1u);
}

TEST(annotation, values_fit_their_parameters) {
    annotation_type type("measurement");
    type.add_parameter("view", string_type(0)).add_parameter("cycle", number32()).add_parameter("address", number64());
    applied_annotation applied(type);
    applied.apply_parameter("view", std::string("CAN")).apply_parameter("cycle", std::uint32_t{1});
    applied.apply_parameter("cycle", std::uint32_t{5});
    ASSERT_EQ(applied.parameters().size(), 2u);
    EXPECT_EQ(std::get<std::uint32_t>(applied.parameters()[1].value), 5u);
    EXPECT_EQ(thrown<std::invalid_argument>([&] { applied.apply_parameter("x", std::uint32_t{1}); }),
              "annotation 'measurement' doesn't have a parameter named 'x'");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { applied.apply_parameter("address", std::uint32_t{1}); }),
              "annotation 'measurement' parameter 'address' of type 'uint64_t' can't take a value of type 'uint32_t'");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { type.add_parameter("view", number32()); }),
              "annotation 'measurement' already has a parameter named 'view'");

    struct_type owner("owner");
    EXPECT_EQ(&owner.add_annotation(applied), &owner);
    EXPECT_EQ(owner.clone()->annotations().size(), 1u);
}

} // namespace
