#include <stdexcept>

#include <gtest/gtest.h>

#include "introspection/xtypes/numeric.hpp"
#include "introspection/xtypes/scalar_kinds.hpp"
#include "introspection/xtypes/type_kind.hpp"
#include "tests/support/thrown.hpp"

namespace {

using namespace qor::introspection::xtypes;
using tavi::test::thrown;

TEST(type_kind, primitive_sizes) {
    const struct {
        std::uint32_t kind;
        std::uint64_t size;
    } table[] = {{0x4001, 1}, {0x4002, 1},  {0x4083, 1}, {0x4004, 2}, {0x4085, 2},
                 {0x4006, 4}, {0x4087, 4},  {0x4008, 8}, {0x4089, 8}, {0x400A, 4},
                 {0x400B, 8}, {0x400C, 16}, {0x400D, 1}, {0x400E, 2}, {0x400F, 2}};
    for (const auto& row : table) {
        EXPECT_EQ(primitive_size(type_kind{row.kind}), row.size) << std::hex << row.kind;
        EXPECT_EQ(primitive_size(type_kind{row.kind | 0x2000}), row.size) << std::hex << row.kind;
    }
    for (std::uint32_t kind : {0x8204u, 0x8003u, 0x810Au, 0x8206u, 0x0400u, 0x4082u, 0u}) {
        EXPECT_EQ(thrown<std::invalid_argument>([kind] { primitive_size(type_kind{kind}); }),
                  "the specified type kind does not represent a primitive type");
    }
}

TEST(type_kind, names_go_there_and_back) {
    EXPECT_EQ(kind_name(type_kind::uint16), "uint16");
    EXPECT_EQ(kind_name(type_kind::wide_char), "wide_char");
    EXPECT_EQ(kind_name(type_kind{0x6006}), "");
    EXPECT_EQ(kind_of_name("float64"), type_kind::float64);
    EXPECT_EQ(kind_of_name("structure"), type_kind::structure);
    EXPECT_EQ(kind_of_name(""), std::nullopt);
}

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

// What an x86 processor leaves for each output, whichever processor runs the test.
TEST(numeric, reals_become_integers_as_on_x86) {
    const struct {
        double y;
        std::uint8_t to_8;
        std::uint16_t to_16;
        std::uint32_t to_int32;
        std::uint32_t to_uint32;
        std::uint64_t to_int64;
        std::uint64_t to_uint64;
    } table[] = {
        {300.7, 44, 300, 300, 300, 300, 300},
        {-1.5, 255, 0xFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFFFFFFFFFF, 0xFFFFFFFFFFFFFFFF},
        {-0.9, 0, 0, 0, 0, 0, 0},
        {2147483647.9, 0xFF, 0xFFFF, 0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF},
        {2147483648.0, 0, 0, 0x80000000, 0x80000000, 0x80000000, 0x80000000},
        {-2147483647.9, 1, 1, 0x80000001, 0x80000001, 0xFFFFFFFF80000001, 0xFFFFFFFF80000001},
        {-2147483648.9, 0, 0, 0x80000000, 0x80000000, 0xFFFFFFFF80000000, 0xFFFFFFFF80000000},
        {-2147483649.0, 0, 0, 0x80000000, 0x7FFFFFFF, 0xFFFFFFFF7FFFFFFF, 0xFFFFFFFF7FFFFFFF},
        {5e9, 0, 0, 0x80000000, 0x2A05F200, 5000000000, 5000000000},
        {0x1p63, 0, 0, 0x80000000, 0, 0x8000000000000000, 0x8000000000000000},
        {-0x1p63, 0, 0, 0x80000000, 0, 0x8000000000000000, 0x8000000000000000},
        {0x1.8p63, 0, 0, 0x80000000, 0, 0x8000000000000000, 0xC000000000000000},
        {0x1p64, 0, 0, 0x80000000, 0, 0x8000000000000000, 0x8000000000000000},
        {1e300, 0, 0, 0x80000000, 0, 0x8000000000000000, 0x8000000000000000},
        {-1e300, 0, 0, 0x80000000, 0, 0x8000000000000000, 0x8000000000000000},
        {nan, 0, 0, 0x80000000, 0, 0x8000000000000000, 0x8000000000000000},
        {infinity, 0, 0, 0x80000000, 0, 0x8000000000000000, 0x8000000000000000},
    };
    for (const auto& row : table) {
        SCOPED_TRACE(row.y);
        EXPECT_EQ(convert_real<std::uint8_t>(row.y), row.to_8);
        EXPECT_EQ(static_cast<std::uint8_t>(convert_real<std::int8_t>(row.y)), row.to_8);
        EXPECT_EQ(convert_real<std::uint16_t>(row.y), row.to_16);
        EXPECT_EQ(static_cast<std::uint16_t>(convert_real<std::int16_t>(row.y)), row.to_16);
        EXPECT_EQ(static_cast<std::uint32_t>(convert_real<std::int32_t>(row.y)), row.to_int32);
        EXPECT_EQ(convert_real<std::uint32_t>(row.y), row.to_uint32);
        EXPECT_EQ(static_cast<std::uint64_t>(convert_real<std::int64_t>(row.y)), row.to_int64);
        EXPECT_EQ(convert_real<std::uint64_t>(row.y), row.to_uint64);
    }
    EXPECT_EQ(convert_real<float>(1e300), std::numeric_limits<float>::infinity());
    EXPECT_EQ(convert_real<float>(16777217.0), 16777216.0F);
}

TEST(numeric, big_unsigned_numbers_round_twice) {
    EXPECT_EQ(unsigned_to_real<double>(0xFFFFFFFFFFFFFFFF), 0x1p64);
    EXPECT_EQ(unsigned_to_real<double>(3), 3.0);
    // Just above the middle between two doubles: rounded once it would go up. The signed number rounds down to the
    // middle first, and the sum then to the even neighbour, which is below.
    EXPECT_EQ(unsigned_to_real<double>(0x8000000000000401), 0x1p63);
    EXPECT_EQ(static_cast<double>(std::uint64_t{0x8000000000000401}), 0x1p63 + 2048);
}

TEST(numeric, shift_counts_wrap) {
    EXPECT_EQ(shift_left<std::int32_t>(1, 31), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(shift_left<std::int32_t>(1, 32), 1);
    EXPECT_EQ(shift_left<std::int8_t>(1, 8), 0);
    EXPECT_EQ(shift_left<std::int8_t>(1, 7), -128);
    EXPECT_EQ(shift_left<std::int64_t>(1, 64), 1);
    EXPECT_EQ(shift_right<std::int16_t>(-5, 1), -3);
    EXPECT_EQ(shift_right<std::int32_t>(-5, 33), -3);
    EXPECT_EQ(shift_right<std::int64_t>(-1, 63), -1);
}

} // namespace
