// Conditions of multiplexed signals.
#include <gtest/gtest.h>

#include "qorcpp/presence.hpp"
#include "qorcpp/signal_layout.hpp"
#include "tests/support/thrown.hpp"

namespace tavi::test {
namespace {

TEST(Presence, OrdersSignedValuesFromItsByteOffsetOn) {
    const std::uint8_t object[] = {0x00, 0xF0, 0x7F, 0x80};
    // 12 bits of byte 1 and 2, a big number without a sign and a small one with it.
    const qor::presence_selector with_sign(1, 12, 12, 16, 2, true);
    const qor::presence_selector without_sign(1, 12, 12, 16, 2, false);
    EXPECT_EQ(with_sign.read(object), with_sign.ordinal(static_cast<std::uint64_t>(-249)));
    EXPECT_LT(with_sign.read(object), with_sign.ordinal(0));
    EXPECT_EQ(without_sign.read(object), 0xF07u);
    EXPECT_EQ(with_sign.begin(), 1u);
    EXPECT_EQ(with_sign.end(), 3u);
    EXPECT_EQ(with_sign.behind(1).read(std::span(object).subspan(1)), with_sign.read(object));
}

TEST(Presence, HoldsForTheValuesItNames) {
    const std::tuple<const char*, std::uint8_t, bool> rows[] = {
        {"0:0:4:0:0:S=2", 0xF2, true},
        {"0:0:4:0:0:S=2", 0xF3, false},
        {"0:0:4:0:0:S=1,3,5-7", 0x06, true},
        {"0:0:4:0:0:S=1,3,5-7", 0x04, false},
        {"0:4:4:2:0:S=15", 0xF0, true},
        {"0:0:8:0:1:S=-3--1", 0xFE, true},
        {"0:0:8:0:1:S=-3--1", 0x00, false},
        {"0:0:8:0:1:S=-3--1", 0xFC, false},
        {"0:0:8:0:1:S=-128-127", 0x80, true},
        {"0:0:8:0:0:S=300", 0x2C, false},
        {"0:0:8/32:2:0:S=128", 0x80, true},
        {"0:3:8:2:0:S=5", 0x28, true},
        {"0:0:1:0:0:a b=0-18446744073709551615", 0x01, true},
        {"0:0:4:0:0:A=2,5-7&0:4:4:0:0:B=0", 0x06, true},
        {"0:0:4:0:0:A=2,5-7&0:4:4:0:0:B=0", 0x16, false},
        {"0:0:4:0:0:A=2,5-7&0:4:4:0:0:B=0", 0x03, false},
    };
    for (const auto& [text, byte, holds] : rows) {
        EXPECT_EQ(qor::presence(text).holds({&byte, 1}), holds) << text;
        EXPECT_FALSE(qor::presence(text).holds({})) << text;
    }
    EXPECT_TRUE(qor::presence().holds({}));
}

// A whole integer in byte order 2 at bit offset 0 begins at its first byte; other lengths and offsets end there.
TEST(Presence, ReadsWholeIntegersFromTheirFirstByte) {
    const std::uint8_t object[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    // Bit offset and length; the first byte that is read when byte 4 is named, how many, and the number.
    const std::tuple<std::uint32_t, std::uint32_t, std::uint64_t, std::uint64_t, std::uint64_t> rows[] = {
        {0, 8, 4, 1, 5},      {0, 16, 4, 2, 0x0506},    {0, 32, 4, 4, 0x05060708},
        {8, 8, 5, 1, 6},      {8, 16, 4, 2, 0x0506},    {24, 32, 4, 4, 0x05060708},
        {8, 12, 4, 2, 0x506}, {16, 24, 4, 3, 0x050607}, {0, 5, 4, 1, 5},
    };
    for (const auto& [bit_offset, bit_length, begin, count, number] : rows) {
        const qor::presence_selector selector(4, bit_offset, bit_length, qor::narrowest_integer_bits(bit_length), 2,
                                              false);
        EXPECT_EQ(selector.begin(), begin) << bit_offset << ' ' << bit_length;
        EXPECT_EQ(selector.end(), begin + count) << bit_offset << ' ' << bit_length;
        EXPECT_EQ(selector.read(object), number) << bit_offset << ' ' << bit_length;
    }
    EXPECT_EQ(qor::presence_selector(0, 0, 64, 64, 2, false).read(object), UINT64_C(0x0102030405060708));
    EXPECT_EQ(thrown<std::invalid_argument>([] { qor::presence_selector(4, 0, 24, 32, 2, false); }),
              "the selector begins before its first byte");
}

TEST(Presence, TellsWhatIsWrongWithAText) {
    const std::pair<std::string, std::string> rows[] = {
        {"", "expected a number at 1"},
        {"0:0:4:0:0:S", "expected '=' at 12"},
        {"0:0:4:0:0:S=1&", "expected a number at 15"},
        {"0:0:4:0:0:S=1;", "unexpected character at 14"},
        {"0:0:4:0:0:S=-1", "expected a number at 13"},
        {"0:0:4:0:0:S=7-5", "the range is empty at 13"},
        {"0:0:4:0:2:S=1", "expected 0 or 1 at 9"},
        {"0:0:4:1:0:S=1", "the byte order is neither 0 nor 2 at 1"},
        {"0:0:0:0:0:S=1", "a selector has 1 to 64 bits at 1"},
        {"0:0:65:0:0:S=1", "a selector has 1 to 64 bits at 1"},
        {"0:0:16/32:2:0:S=1", "the selector begins before its first byte at 1"},
        {"0:0:16/12:2:0:S=1", "a selector is stored in 8, 16, 32 or 64 bits, at least its own at 1"},
        {"0:0:16/24:2:0:S=1", "a selector is stored in 8, 16, 32 or 64 bits, at least its own at 1"},
        {"0:0:4:0:0:S=1&0:3:9:2:0:T=1", "the selector begins before its first byte at 15"},
        {"4294967296:0:4:0:0:S=1", "the number is too large at 1"},
    };
    for (const auto& [text, cause] : rows) {
        EXPECT_EQ(thrown<std::invalid_argument>([&text = text] { qor::presence{std::string_view(text)}; }),
                  "invalid presence condition '" + text + "': " + cause);
    }
}

} // namespace
} // namespace tavi::test
