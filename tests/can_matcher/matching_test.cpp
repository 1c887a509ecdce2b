// Which frames serve which subscriptions, and with which bytes.
#include <gtest/gtest.h>

#include "tests/can_matcher/matcher_fixture.hpp"

namespace tavi::test {
namespace {

constexpr std::uint64_t extended = 0x80000000;
constexpr std::uint32_t group_flag = QOR_OBJECT_PARAMETER_GROUP;
const std::string whole = "7: 8 of 8 at 8";
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
        EXPECT_EQ(matcher.match({7}, package, false), row.matches ? whole : "");
    }
}

TEST(CanMatcher, TellsWhereTheBytesAre) {
    struct row {
        const char* what;
        std::uint8_t kind;
        std::uint32_t offset;
        std::uint64_t extent;
        std::size_t data;
        const char* strict;
        const char* lenient;
    };
    constexpr std::uint8_t object = QOR_TYPE_NODE_OBJECT;
    constexpr std::uint8_t group = QOR_TYPE_NODE_GROUP;
    constexpr std::uint8_t signal = QOR_TYPE_NODE_SIGNAL;
    const row rows[] = {
        {"a message", object, 0, 8, 8, "7: 8 of 8 at 8", "7: 8 of 8 at 8"},
        {"a longer frame", object, 0, 4, 8, "7: 4 of 4 at 8", "7: 4 of 4 at 8"},
        {"a cut message", object, 0, 8, 5, "7: 5 of 8 at 8", "7: 5 of 5 at 8"},
        {"a frame without data", object, 0, 8, 0, "7: 0 of 8 at 8", "7: 0 of 0 at 8"},
        {"a message without data", object, 0, 0, 0, "7: 0 of 0 at 8", "7: 0 of 0 at 8"},
        {"a CAN FD message", object, 0, 64, 64, "7: 64 of 64 at 8", "7: 64 of 64 at 8"},
        {"a signal up to the end", signal, 5, 3, 8, "7: 3 of 3 at 13", "7: 3 of 3 at 13"},
        {"a cut signal", signal, 6, 3, 8, "7: 2 of 3 at 14", ""},
        {"a signal behind the frame", signal, 9, 1, 8, "7: 0 of 1 at 17", ""},
        {"a cut group", group, 6, 4, 8, "7: 2 of 4 at 14", "7: 2 of 2 at 14"},
        {"a group behind the frame", group, 8, 4, 8, "7: 0 of 4 at 16", ""},
    };
    for (const row& row : rows) {
        SCOPED_TRACE(row.what);
        matcher matcher;
        const wanted what{.address = 5, .kind = row.kind, .offset = row.offset, .extent = row.extent};
        ASSERT_EQ(matcher.register_type(7, what), succeeded);
        const test_package package(5, std::vector<std::uint8_t>(row.data, 0xFF));
        EXPECT_EQ(matcher.match({7}, package, false), row.strict);
        EXPECT_EQ(matcher.match({7}, package, true), row.lenient);
    }
}

// What the conditions themselves say is tested in presence_test.cpp.
TEST(CanMatcher, AsksTheSelectorsOfThisFrame) {
    matcher matcher;
    wanted signal{.address = 5, .kind = QOR_TYPE_NODE_SIGNAL, .offset = 1, .extent = 1, .presence = "0:0:4:0:0:S=2"};
    ASSERT_EQ(matcher.register_type(7, signal), succeeded);
    for (const bool lenient : {false, true}) {
        EXPECT_EQ(matcher.match({7}, test_package(5, {0x02, 0}), lenient), "7: 1 of 1 at 9");
        EXPECT_EQ(matcher.match({7}, test_package(5, {0x03, 0}), lenient), "");
    }
    signal.presence = "0:0:4:0:0:S=x";
    EXPECT_EQ(matcher.register_type(8, signal),
              invalid("invalid presence condition '0:0:4:0:0:S=x': expected a number at 13"));
    EXPECT_EQ(matcher.match({8}, test_package(5, {0, 0}), false), "");
}

TEST(CanMatcher, PassesOverPayloadsThatAreNoFrame) {
    matcher matcher;
    ASSERT_EQ(matcher.register_type(7, {.address = 5, .extent = 2}), succeeded);
    const std::pair<std::vector<std::uint8_t>, const char*> rows[] = {
        {{}, ""},
        {{5, 0, 0, 0, 2, 0, 0}, ""},                           // a header cut short
        {{5, 0, 0, 0, 2, 0, 0, 0, 1}, ""},                     // fewer bytes than the length says
        {{5, 0, 0, 0, 255, 0, 0, 0, 1}, ""},                   // no such length
        {{5, 0, 0, 0, 1, 0, 0, 0, 1, 2, 3}, "7: 1 of 2 at 8"}, // what follows the data is not of the frame
    };
    for (const auto& [payload, matches] : rows) {
        EXPECT_EQ(matcher.match({7}, test_package(payload), false), matches);
    }
}

TEST(CanMatcher, KeepsWhatWasAnnouncedUntilItIsWithdrawn) {
    matcher first;
    matcher second;
    const test_package five(5, eight_bytes);
    const test_package six(6, eight_bytes);
    ASSERT_EQ(first.register_type(7, {.address = 5}), succeeded);
    EXPECT_EQ(second.match({7}, five, false), "") << "instances share state";
    EXPECT_EQ(first.match({8}, five, false), "");
    ASSERT_EQ(first.register_type(7, {.address = 6}), succeeded);
    EXPECT_EQ(first.match({7}, five, false), "") << "a second announcement replaces the first";
    EXPECT_EQ(first.match({7}, six, false), whole);
    // Once for each format.
    EXPECT_EQ(first.unregister_type(7), succeeded);
    EXPECT_EQ(first.unregister_type(7), succeeded);
    EXPECT_EQ(first.match({7}, six, false), "");
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
    EXPECT_EQ(matcher.match({7, 8, 9}, test_package(5, eight_bytes), true), "");
    // The last object of a hierarchy is the one that has the address.
    qor_type_node_t inner = object;
    inner.object.address = 6;
    EXPECT_EQ(matcher.register_nodes(10, {view, object, inner}, 6, 8), succeeded);
    EXPECT_EQ(matcher.match({10}, test_package(6, eight_bytes), false), "10: 8 of 8 at 8");
}

TEST(CanMatcher, NamesItsFormats) {
    matcher matcher;
    void* const handle = matcher.plugin.handle();
    const auto& formats = matcher.plugin.table<qor_data_matcher_format_support_t>();
    ASSERT_EQ(formats.get_supported_format_count(handle), 2u);
    const char* names[2] = {};
    ASSERT_EQ(call(formats.get_supported_format, handle, 0u, &names[0]), succeeded);
    ASSERT_EQ(call(formats.get_supported_format, handle, 1u, &names[1]), succeeded);
    EXPECT_EQ(std::string(names[0]) + ' ' + names[1], "can j1939");
    EXPECT_EQ(call(formats.get_supported_format, handle, 2u, &names[0]), invalid("there is no format 2"));
}

} // namespace
} // namespace tavi::test
