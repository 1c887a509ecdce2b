// How signals are described: names, checks, sizes, copies, and what else does not read a value.
#include <cmath>
#include <limits>

#include "introspection/xtypes/scalar_kinds.hpp"
#include "introspection/xtypes/signal_type.hpp"
#include "tests/introspection/type_fixture.hpp"

namespace {

using namespace tavi::test;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

TEST(signal_type, all_121_exist) {
    std::size_t count = 0;
    any_scalar([&](const auto& converted) {
        any_scalar([&](const auto& raw) {
            const auto type = make({.converted = converted.kind, .raw = raw.kind, .length = 1});
            EXPECT_NE(type, nullptr);
            EXPECT_EQ(static_cast<std::uint32_t>(type->kind()), static_cast<std::uint32_t>(converted.kind) | 0x2000);
            EXPECT_EQ(type->raw_kind(), raw.kind);
            EXPECT_EQ(type->name().find("signal_" + std::string(converted.c_name) + "_" + std::string(raw.c_name) +
                                        "_le_2c_0_1_"),
                      0u);
            ++count;
            return false;
        });
        return false;
    });
    EXPECT_EQ(count, 121u);
    for (type_kind other : {type_kind::boolean, type_kind::float128, type_kind::string, type_kind{0x6006}}) {
        EXPECT_EQ(make({.converted = other}), nullptr);
        EXPECT_EQ(make({.raw = other}), nullptr);
    }
}

TEST(signal_type, names) {
    const std::string identity = "_0.000000_1.000000_0.000000_0.000000_0.000000_1.000000";
    const struct {
        signal_options options;
        std::string name;
    } table[] = {
        {{.offset = 12, .length = 4}, "signal_uint8_t_uint8_t_le_2c_12_4" + identity},
        {{.order = 1, .encoding = 1}, "signal_uint8_t_uint8_t_be_sm_0_8" + identity},
        {{.order = 2, .encoding = 2, .suffix = "km/h"}, "signal_uint8_t_uint8_t_ibe_1c_0_8" + identity + "_km/h"},
        {{.order = 3, .encoding = 3}, "signal_uint8_t_uint8_t_2c_0_8" + identity},
        {{.encoding = 7}, "signal_uint8_t_uint8_t_le_0_8" + identity},
        {{.converted = type_kind::float64, .raw = type_kind::float32, .c = {1e21, -0.0, 0.1234567, nan, 1, 2}},
         "signal_double_float_le_2c_0_8_1000000000000000000000.000000_-0.000000_0.123457_nan_1.000000_2.000000"},
    };
    for (const auto& row : table) {
        EXPECT_EQ(make(row.options)->name(), row.name);
    }
}

TEST(signal_type, length_is_limited_by_the_raw_kind) {
    const struct {
        type_kind raw;
        std::uint32_t longest;
    } table[] = {{type_kind::char8, 8},  {type_kind::uint8, 8},     {type_kind::int16, 16},   {type_kind::uint32, 32},
                 {type_kind::int64, 64}, {type_kind::float32, 256}, {type_kind::float64, 512}};
    for (const auto& row : table) {
        EXPECT_NE(make({.raw = row.raw, .length = row.longest}), nullptr);
        EXPECT_EQ(thrown<std::invalid_argument>([&] { make({.raw = row.raw, .length = row.longest + 1}); }),
                  "the specified underlying primitive type cannot store the specified bit length of the signal");
    }
}

// The maker passes none but the eleven kinds; the type itself knows the other primitives too.
TEST(signal_type, raw_kind_is_a_primitive) {
    const auto build = [](type_kind raw, std::uint32_t length) {
        return signal_type<std::uint8_t, std::uint8_t, 1>(with_signal(type_kind::uint8), raw, "s",
                                                          signal_byte_order::little_endian, 0, length, 0, 1, 0, 0, 0, 1,
                                                          "", signal_encoding::unspecified);
    };
    EXPECT_EQ(build(type_kind::boolean, 8).raw_kind(), type_kind::boolean);
    EXPECT_EQ(build(type_kind::float128, 1024).bit_length(), 1024u);
    for (type_kind raw : {type_kind::string, type_kind::enumeration, type_kind{0x6083}}) {
        EXPECT_EQ(thrown<std::invalid_argument>([&] { build(raw, 8); }),
                  "the specified type kind does not represent a primitive type");
    }
    // A raw kind wider than the C type must not overrun the variable.
    bytes source(16, 0x7F);
    bytes result(2, 0xEE);
    build(type_kind::float128, 128).decode(type_kind::uint8, result.data(), source.data());
    EXPECT_EQ(result, (bytes{0x7F, 0xEE}));
}

TEST(signal_type, conversion_follows_from_the_coefficients) {
    const struct {
        std::vector<double> c;
        signal_conversion expected;
    } table[] = {
        {{0, 1, 0, 0, 0, 1}, signal_conversion::identity},   {{-0.0, 1, -0.0, 0, 0, 1}, signal_conversion::identity},
        {{0, 2, 5, 0, 0, 1}, signal_conversion::linear},     {{0, 1, 5, 0, 0, 1}, signal_conversion::linear},
        {{0, nan, 0, 0, 0, 1}, signal_conversion::linear},   {{1, 0, 0, 0, 0, 1}, signal_conversion::rational},
        {{0, 1, 0, 0, 1, 1}, signal_conversion::rational},   {{0, 1, 0, 1, 0, 1}, signal_conversion::rational},
        {{0, 1, 0, 0, 0, 2}, signal_conversion::rational},   {{0, 1, 0, 0, nan, 1}, signal_conversion::rational},
        {{nan, 1, 0, 0, 0, 1}, signal_conversion::rational},
    };
    for (const auto& row : table) {
        EXPECT_EQ(make({.c = row.c})->conversion(), row.expected) << make({.c = row.c})->name();
    }
}

TEST(signal_type, instance_size_counts_touched_bytes) {
    const struct {
        std::uint32_t offset;
        std::uint32_t length;
        std::uint64_t size;
    } table[] = {{7, 2, 2}, {0, 8, 1}, {0, 0, 0x2000000000000000}, {5, 0, 1}, {12, 4, 1}, {12, 5, 2}, {1, 64, 9}};
    for (const auto& row : table) {
        EXPECT_EQ(make({.raw = type_kind::uint64, .offset = row.offset, .length = row.length})->instance_size(),
                  row.size);
    }
}

TEST(signal_type, accessors_and_clones_tell_what_was_given) {
    const auto type = make({.converted = type_kind::int16,
                            .raw = type_kind::uint32,
                            .offset = 5,
                            .length = 16,
                            .c = {1, 2, 3, 4, 5, 6},
                            .order = 2,
                            .encoding = 1,
                            .suffix = "V"});
    type->add_annotation(applied_annotation(annotation_type("a")));
    const auto copy = std::dynamic_pointer_cast<signal_type_base>(type->clone());
    for (const signal_type_base* signal : {type.get(), copy.get()}) {
        EXPECT_EQ(signal->bit_offset(), 5u);
        EXPECT_FALSE(signal->starts_at_zero());
        EXPECT_EQ(signal->bit_length(), 16u);
        EXPECT_TRUE(signal->fills_kind()); // of the converted kind
        EXPECT_EQ(signal->byte_order(), signal_byte_order::inconsistent_big_endian);
        EXPECT_EQ(signal->encoding(), signal_encoding::sign_magnitude);
        EXPECT_EQ((std::vector<double>{signal->numerator_x2(), signal->numerator_x1(), signal->numerator_x0(),
                                       signal->denominator_x2(), signal->denominator_x1(), signal->denominator_x0()}),
                  (std::vector<double>{1, 2, 3, 4, 5, 6}));
        EXPECT_EQ(signal->signal_suffix(), "V");
        EXPECT_EQ(signal->annotations().size(), 1u);
    }
    EXPECT_EQ(thrown<std::runtime_error>([&] { type->copy_from(nullptr, nullptr, *copy); }),
              "copy operation from other type for signal primitives is not supported");
}

TEST(signal_type, copy) {
    const bytes source = {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    const struct {
        signal_options options;
        bytes expected;
    } table[] = {
        // Whole bytes at bit 0 move the whole raw value, a length of 0 included.
        {{.raw = type_kind::uint32, .length = 8}, {0xFF, 0xFF, 0xFF, 0xFF, 0, 0}},
        {{.raw = type_kind::uint16, .length = 0}, {0xFF, 0xFF, 0, 0, 0, 0}},
        {{.raw = type_kind::uint32, .length = 9}, {0xFF, 0x01, 0, 0, 0, 0}},
        {{.raw = type_kind::uint16, .offset = 12, .length = 8}, {0, 0xF0, 0x0F, 0, 0, 0}},
        {{.raw = type_kind::uint16, .offset = 12, .length = 8, .order = 2}, {0x0F, 0xF0, 0, 0, 0, 0}},
        // Nothing lies before the instance.
        {{.raw = type_kind::uint16, .offset = 4, .length = 12, .order = 2}, {0xF0, 0, 0, 0, 0, 0}},
    };
    for (const auto& row : table) {
        bytes result(6);
        make(row.options)->copy(result.data(), source.data());
        EXPECT_EQ(result, row.expected) << make(row.options)->name();
    }
    bytes memory(9, 0xFF);
    make({.raw = type_kind::uint64, .length = 3})->construct(memory.data());
    EXPECT_EQ(memory, (bytes{0, 0, 0, 0, 0, 0, 0, 0, 0xFF}));
}

TEST(signal_type, is_plain) {
    const struct {
        signal_options options;
        bool expected;
    } table[] = {
        {{}, true},
        {{.encoding = 3}, true},
        {{.order = 2}, true},
        {{.order = 1}, false},
        {{.encoding = 1}, false},
        {{.encoding = 7}, false},
        {{.offset = 1, .length = 7}, false},
        {{.length = 7}, false},
        {{.c = {0, 2, 0, 0, 0, 1}}, false},
        {{.converted = type_kind::uint16, .raw = type_kind::uint16, .length = 16}, true},
        {{.converted = type_kind::uint16, .raw = type_kind::uint16, .length = 16, .order = 2}, false},
        {{.converted = type_kind::uint16, .raw = type_kind::uint16, .length = 8, .order = 2}, true},
    };
    for (const auto& row : table) {
        EXPECT_EQ(make(row.options)->is_plain(), row.expected) << make(row.options)->name();
    }
}

TEST(signal_type, compatibility) {
    const auto plain = make({});
    const auto packed = make({.offset = 3});
    const auto plain_int8 = make({.converted = type_kind::int8, .raw = type_kind::int8});
    const auto packed_int16 = make({.converted = type_kind::int16, .raw = type_kind::int16, .offset = 3, .length = 9});
    const struct_type one = structure("one", {{"x", plain.get()}});
    const struct {
        const dynamic_type& type;
        const dynamic_type& other;
        std::uint32_t expected;
    } table[] = {
        {*plain, *packed, 0}, // parameters don't count
        {*plain, *plain_int8, 0x0001},
        {*packed, *plain_int8, 0x0103},
        {*plain, *packed_int16, 0x0103},
        {*packed, number32(), 0x0002},
        {*plain, array_type(number32(), 1), 0xFFFFFFFF},
        {*plain, one, 0},
    };
    for (const auto& row : table) {
        EXPECT_EQ(row.type.compatibility(row.other), row.expected) << row.type.name() << " / " << row.other.name();
    }
}

} // namespace
