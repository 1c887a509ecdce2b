// Conditions of multiplexed signals.
#include <gtest/gtest.h>

#include <random>

#include "introspection/xtypes/signal/make_signal_type.hpp"
#include "qorcpp/presence.hpp"
#include "tests/support/thrown.hpp"

namespace tavi::test {
namespace {

using namespace qor::introspection::xtypes;

TEST(Presence, ReadsWhatASignalTypeReads) {
    std::mt19937 random(1);
    const auto below = [&](std::uint32_t end) { return static_cast<std::uint32_t>(random() % end); };
    std::vector<std::uint8_t> bytes(32);
    int read = 0;
    for (int round = 0; round < 20'000; ++round) {
        std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(random()); });
        const std::uint32_t byte_offset = below(4), bit_offset = below(70), bit_length = 1 + below(64);
        const signal_byte_order order{static_cast<std::uint8_t>(2 * below(2))}; // 0 or 2
        const bool is_signed = below(2) == 0;
        // The smallest integer that holds the bits, as parsers choose it.
        const type_kind kinds[2][4] = {{type_kind::uint8, type_kind::uint16, type_kind::uint32, type_kind::uint64},
                                       {type_kind::int8, type_kind::int16, type_kind::int32, type_kind::int64}};
        const type_kind raw = kinds[is_signed][bit_length <= 8 ? 0 : bit_length <= 16 ? 1 : bit_length <= 32 ? 2 : 3];
        std::shared_ptr<dynamic_type> type;
        make_signal_type(raw, raw, type, order, bit_offset, bit_length, 0, 1, 0, 0, 0, 1, {},
                         signal_encoding::unspecified);
        std::optional<qor::presence_selector> selector;
        try {
            selector.emplace(byte_offset, bit_offset, bit_length, static_cast<std::uint8_t>(order), is_signed);
        } catch (const std::invalid_argument&) {
            // A walk that leaves the signal at its front: what the type makes of it is no matter here.
            ASSERT_GT(bit_length, bit_offset / 8 * 8 + 8 - bit_offset % 8);
            continue;
        }
        std::uint64_t expected = 0;
        type->decode(kinds[is_signed][3], reinterpret_cast<std::uint8_t*>(&expected), bytes.data() + byte_offset);
        ASSERT_EQ(selector->read(bytes), selector->ordinal(expected))
            << bit_offset << ' ' << bit_length << ' ' << static_cast<int>(order) << ' ' << is_signed;
        const std::span exactly(bytes.data(), selector->end());
        ASSERT_TRUE(selector->read(exactly));
        ASSERT_FALSE(selector->read(exactly.first(exactly.size() - 1)));
        ++read;
    }
    EXPECT_GT(read, 10'000);
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
        const qor::presence_selector selector(4, bit_offset, bit_length, 2, false);
        EXPECT_EQ(selector.begin(), begin) << bit_offset << ' ' << bit_length;
        EXPECT_EQ(selector.end(), begin + count) << bit_offset << ' ' << bit_length;
        EXPECT_EQ(selector.read(object), number) << bit_offset << ' ' << bit_length;
    }
    EXPECT_EQ(qor::presence_selector(0, 0, 64, 2, false).read(object), UINT64_C(0x0102030405060708));
    EXPECT_EQ(thrown<std::invalid_argument>([] { qor::presence_selector(4, 0, 24, 2, false); }),
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
        {"0:0:4:0:0:S=1&0:3:8:2:0:T=1", "the selector begins before its first byte at 15"},
        {"4294967296:0:4:0:0:S=1", "the number is too large at 1"},
    };
    for (const auto& [text, cause] : rows) {
        EXPECT_EQ(thrown<std::invalid_argument>([&text = text] { qor::presence{std::string_view(text)}; }),
                  "invalid presence condition '" + text + "': " + cause);
    }
}

} // namespace
} // namespace tavi::test
