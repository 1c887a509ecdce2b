// Numbers as text.
#include "tavi/value_text.hpp"

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

constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

TEST(ValueText, WritesReadableNumbers) {
    std::string texts;
    for (const double value :
         {0.0, -0.0, -40.0, 100000.0, 12.50, 0.0001, 0.00001, 123456789012345.0, 9007199254740993.0, 1e16, 5e-324,
          0.30000000000000004, HUGE_VAL, -HUGE_VAL, not_a_number, -not_a_number}) {
        texts += value_text(value) + ' ';
    }
    EXPECT_EQ(texts, "0 -0 -40 100000 12.5 0.0001 1e-05 123456789012345 9007199254740992 1e+16 5e-324 "
                     "0.30000000000000004 Infinity -Infinity NaN NaN ");
    EXPECT_EQ(value_text(std::int64_t{-9223372036854775807 - 1}), "-9223372036854775808");
    EXPECT_EQ(value_text(UINT64_MAX), "18446744073709551615");
}

// Zeros in front and behind, and the exponent, carry no digits of the number.
std::string digits_of(std::string text) {
    text.resize(std::min(text.find('e'), text.size()));
    std::erase_if(text, [](char character) { return character < '0' || character > '9'; });
    text.erase(0, text.find_first_not_of('0'));
    return text.substr(0, text.find_last_not_of('0') + 1);
}

TEST(ValueText, IsTheShortestThatReadsBackWhateverTheHint) {
    std::mt19937_64 random(3);
    const double factors[] = {1, 0.1, 0.25, 0.01, 0.001, 1e-9, 1.0 / 3, 0.05, 655.35, 1e10, 0.00390625};
    for (int round = 0; round < 200'000; ++round) {
        double value = std::bit_cast<double>(random());
        if (round % 4 != 0 || !std::isfinite(value)) {
            const double factor = factors[random() % std::size(factors)];
            value = factor * static_cast<double>(static_cast<std::int32_t>(random() >> (random() % 32))) +
                    (round % 3 == 0 ? -40 : 0.0);
        }
        const std::string text = value_text(value);
        ASSERT_EQ(std::bit_cast<std::uint64_t>(std::strtod(text.c_str(), nullptr)), std::bit_cast<std::uint64_t>(value))
            << text;
        char room[host::value_text_room];
        if (std::abs(value) < 0x1p53) {
            char* const end = std::to_chars(room, std::end(room), value, std::chars_format::scientific).ptr;
            ASSERT_EQ(digits_of(text), digits_of(std::string(room, end))) << text;
        }
        for (const std::uint8_t hint : {0, 1, 2, 5, 9, 10, 255}) {
            ASSERT_EQ(std::string(room, host::write_value(room, value, hint)), text) << static_cast<int>(hint);
        }
    }
}

} // namespace
} // namespace tavi::test
