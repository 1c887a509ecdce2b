// How signals are described: names, checks, sizes, copies, and what else does not read a value.
#include "introspection/xtypes/signal/signal_operations.hpp"
#include "tests/introspection/type_fixture.hpp"

namespace {

using namespace tavi::test;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr type_kind u16 = type_kind::uint16;

TEST(signal_type, names_sizes_and_whether_bytes_are_the_value) {
    const signal_options odd = {.c = {1e21, -0.0, 0.1234567, nan, 1, 2}, .order = 1, .encoding = 1};
    const std::string odd_numbers = "_1000000000000000000000.000000_-0.000000_0.123457_nan_1.000000_2.000000";
    const std::string identity = "_0.000000_1.000000_0.000000_0.000000_0.000000_1.000000";
    const std::tuple<signal_options, std::uint64_t, bool, std::string> table[] = {
        {{.offset = 12, .length = 4}, 1, false, "uint8_t_uint8_t_le_2c_12_4" + identity},
        {{}, 1, true, "uint8_t_uint8_t_le_2c_0_8" + identity},
        {{.order = 2, .encoding = 2, .suffix = "km/h"}, 1, false, "uint8_t_uint8_t_ibe_1c_0_8" + identity + "_km/h"},
        {{.order = 2, .encoding = 3}, 1, true, "uint8_t_uint8_t_ibe_2c_0_8" + identity},
        {{.converted = type_kind::char8, .order = 3, .encoding = 7}, 1, false, "char_uint8_t_0_8" + identity},
        {{.offset = 7, .length = 2}, 2, false, "uint8_t_uint8_t_le_2c_7_2" + identity},
        {{.length = 0}, 0x2000000000000000, false, "uint8_t_uint8_t_le_2c_0_0" + identity},
        {{.converted = u16, .raw = u16, .length = 16}, 2, true, "uint16_t_uint16_t_le_2c_0_16" + identity},
        {{.raw = u16, .length = 16, .order = 2}, 2, false, "uint8_t_uint16_t_ibe_2c_0_16" + identity},
        {{.converted = u16, .raw = u16, .order = 2}, 1, true, "uint16_t_uint16_t_ibe_2c_0_8" + identity},
        {odd, 1, false, "uint8_t_uint8_t_be_sm_0_8" + odd_numbers},
    };
    for (const auto& [options, size, plain, name] : table) {
        const auto type = std::dynamic_pointer_cast<signal_type_base>(make(options)->clone());
        EXPECT_EQ(type->name(), "signal_" + name);
        EXPECT_EQ(type->instance_size(), size) << name;
        EXPECT_EQ(type->is_plain(), plain) << name;
        EXPECT_EQ(type->starts_at_zero(), options.offset == 0);
        EXPECT_EQ(type->fills_kind(), options.length == 8 * primitive_size(options.converted));
    }
}

TEST(signal_type, raw_kinds_and_their_longest_signals) {
    const std::pair<type_kind, std::uint32_t> table[] = {
        {type_kind::char8, 8}, {u16, 16}, {type_kind::float32, 256}, {type_kind::float64, 512}};
    for (const auto& [raw, longest] : table) {
        EXPECT_EQ(make({.raw = raw, .length = longest})->raw_kind(), raw);
        EXPECT_EQ(
            thrown<std::invalid_argument>([raw = raw, over = longest + 1] { make({.raw = raw, .length = over}); }),
            "the specified underlying primitive type cannot store the specified bit length of the signal");
    }
    for (const type_kind other : {type_kind::boolean, type_kind::float128, type_kind::string, type_kind{0x6006}}) {
        EXPECT_EQ(make({.converted = other}), nullptr);
        EXPECT_EQ(make({.raw = other}), nullptr);
    }
}

TEST(signal_type, conversion_follows_from_the_coefficients) {
    const std::pair<signal_coefficients, signal_conversion> table[] = {
        {{0, 1, 0, 0, 0, 1}, signal_conversion::identity},  {{-0.0, 1, -0.0, 0, 0, 1}, signal_conversion::identity},
        {{0, 2, 5, 0, 0, 1}, signal_conversion::linear},    {{0, nan, 0, 0, 0, 1}, signal_conversion::linear},
        {{1, 0, 0, 0, 0, 1}, signal_conversion::rational},  {{0, 1, 0, 0, 1, 1}, signal_conversion::rational},
        {{0, 1, 0, 1, 0, 1}, signal_conversion::rational},  {{0, 1, 0, 0, 0, 2}, signal_conversion::rational},
        {{nan, 1, 0, 0, 0, 1}, signal_conversion::rational}};
    for (const auto& [coefficients, conversion] : table) {
        EXPECT_EQ(make({.c = coefficients})->conversion(), conversion) << make({.c = coefficients})->name();
    }
}

TEST(signal_type, copies_its_own_bits) {
    const bytes source(6, 0xFF);
    const std::pair<signal_options, std::string> table[] = {
        // Whole bytes at bit 0 move the whole raw value, a length of 0 included.
        {{.raw = type_kind::uint32, .length = 8}, "ff ff ff ff"},
        {{.raw = u16, .offset = 12, .length = 8}, "00 f0 0f"},
        {{.raw = u16, .offset = 12, .length = 8, .order = 2}, "0f f0"},
        {{.raw = u16, .offset = 4, .length = 12, .order = 2}, "f0"}, // nothing lies before it
    };
    for (const auto& [options, expected] : table) {
        const std::shared_ptr<dynamic_type> type = make(options);
        EXPECT_EQ(written([&](std::uint8_t* place) { type->copy(place, source.data()); }, bytes(6)), expected);
    }
    bytes memory(9, 0xFF);
    make({.raw = type_kind::uint64, .length = 3})->construct(memory.data());
    EXPECT_EQ(memory, (bytes{0, 0, 0, 0, 0, 0, 0, 0, 0xFF}));
    EXPECT_EQ(thrown<std::runtime_error>([&] { make({})->copy_from(nullptr, nullptr, number32); }),
              "copy operation from other type for signal primitives is not supported");
    EXPECT_EQ(thrown<std::runtime_error>([&] {
                  structure("S", {{"x", *make({})}}).compare(nullptr, nullptr);
              }),
              "compare operation for signal primitives is not supported");
}

} // namespace
