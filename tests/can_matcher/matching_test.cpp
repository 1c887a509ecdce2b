// Which frames serve which subscriptions, and with which bytes.
#include <gtest/gtest.h>

#include "tests/can_matcher/matcher_fixture.hpp"

namespace tavi::test {
namespace {

constexpr std::uint64_t extended = 0x80000000;
constexpr std::uint32_t group_flag = QOR_OBJECT_PARAMETER_GROUP;
const std::vector<std::uint8_t> eight_bytes = {0, 1, 2, 3, 4, 5, 6, 7};

TEST(CanMatcher, KnowsAMessageByItsIdOrParameterGroup) {
    struct row {
        const char* what;
        std::uint64_t address;
        std::uint32_t flags;
        const char* format;
        std::uint32_t frame;
        bool matches;
    };
    const row rows[] = {
        {"the same id", 0x0C0, 0, "can", 0x0C0, true},
        {"another id", 0x0C0, 0, "can", 0x0C1, false},
        {"the same number with 29 bits", 0x0C0, 0, "can", 0x800000C0, false},
        {"29 bits", extended | 0x0C0, 0, "can", 0x800000C0, true},
        {"29 bits against 11", extended | 0x0C0, 0, "can", 0x0C0, false},
        {"an id above 11 bits without the flag", 0x1234, 0, "can", 0x1234, true},
        {"remote", 0x0C0, 0, "can", 0x400000C0, false},
        {"remote with 29 bits", extended | 0x0C0, 0, "can", 0xC00000C0, false},
        {"error", 0x0C0, 0, "can", 0x200000C0, false},
        {"an address with the remote bit", 0x400000C0, 0, "can", 0x400000C0, false},
        {"a memory address", 0x1000000C0, 0, "can", 0x0C0, false},
        {"unmarked, other source", extended | 0x18FEF100, 0, "can", 0x98FEF121, false},
        {"marked PDU2, other priority and source", extended | 0x18FEF100, group_flag, "can", 0x8CFEF121, true},
        {"marked PDU2, other group extension", extended | 0x18FEF100, group_flag, "can", 0x98FEF221, false},
        {"marked PDU1, other destination", extended | 0x18EF0500, group_flag, "can", 0x98EF7733, true},
        {"marked PDU1, other data page", extended | 0x18EF0500, group_flag, "can", 0x99EF7733, false},
        {"marked, PF 239 is the last PDU1", extended | 0x18EF0000, group_flag, "can", 0x98EFFFFF, true},
        {"marked, PF 240 is the first PDU2", extended | 0x18F00000, group_flag, "can", 0x98F001FF, false},
        {"marked against 11 bits", extended | 0x100, group_flag, "can", 0x100, false},
        {"marked 11-bit message", 0x0C0, group_flag, "can", 0x0C0, true},
        {"marked 11-bit message, other id", 0x0C0, group_flag, "can", 0x1C0, false},
        {"unmarked in j1939", extended | 0x18FEF100, 0, "j1939", 0x8CFEF121, true},
        {"reserved bit counts", extended | 0x18FEF100, 0, "j1939", 0x9AFEF100, false},
        {"11 bits in j1939", 0x0C0, 0, "j1939", 0x0C0, true},
        {"11 bits in j1939, other id", 0x0C0, 0, "j1939", 0x0C1, false},
        {"remote in j1939", extended | 0x18FEF100, 0, "j1939", 0xD8FEF100, false},
    };
    for (const row& row : rows) {
        SCOPED_TRACE(row.what);
        matcher matcher;
        ASSERT_EQ(matcher.register_type(7, {.address = row.address, .flags = row.flags}), succeeded);
        const test_package package(row.frame, eight_bytes, row.format);
        EXPECT_EQ(matcher.match(7, package, false).has_value(), row.matches);
        EXPECT_EQ(matcher.match_batch({7}, package, false).size(), row.matches ? 1u : 0u);
    }
}

TEST(CanMatcher, TellsWhereTheBytesAre) {
    struct row {
        const char* what;
        wanted subscription;
        std::size_t data;
        std::optional<match_result> strict;
        std::optional<match_result> lenient;
    };
    const auto object = [](std::uint64_t extent) { return wanted{.address = 5, .extent = extent}; };
    const auto signal = [](std::uint32_t offset, std::uint64_t extent) {
        return wanted{.address = 5, .kind = QOR_TYPE_NODE_SIGNAL, .offset = offset, .extent = extent};
    };
    const auto group = [](std::uint32_t offset, std::uint64_t extent) {
        return wanted{.address = 5, .kind = QOR_TYPE_NODE_GROUP, .offset = offset, .extent = extent};
    };
    const row rows[] = {
        {"a message", object(8), 8, {{8, 8, 8}}, {{8, 8, 8}}},
        {"a longer frame", object(4), 8, {{8, 4, 4}}, {{8, 4, 4}}},
        {"a cut message", object(8), 5, {{8, 5, 8}}, {{8, 5, 5}}},
        {"a frame without data", object(8), 0, {{8, 0, 8}}, {{8, 0, 0}}},
        {"a message without data", object(0), 0, {{8, 0, 0}}, {{8, 0, 0}}},
        {"a CAN FD message", object(64), 64, {{8, 64, 64}}, {{8, 64, 64}}},
        {"a signal", signal(2, 3), 8, {{10, 3, 3}}, {{10, 3, 3}}},
        {"a signal up to the end", signal(5, 3), 8, {{13, 3, 3}}, {{13, 3, 3}}},
        {"a cut signal", signal(6, 3), 8, {{14, 2, 3}}, std::nullopt},
        {"a signal behind the frame", signal(9, 1), 8, {{17, 0, 1}}, std::nullopt},
        {"a cut group", group(6, 4), 8, {{14, 2, 4}}, {{14, 2, 2}}},
        {"a group behind the frame", group(8, 4), 8, {{16, 0, 4}}, std::nullopt},
    };
    for (const row& row : rows) {
        SCOPED_TRACE(row.what);
        matcher matcher;
        ASSERT_EQ(matcher.register_type(7, row.subscription), succeeded);
        const test_package package(5, std::vector<std::uint8_t>(row.data, 0xFF));
        EXPECT_EQ(matcher.match(7, package, false), row.strict);
        EXPECT_EQ(matcher.match(7, package, true), row.lenient);
    }
}

TEST(CanMatcher, AsksTheSelectorsOfThisFrame) {
    struct row {
        const char* what;
        const char* presence;
        std::vector<std::uint8_t> data;
        bool matches;
    };
    const char* const cascade = "0:0:4:0:0:S0=2,5-7&0:4:4:0:0:S1=0";
    const row rows[] = {
        {"both hold", cascade, {0x02, 0, 0}, true},
        {"inside a range", cascade, {0x06, 0, 0}, true},
        {"no value of it", cascade, {0x03, 0, 0}, false},
        {"the lower one fails", cascade, {0x12, 0, 0}, false},
        {"no selector there", "3:0:8:0:0:S=0", {0, 0, 0}, false},
    };
    for (const row& row : rows) {
        SCOPED_TRACE(row.what);
        matcher matcher;
        const wanted signal{
            .address = 5, .kind = QOR_TYPE_NODE_SIGNAL, .offset = 1, .extent = 1, .presence = row.presence};
        ASSERT_EQ(matcher.register_type(7, signal), succeeded);
        EXPECT_EQ(matcher.match(7, test_package(5, row.data), false).has_value(), row.matches);
        EXPECT_EQ(matcher.match(7, test_package(5, row.data), true).has_value(), row.matches);
    }
}

TEST(CanMatcher, RefusesAPresenceTextThatIsNone) {
    matcher matcher;
    const wanted signal{.address = 5, .kind = QOR_TYPE_NODE_SIGNAL, .extent = 1, .presence = "0:0:4:0:0:S=x"};
    EXPECT_EQ(matcher.register_type(7, signal),
              invalid("invalid presence condition '0:0:4:0:0:S=x': expected a number at 13"));
    EXPECT_FALSE(matcher.match(7, test_package(5, {0}), false));
}

TEST(CanMatcher, PassesOverPayloadsThatAreNoFrame) {
    matcher matcher;
    ASSERT_EQ(matcher.register_type(7, {.address = 5, .extent = 2}), succeeded);
    const std::vector<std::vector<std::uint8_t>> payloads = {
        {},
        {5, 0, 0, 0, 2, 0, 0},          // a header cut short
        {5, 0, 0, 0, 2, 0, 0, 0, 1},    // fewer bytes than the length says
        {5, 0, 0, 0, 255, 0, 0, 0, 1},  // no such length
        std::vector<std::uint8_t>(200), // another id
    };
    for (const auto& payload : payloads) {
        EXPECT_FALSE(matcher.match(7, test_package(payload), true));
        EXPECT_TRUE(matcher.match_batch({7}, test_package(payload), true).empty());
    }
    // What follows the data is not of the frame.
    EXPECT_EQ(matcher.match(7, test_package({5, 0, 0, 0, 1, 0, 0, 0, 1, 2, 3}), false), (match_result{8, 1, 2}));
}

TEST(CanMatcher, KeepsWhatWasAnnouncedUntilItIsWithdrawn) {
    matcher first;
    matcher second;
    const test_package package(5, eight_bytes);
    ASSERT_EQ(first.register_type(7, {.address = 5}), succeeded);
    EXPECT_FALSE(second.match(7, package, false)) << "instances share state";
    EXPECT_FALSE(first.match(8, package, false));
    ASSERT_EQ(first.register_type(7, {.address = 6}), succeeded);
    EXPECT_FALSE(first.match(7, package, false)) << "a second announcement replaces the first";
    EXPECT_TRUE(first.match(7, test_package(6, eight_bytes), false));
    // Once for each format.
    EXPECT_EQ(first.unregister_type(7), succeeded);
    EXPECT_EQ(first.unregister_type(7), succeeded);
    EXPECT_FALSE(first.match(7, test_package(6, eight_bytes), false));
    EXPECT_TRUE(first.match_batch({7}, test_package(6, eight_bytes), false).empty());
}

TEST(CanMatcher, LeavesOtherKindsOfDescriptionsAlone) {
    matcher matcher;
    qor_type_node_t view{};
    view.kind = QOR_TYPE_NODE_VIEW;
    EXPECT_EQ(matcher.register_nodes(7, {view}, 0, 0), succeeded);
    EXPECT_EQ(matcher.register_nodes(8, {}, 5, 8), succeeded);
    qor_type_node_t object{};
    object.kind = QOR_TYPE_NODE_OBJECT;
    object.object.address = 5;
    EXPECT_EQ(matcher.register_nodes(9, {object}, UINT64_MAX, 8), succeeded);
    EXPECT_TRUE(matcher.match_batch({7, 8, 9}, test_package(5, eight_bytes), true).empty());
    // The last object of a hierarchy is the one that has the address.
    qor_type_node_t inner = object;
    inner.object.address = 6;
    EXPECT_EQ(matcher.register_nodes(10, {view, object, inner}, 6, 8), succeeded);
    EXPECT_TRUE(matcher.match(10, test_package(6, eight_bytes), false));
}

TEST(CanMatcher, NamesItsFormats) {
    matcher matcher;
    ASSERT_EQ(matcher.formats.get_supported_format_count(matcher.handle), 2u);
    const char* format = nullptr;
    ASSERT_EQ(call(matcher.formats.get_supported_format, matcher.handle, 0u, &format), succeeded);
    EXPECT_STREQ(format, "can");
    ASSERT_EQ(call(matcher.formats.get_supported_format, matcher.handle, 1u, &format), succeeded);
    EXPECT_STREQ(format, "j1939");
    EXPECT_EQ(call(matcher.formats.get_supported_format, matcher.handle, 2u, &format), invalid("there is no format 2"));
}

} // namespace
} // namespace tavi::test
