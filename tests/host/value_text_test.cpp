// Numbers as text.
#include "host/value_text.hpp"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>

namespace tavi::test {
namespace {

using host::value_text;
using host::write_value;

TEST(ValueText, WritesReadableNumbers) {
    const std::pair<double, const char*> rows[] = {
        {0.0, "0"},
        {-0.0, "-0"},
        {1.0, "1"},
        {-40.0, "-40"},
        {100000.0, "100000"},
        {0.1, "0.1"},
        {0.30000000000000004, "0.30000000000000004"},
        {12.50, "12.5"},
        {0.0001, "0.0001"},
        {0.00001, "1e-05"},
        {123456789012345.0, "123456789012345"},
        {9007199254740993.0, "9007199254740992"},
        {1e16, "1e+16"},
        {1.5e300, "1.5e+300"},
        {5e-324, "5e-324"},
        {static_cast<double>(0.1f), "0.10000000149011612"},
        {HUGE_VAL, "Infinity"},
        {-HUGE_VAL, "-Infinity"},
        {std::numeric_limits<double>::quiet_NaN(), "NaN"},
        {-std::numeric_limits<double>::quiet_NaN(), "NaN"},
    };
    for (const auto& [value, text] : rows) {
        EXPECT_EQ(value_text(value), text);
    }
    EXPECT_EQ(value_text(std::int64_t{-9223372036854775807 - 1}), "-9223372036854775808");
    EXPECT_EQ(value_text(UINT64_MAX), "18446744073709551615");
}

std::size_t count_of_digits(const std::string& text) {
    // Zeros in front and behind, and the exponent, carry no digits of the number.
    const std::string mantissa = text.substr(0, text.find('e'));
    std::string digits;
    for (const char character : mantissa) {
        if (character >= '0' && character <= '9') {
            digits += character;
        }
    }
    const std::size_t first = digits.find_first_not_of('0');
    return first == std::string::npos ? 0 : digits.find_last_not_of('0') - first + 1;
}

TEST(ValueText, IsTheShortestThatReadsBackWhateverTheHint) {
    std::mt19937_64 random(3);
    const double factors[] = {1, 0.1, 0.25, 0.01, 0.001, 1e-9, 1.0 / 3, 0.05, 655.35, 1e10, 0.00390625};
    for (int round = 0; round < 200'000; ++round) {
        double value = std::bit_cast<double>(random());
        if (round % 4 != 0) {
            const double factor = factors[random() % std::size(factors)];
            value = factor * static_cast<double>(static_cast<std::int32_t>(random() >> (random() % 32))) +
                    (round % 3 == 0 ? -40 : 0.0);
        }
        if (!std::isfinite(value)) {
            continue;
        }
        const std::string text = value_text(value);
        ASSERT_EQ(std::bit_cast<std::uint64_t>(std::strtod(text.c_str(), nullptr)), std::bit_cast<std::uint64_t>(value))
            << text;
        char shortest[64];
        const std::string scientific(shortest,
                                     std::to_chars(shortest, shortest + 64, value, std::chars_format::scientific).ptr);
        if (std::abs(value) < 0x1p53) {
            ASSERT_EQ(count_of_digits(text), count_of_digits(scientific)) << text;
        }
        for (const std::uint8_t hint : {0, 1, 2, 5, 9, 10, 255}) {
            char hinted[host::value_text_room];
            ASSERT_EQ(std::string(hinted, write_value(hinted, value, hint)), text) << static_cast<int>(hint);
        }
        ASSERT_LE(text.size(), host::value_text_room);
    }
}

TEST(ValueText, FindsTheDecimalsOfAConversion) {
    EXPECT_EQ(host::decimals_of(1, 0), 0);
    EXPECT_EQ(host::decimals_of(0.25, -40), 2);
    EXPECT_EQ(host::decimals_of(0.5, 0.125), 3);
    EXPECT_EQ(host::decimals_of(1e-9, 0), 9);
    EXPECT_EQ(host::decimals_of(1.0 / 3, 0), host::no_decimals_hint);
    EXPECT_EQ(host::decimals_of(1, std::numeric_limits<double>::quiet_NaN()), host::no_decimals_hint);
    EXPECT_EQ(host::decimals_of(1e300, 0), host::no_decimals_hint);
}

} // namespace
} // namespace tavi::test
