// Kinds, and the arithmetic that gives the same results on every processor.
#include "introspection/xtypes/numeric.hpp"
#include "tests/introspection/type_fixture.hpp"

namespace {

using namespace tavi::test;

TEST(type_kind, primitive_sizes) {
    const std::uint32_t table[][2] = {{0x4001, 1}, {0x4002, 1},  {0x4083, 1}, {0x4004, 2}, {0x4085, 2},
                                      {0x4006, 4}, {0x4087, 4},  {0x4008, 8}, {0x4089, 8}, {0x400A, 4},
                                      {0x400B, 8}, {0x400C, 16}, {0x400D, 1}, {0x400E, 2}, {0x400F, 2}};
    for (const auto& [kind, size] : table) {
        EXPECT_EQ(primitive_size(type_kind{kind}), size) << std::hex << kind;
        EXPECT_EQ(primitive_size(type_kind{kind | 0x2000}), size) << std::hex << kind;
        EXPECT_EQ(kind_of_name(kind_name(type_kind{kind})), type_kind{kind});
    }
    for (const std::uint32_t kind : {0x8204u, 0x8003u, 0x810Au, 0x8206u, 0x0400u, 0x4082u, 0u}) {
        EXPECT_EQ(thrown<std::invalid_argument>([kind] { primitive_size(type_kind{kind}); }),
                  "the specified type kind does not represent a primitive type");
    }
}

// What an x86 processor leaves for each output, whichever processor runs the test.
TEST(numeric, reals_become_integers_as_on_x86) {
    // The value; for 16 bits and by its low byte for 8; for int32_t; for int64_t and by its low half for uint32_t; for
    // uint64_t.
    const std::tuple<double, std::uint16_t, std::uint32_t, std::uint64_t, std::uint64_t> table[] = {
        {300.7, 300, 300, 300, 300},
        {-1.5, 0xFFFF, 0xFFFFFFFF, 0xFFFFFFFFFFFFFFFF, 0xFFFFFFFFFFFFFFFF},
        {2147483647.9, 0xFFFF, 0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF},
        {-2147483649.0, 0, 0x80000000, 0xFFFFFFFF7FFFFFFF, 0xFFFFFFFF7FFFFFFF},
        {5e9, 0, 0x80000000, 5000000000, 5000000000},
        {0x1.8p63, 0, 0x80000000, 0x8000000000000000, 0xC000000000000000},
        {0x1p64, 0, 0x80000000, 0x8000000000000000, 0x8000000000000000},
        {std::numeric_limits<double>::quiet_NaN(), 0, 0x80000000, 0x8000000000000000, 0x8000000000000000},
    };
    for (const auto& [y, to_16, to_int32, to_int64, to_uint64] : table) {
        SCOPED_TRACE(y);
        EXPECT_EQ(convert_real<std::uint8_t>(y), to_16 % 256);
        EXPECT_EQ(static_cast<std::uint8_t>(convert_real<std::int8_t>(y)), to_16 % 256);
        EXPECT_EQ(convert_real<std::uint16_t>(y), to_16);
        EXPECT_EQ(static_cast<std::uint32_t>(convert_real<std::int32_t>(y)), to_int32);
        EXPECT_EQ(convert_real<std::uint32_t>(y), static_cast<std::uint32_t>(to_int64));
        EXPECT_EQ(static_cast<std::uint64_t>(convert_real<std::int64_t>(y)), to_int64);
        EXPECT_EQ(convert_real<std::uint64_t>(y), to_uint64);
    }
    EXPECT_EQ(convert_real<float>(1e300), std::numeric_limits<float>::infinity());
}

TEST(numeric, shift_counts_wrap) {
    EXPECT_EQ(shift_left<std::int32_t>(1, 32), 1);
    EXPECT_EQ(shift_left<std::int8_t>(1, 8), 0);
    EXPECT_EQ(shift_left<std::int64_t>(1, 64), 1);
    EXPECT_EQ(shift_right<std::int32_t>(-5, 33), -3);
    EXPECT_EQ(shift_right<std::int16_t>(-5, 1), -3);
}

} // namespace
