// What all types share: references, compatibility, primitives, aliases and annotations.
#include "qorcpp/errors.hpp"
#include "tests/introspection/type_fixture.hpp"

namespace {

using namespace tavi::test;

// A primitive of a kind that the library makes none of.
template<typename T = char>
const dynamic_type& of_kind(type_kind kind) {
    static std::vector<std::unique_ptr<dynamic_type>> types;
    return *types.emplace_back(std::make_unique<primitive_type<T>>(kind, "other"));
}

TEST(dynamic_type, references_share_primitives_and_clone_the_rest) {
    EXPECT_EQ(type_reference(&number32).get(), &number32);
    EXPECT_EQ(type_reference(nullptr).get(), nullptr);
    const dynamic_type& local = of_kind(type_kind::uint8); // no shared pointer owns it
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
    number64.construct(memory.data() + 1); // at any address
    EXPECT_EQ(memory, (bytes{0xFF, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF}));
    const bytes seven = {7, 0, 0, 0};
    number32.decode(type_kind::float64, memory.data(), seven.data());
    EXPECT_TRUE(number32.compare(memory.data(), seven.data()));
    EXPECT_THROW(number32.encode(type_kind::uint32, seven.data(), memory.data()), qor::runtime::not_implemented_error);
}

TEST(dynamic_type, copies_from_others) {
    const auto signal = make({.raw = type_kind::int16, .offset = 4, .length = 12, .c = {0, 0.5, 0, 0, 0, 1}});
    const struct_type pair = structure("pair", {{"x", *signal}, {"y", *signal}});
    const struct_type xy = structure("xy", {{"x", number32}, {"y", number64, 4}, {"z", number32, 12}});
    const struct_type yx = structure("yx", {{"y", number64}, {"x", number32, 8}});
    const struct_type one = structure("one", {{"x", number32, 7}});
    const array_type three(number32, 3);
    const bytes numbers = {1, 0, 0, 0, 9, 0, 0, 0, 2, 0, 0, 0};
    const std::string different = "cannot copy data from different types: from ";
    const struct { // keeps the types that are made in it alive
        const dynamic_type& to;
        const dynamic_type& from;
        bytes source;
        std::string result;
    } table[] = {
        {number64, of_kind(type_kind::int8), {0xFE}, "fe ff ff ff ff ff ff ff"},
        {number64, of_kind(type_kind::uint8), {0xFE}, "fe 00 00 00 00 00 00 00"},
        {number64, of_kind(type_kind::char8), {0xFE}, "fe ff ff ff ff ff ff ff"},
        {number64, of_kind(type_kind::boolean), {1}, "01 00 00 00 00 00 00 00"},
        {number64, of_kind(type_kind::char16), {0xFE, 0xFF}, "fe ff 00 00 00 00 00 00"},
        {number64, of_kind(type_kind::enumeration), {1, 2, 3, 4}, "01 02 03 04 00 00 00 00"},
        {number64, of_kind(type_kind::float32), {0, 0, 0x20, 0x41}, "0a 00 00 00 00 00 00 00"},
        {number64, of_kind(type_kind::float64), {0, 0, 0, 0, 0, 0, 0xF8, 0xBF}, "ff ff ff ff ff ff ff ff"},
        {number64, of_kind(type_kind::float128), {0, 0, 0, 0, 0, 0, 0x24, 0x40}, "0a 00 00 00 00 00 00 00"},
        // Read directly, signal or not.
        {number64, of_kind(type_kind{0x600D}), {0xFE}, "fe ff ff ff ff ff ff ff"},
        {number32, of_kind(type_kind{0x4042}), numbers, "primitive dynamic data of an unknown type: 'uint32_t'"},
        // The member's offset is not applied.
        {number32,
         alias_type("a", alias_type("b", structure("T", {{"x", *signal, 4}}))),
         {0x50, 0, 0xFF},
         "02 00 00 00"},
        {number32, pair, numbers, "cannot copy data from type 'pair' to type 'uint32_t'"},
        {one, number64, numbers, "01 00 00 00"}, // neither offset counts
        {one, structure("T", {{"x", number32, 4}}), numbers, "01 00 00 00"},
        {one, array_type(one, 1), numbers, different + "'array_1_one' to 'one'"},
        {xy, alias_type("alias", yx), numbers, "01 00 00 00 02 00 00 00 00 00 00 00 00 00 00 00"}, // by position
        {xy, number32, numbers, different + "'uint32_t' to 'xy'"},
        {array_type(number64, 2), structure("T", {{"a", three}}), numbers,
         "01 00 00 00 00 00 00 00 09 00 00 00 00 00 00 00"},
        {array_type(number32, 4), array_type(number32, 2), numbers, "01 00 00 00 09 00 00 00"},
        {three, number32, numbers, different + "'uint32_t' to 'array_3_uint32_t'"},
        {string_type(100), number32, numbers, different + "'uint32_t' to 'std::string_100'"},
    };
    for (const auto& row : table) {
        EXPECT_EQ(written([&](std::uint8_t* place) { row.to.copy_from(place, row.source.data(), row.from); }),
                  row.result)
            << row.to.name() << " from " << kind_name(row.from.kind());
    }
}

TEST(dynamic_type, compatibility) {
    const struct_type xy = structure("T", {{"x", number32}, {"y", number32, 4}});
    const struct_type renamed = structure("T", {{"x", number32}, {"z", number32, 4}});
    const struct_type moved = structure("T", {{"x", number32, 8}, {"y", number32, 4}});
    const struct_type both = structure("T", {{"z", number32, 8}, {"y", number32, 4}});
    const struct_type wider = structure("T", {{"x", number32}, {"y", number64, 4}});
    const struct_type longer = structure("T", {{"x", number32}, {"y", number32, 4}, {"z", number32, 8}});
    const struct_type one = structure("T", {{"x", number32}});
    const array_type two(number32, 2), three(number64, 3);
    const string_type free(0), bound(3);
    const auto plain = make({});
    const auto packed = make({.offset = 3});
    const auto plain_int8 = make({.converted = type_kind::int8, .raw = type_kind::int8});
    const struct { // keeps the types that are made in it alive
        const dynamic_type& type;
        const dynamic_type& other;
        std::uint32_t expected;
    } table[] = {
        {number32, number32, 0},
        {number32, of_kind<std::uint32_t>(type_kind::int32), 0x0001},
        {number32, free, 0xFFFFFFFF},
        {number32, one, 0},
        {number32, xy, 0xFFFFFFFF},
        {character, *packed, 0x0103},
        {xy, alias_type("a", xy), 0},
        {xy, renamed, 0x0020},
        {xy, moved, 0x0200},
        {xy, both, 0x0020}, // of a member by another name the offset doesn't count
        {xy, wider, 0x0402},
        {xy, number32, 0xFFFFFFFF},
        {two, number32, 0xFFFFFFFF},
        {xy, longer, 0x0440},
        {two, three, 0x000A},
        {two, structure("T", {{"a", two}}), 0},
        {two, array_type(free, 3), 0xFFFFFFFF},
        {free, bound, 0x0010},
        {bound, structure("T", {{"s", free}}), 0x0010},
        {*plain, *packed, 0}, // parameters don't count
        {*packed, *plain_int8, 0x0103},
    };
    for (const auto& [type, other, expected] : table) {
        EXPECT_EQ(type.compatibility(other), expected) << type.name() << " / " << other.name();
    }
}

TEST(dynamic_type, alias_does_what_its_target_does) {
    const alias_type alias("speed", *make({.offset = 4, .length = 4}));
    std::uint8_t value = 0xA5;
    alias.decode(type_kind::uint8, &value, &value);
    EXPECT_EQ(value, 0xA);
    EXPECT_EQ(alias.clone()->kind(), type_kind::alias);
}

TEST(annotation, values_fit_their_parameters) {
    annotation_type type("measurement");
    type.add_parameter("view", string_type(0)).add_parameter("cycle", number32).add_parameter("address", number64);
    applied_annotation applied(type);
    applied.apply_parameter("cycle", std::uint32_t{1}).apply_parameter("cycle", std::uint32_t{5});
    ASSERT_EQ(applied.parameters().size(), 1u);
    EXPECT_EQ(applied.parameters()[0].value, annotation_value(std::uint32_t{5}));
    EXPECT_EQ(thrown<std::invalid_argument>([&] { applied.apply_parameter("x", std::uint32_t{1}); }),
              "annotation 'measurement' doesn't have a parameter named 'x'");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { applied.apply_parameter("address", std::uint32_t{1}); }),
              "annotation 'measurement' parameter 'address' of type 'uint64_t' can't take a value of type 'uint32_t'");
    struct_type owner("owner");
    EXPECT_EQ(&owner.add_annotation(applied), &owner);
    EXPECT_EQ(owner.clone()->annotations().size(), 1u);
    EXPECT_EQ(number32.clone()->annotations().size(), 0u);
}

} // namespace
