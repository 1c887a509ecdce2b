// All that read bits by the rules of signal_layout, over all layouts of integers: types, conditions, plans and copies
// find the bits that a walk through the bytes finds, bit by bit, and refuse the same layouts.
#include "qorcpp/signal_layout.hpp"

#include <gtest/gtest.h>

#include <bit>
#include <random>

#include "introspection/xtypes/signal/bit_reader.hpp"
#include "introspection/xtypes/signal/bit_writer.hpp"
#include "introspection/xtypes/struct_type.hpp"
#include "qorcpp/presence.hpp"
#include "tavi/record_plan.hpp"
#include "tests/introspection/decode_comparison.hpp"

namespace tavi::test {
namespace {

using bytes = std::vector<std::uint8_t>;

// A value, or the text of the failure to read it.
struct result {
    std::uint64_t value = 0;
    std::string failure;

    bool operator==(const result&) const = default;
};

std::ostream& operator<<(std::ostream& out, const result& shown) {
    return out << shown.value << ' ' << shown.failure;
}

template<typename Read>
result result_of(const Read& read) {
    try {
        return {read(), ""};
    } catch (const std::exception& error) {
        return {0, error.what()};
    }
}

constexpr std::uint64_t raw_bits_of(type_kind raw) {
    return raw == type_kind::uint8 ? 8 : raw == type_kind::uint16 ? 16 : raw == type_kind::uint32 ? 32 : 64;
}

result by_type(const signal_parameters& signal, const bytes& source) {
    const auto type = make_type(signal.raw_kind, signal);
    return result_of([&] {
        std::uint64_t value = 0;
        type->decode(type_kind::uint64, reinterpret_cast<std::uint8_t*>(&value), source.data());
        return value;
    });
}

// A condition refuses with texts of its own.
result by_condition(const signal_parameters& signal, const bytes& source, const result& expected) {
    return result_of([&] {
        try {
            const qor::presence_selector selector(0, signal.bit_offset, signal.bit_length,
                                                  static_cast<std::uint32_t>(raw_bits_of(signal.raw_kind)),
                                                  static_cast<std::uint8_t>(signal.byte_order), false);
            EXPECT_FALSE(selector.read(std::span(source).first(selector.end() - 1)));
            return selector.read(std::span(source).first(selector.end())).value();
        } catch (const std::invalid_argument&) {
            throw std::runtime_error(expected.failure);
        }
    });
}

result by_plan(const signal_parameters& signal, const bytes& source) {
    struct_type type("M");
    const auto member = make_type(signal.raw_kind, signal);
    type.add_member_at({"S", member.get()}, 0, 0, false);
    const host::record_plan plan(type);
    const host::plan_row& row = plan.rows().front();
    if (!row.unreadable.empty()) {
        return {0, row.unreadable};
    }
    EXPECT_TRUE(row.end == 0 || !plan.read_row(std::span(source).first(row.end - 1), 0));
    return {plan.read_row(std::span(source).first(row.end), 0).value().unsigned_value, ""};
}

// How many bits a copy changes when all of them differ.
int copied_bits(const signal_parameters& signal, const bytes& source) {
    bytes target = source;
    for (std::uint8_t& byte : target) {
        byte = static_cast<std::uint8_t>(~byte);
    }
    copy_signal_bits(signal, target.data(), source.data());
    int count = 0;
    for (std::size_t i = 0; i < source.size(); ++i) {
        count += 8 - std::popcount(static_cast<std::uint8_t>(source[i] ^ target[i]));
    }
    return count;
}

TEST(SignalLayout, IsTheSameForAllItsUsers) {
    std::mt19937 random(19);
    bytes source(24);
    int refused = 0;
    for (const type_kind raw : {type_kind::uint8, type_kind::uint16, type_kind::uint32, type_kind::uint64}) {
        for (std::uint32_t length = 0; length <= raw_bits_of(raw); ++length) {
            for (std::uint32_t offset = 0; offset < 80; ++offset) {
                for (const std::uint8_t order : {0, 1, 2, 7}) {
                    std::generate(source.begin(), source.end(), [&] { return static_cast<std::uint8_t>(random()); });
                    const signal_parameters signal{raw, signal_byte_order{order}, offset, length, {}, {}, "", {}};
                    SCOPED_TRACE(testing::Message() << "order " << int{order} << ", offset " << offset << ", length "
                                                    << length << " of " << raw_bits_of(raw));
                    const result expected =
                        result_of([&] { return reference_raw<std::uint64_t>(signal, source.data()); });
                    ASSERT_EQ(by_type(signal, source), expected);
                    ASSERT_EQ(by_plan(signal, source), expected);
                    if (length != 0) {
                        ASSERT_EQ(by_condition(signal, source, expected), expected);
                    }
                    const std::uint32_t above = order == 0 ? 8 * 24 - offset : offset / 8 * 8 + 8 - offset % 8;
                    ASSERT_EQ(copied_bits(signal, source), static_cast<int>(std::min(length, above)));
                    refused += expected.failure.empty() ? 0 : 1;
                }
            }
        }
    }
    EXPECT_GT(refused, 10'000);
}

// By hand: what the comparison above rests on.
TEST(SignalLayout, FollowsTheByteOrders) {
    using enum signal_byte_order;
    struct row {
        signal_byte_order order;
        std::uint32_t offset, length;
        type_kind raw;
        result expected;
    };
    const bytes source = {0xAB, 0xCD, 0xEF, 0x01, 0x23};
    const row rows[] = {
        {little_endian, 4, 8, type_kind::uint8, {0xDA, ""}},
        {little_endian, 12, 12, type_kind::uint16, {0xEFC, ""}},
        {little_endian, 0, 0, type_kind::uint8, {0, ""}},
        {inconsistent_big_endian, 12, 12, type_kind::uint16, {0xABC, ""}},
        {inconsistent_big_endian, 8, 16, type_kind::uint16, {0xABCD, ""}},
        {inconsistent_big_endian, 0, 16, type_kind::uint16, {0xABCD, ""}},
        {inconsistent_big_endian,
         0,
         16,
         type_kind::uint32,
         {0, "invalid bit offset 0, cannot read the complete signal data"}},
        {inconsistent_big_endian, 0, 8, type_kind::uint32, {0xAB, ""}},
        {inconsistent_big_endian, 3, 6, type_kind::uint8, {0xAB >> 3, ""}},
        {inconsistent_big_endian,
         4,
         12,
         type_kind::uint16,
         {0, "invalid bit offset 4, cannot read the complete signal data"}},
        {big_endian, 0, 8, type_kind::uint8, {0, "signal reading for the current byte order is not supported"}},
    };
    for (const row& each : rows) {
        const signal_parameters signal{each.raw, each.order, each.offset, each.length, {}, {}, "", {}};
        EXPECT_EQ(by_type(signal, source), each.expected) << each.offset << ' ' << each.length;
    }
}

} // namespace
} // namespace tavi::test
