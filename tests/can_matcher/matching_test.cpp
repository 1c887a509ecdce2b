// Which frames serve which subscriptions, and with which bytes.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <span>

#include "qorc/extensibility/data_matcher.h"
#include "qorcpp/can_frame.hpp"
#include "tests/support/loaded_plugin.hpp"
#include "tests/support/nodes_of.hpp"
#include "tests/support/outcome.hpp"

namespace tavi::test {
namespace {

using byte_list = std::vector<std::uint8_t>;

// What one subscription of the tests names.
struct wanted {
    std::uint64_t address = 0;
    std::uint32_t flags = 0;
    std::uint8_t kind = QOR_TYPE_NODE_OBJECT;
    std::uint32_t offset = 0; // of a group or signal in its object
    std::uint64_t extent = 8;
    const char* presence = nullptr;
    const char* group_ids = nullptr;
};

// A package with any bytes as payload; nothing stands behind them, so that the sanitizer sees every byte too many.
byte_list package_of(const byte_list& payload, const std::string& format = "can", std::uint16_t source_id = 0) {
    qor_package_t header{};
    header.source_id = source_id;
    header.instance = 2;
    std::memcpy(header.format_type, format.c_str(), format.size() + 1);
    header.payload_size = payload.size();
    byte_list bytes(sizeof header + payload.size());
    std::memcpy(bytes.data(), &header, sizeof header);
    std::copy(payload.begin(), payload.end(), bytes.begin() + sizeof header);
    return bytes;
}
// A frame; the length is that of the data.
byte_list package_of(std::uint32_t id, const byte_list& data, const std::string& format = "can",
                     std::uint16_t source_id = 0) {
    byte_list payload(qor::can_header_size);
    qor::write_can_header(payload.data(), id, static_cast<std::uint8_t>(data.size()), 0);
    payload.insert(payload.end(), data.begin(), data.end());
    return package_of(payload, format, source_id);
}

class matcher {
public:
    // The nodes are gone behind the call, so that the sanitizer sees a matcher that goes on reading them.
    outcome register_nodes(std::uint64_t handle, nodes_of nodes, std::uint64_t position, std::uint64_t extent) {
        const auto hierarchy = nodes.sequence();
        return call(support.register_type, plugin.instance(), handle, "{}", &hierarchy, position, extent);
    }
    outcome register_type(std::uint64_t handle, const wanted& what) {
        nodes_of list("view 1 0 V; object 2 1 O; group 3 2 G");
        auto& nodes = list.nodes();
        nodes.resize(what.kind == QOR_TYPE_NODE_OBJECT ? 2 : 3);
        nodes[1].object.address = what.address;
        nodes[1].object.flags = what.flags;
        const std::string group_ids = what.group_ids != nullptr ? what.group_ids : "";
        nodes[1].group_ids = what.group_ids != nullptr ? group_ids.c_str() : nullptr;
        nodes.back().kind = what.kind;
        const std::string presence = what.presence != nullptr ? what.presence : "";
        nodes.back().signal.presence = what.presence != nullptr ? presence.c_str() : nullptr;
        return register_nodes(handle, std::move(list), what.address + what.offset, what.extent);
    }
    outcome set_source(std::uint64_t handle, std::uint16_t source_id) {
        return call(sources.set_source, plugin.instance(), handle, source_id, 2);
    }
    outcome unregister_type(std::uint64_t handle) { return call(support.unregister_type, plugin.instance(), handle); }

    // "HANDLE: SIZE of EXPECTED_SIZE at OFFSET" for each subscription that matches, joined by ", ". Fails the test when
    // one call for all says something else than a call for each.
    std::string match(const std::vector<std::uint64_t>& handles, const byte_list& bytes, bool lenient) {
        const auto* const package = reinterpret_cast<const qor_package_t*>(bytes.data());
        std::vector<qor_match_outcome_t> single, all(handles.size());
        for (const std::uint64_t handle : handles) {
            bool matched = false;
            qor_match_outcome_t match{handle, 0, 0, 0};
            EXPECT_EQ(call(support.match, plugin.instance(), handle, package, lenient, &matched, &match.offset,
                           &match.size, &match.expected_size),
                      succeeded);
            if (matched) {
                single.push_back(match);
            }
        }
        std::size_t count = 99;
        EXPECT_EQ(call(batch.match_batch, plugin.instance(), package, handles.data(), handles.size(), lenient,
                       all.data(), &count),
                  succeeded);
        all.resize(count);
        EXPECT_EQ(text_of(all), text_of(single));
        return text_of(all);
    }

    loaded_plugin plugin{"qor_can_matcher", "data-matcher"};
    qor_data_matcher_support_t support = plugin.table<qor_data_matcher_support_t>();
    qor_data_matcher_batch_support_t batch = plugin.table<qor_data_matcher_batch_support_t>();
    qor_data_matcher_source_support_t sources = plugin.table<qor_data_matcher_source_support_t>();

private:
    static std::string text_of(const std::vector<qor_match_outcome_t>& matches) {
        std::string text;
        for (const auto& [handle, offset, size, expected] : matches) {
            text += (text.empty() ? "" : ", ") + std::to_string(handle) + ": " + std::to_string(size) + " of " +
                    std::to_string(expected) + " at " + std::to_string(offset);
        }
        return text;
    }
};

constexpr std::uint64_t extended = 0x80000000;
constexpr std::uint32_t group_flag = QOR_OBJECT_PARAMETER_GROUP;
constexpr std::uint8_t object = QOR_TYPE_NODE_OBJECT, group = QOR_TYPE_NODE_GROUP, signal = QOR_TYPE_NODE_SIGNAL;
const std::string whole = "7: 8 of 8 at 8";
const byte_list eight_bytes = {0, 1, 2, 3, 4, 5, 6, 7};

TEST(CanMatcher, KnowsAMessageByItsIdOrParameterGroup) {
    // What it shows; address and flags of the object; format and id of the frame; whether it matches.
    const std::tuple<const char*, std::uint64_t, std::uint32_t, const char*, std::uint32_t, bool> rows[] = {
        {"the same id", 0x0C0, 0, "can", 0x0C0, true},
        {"another id", 0x0C0, 0, "can", 0x0C1, false},
        {"the same number with 29 bits", 0x0C0, 0, "can", 0x800000C0, false},
        {"29 bits", extended | 0x0C0, 0, "can", 0x800000C0, true},
        {"29 bits against 11", extended | 0x0C0, 0, "can", 0x0C0, false},
        {"an id above 11 bits without the flag", 0x1234, 0, "can", 0x1234, true},
        {"remote", 0x0C0, 0, "can", 0x400000C0, false},
        {"error", 0x0C0, 0, "can", 0x200000C0, false},
        {"an address with the remote bit", 0x400000C0, 0, "can", 0x400000C0, false},
        {"a memory address", 0x1000000C0, 0, "can", 0x0C0, false},
        {"unmarked, other source", extended | 0x18FEF100, 0, "can", 0x98FEF121, false},
        {"marked PDU2, other priority and source", extended | 0x18FEF100, group_flag, "can", 0x8CFEF121, true},
        {"marked PDU2, other group extension", extended | 0x18FEF100, group_flag, "can", 0x98FEF221, false},
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
    for (const auto& [what, address, flags, format, frame, matches] : rows) {
        matcher matcher;
        ASSERT_EQ(matcher.register_type(7, {.address = address, .flags = flags}), succeeded);
        const byte_list package = package_of(frame, eight_bytes, format);
        EXPECT_EQ(matcher.match({7}, package, false), matches ? whole : "") << what;
    }
}

// A frame whose id another message of the description has is of that message, whether that is subscribed to or not.
TEST(CanMatcher, GivesAGroupTheIdsThatNoOtherMessageHas) {
    constexpr std::uint32_t a = 0x98FEF100, b = 0x98FEF121, c = 0x8CFEF1FE, other = 0x98FEF142;
    // The description of a, b and c, in this order, as its nodes have it: all marked, none, b and c alone.
    const wanted marked[] = {{.address = a, .flags = group_flag, .group_ids = "2365518334,2566844705"},
                             {.address = b, .flags = QOR_OBJECT_ID_ALONE},
                             {.address = c, .flags = QOR_OBJECT_ID_ALONE}};
    const wanted unmarked[] = {{.address = a, .group_ids = "2365518334,2566844705"}, marked[1], marked[2]};
    const wanted second[] = {
        unmarked[0],
        {.address = b, .flags = group_flag | QOR_OBJECT_ID_ALONE, .group_ids = "2365518334,2566844672"},
        marked[2]};
    // Handles 1, 2 and 3 are a, b and c. For each format: what frames a, b, c and one of another id match.
    const std::tuple<const char*, std::span<const wanted>, std::vector<std::uint64_t>, std::string, std::string>
        rows[] = {
            {"all marked", marked, {1, 2, 3}, "1 2 3 1", "1 2 3 1"},
            {"the first alone", marked, {1}, "1 - - 1", "1 - - 1"},
            {"the others alone", marked, {2, 3}, "- 2 3 -", "- 2 3 -"},
            {"none marked", unmarked, {1, 2, 3}, "1 2 3 -", "1 2 3 1"},
            {"the first alone, unmarked", unmarked, {1}, "1 - - -", "1 - - 1"},
            {"the second marked", second, {1, 2, 3}, "1 2 3 2", "1 2 3 1"},
            {"the second alone, marked", second, {2}, "- 2 - 2", "- 2 - -"},
        };
    for (const auto& [what, description, handles, can, j1939] : rows) {
        matcher matcher;
        for (const std::uint64_t handle : handles) {
            ASSERT_EQ(matcher.register_type(handle, description[handle - 1]), succeeded);
        }
        for (const auto& [format, expected] : {std::pair{"can", can}, std::pair{"j1939", j1939}}) {
            std::string found;
            for (const std::uint32_t frame : {a, b, c, other}) {
                const std::string match = matcher.match(handles, package_of(frame, eight_bytes, format), true);
                found += (found.empty() ? "" : " ") + (match.empty() ? "-" : match.substr(0, match.find(": 8 of 8")));
            }
            EXPECT_EQ(found, expected) << what << ", " << format;
        }
    }
}

// Catalogues made before there were lists of ids have none: there the group is all.
TEST(CanMatcher, TakesTheWholeGroupWithoutAListOfIds) {
    matcher matcher;
    for (const std::uint64_t handle : {1, 2}) {
        const std::uint64_t address = handle == 1 ? extended | 0x18FEF100 : extended | 0x18FEF121;
        ASSERT_EQ(matcher.register_type(handle, {.address = address, .flags = group_flag, .extent = 1}), succeeded);
    }
    for (const std::uint32_t frame : {0x98FEF100u, 0x98FEF121u, 0x98FEF142u}) {
        EXPECT_EQ(matcher.match({1, 2}, package_of(frame, {0}), false), "1: 1 of 1 at 8, 2: 1 of 1 at 8");
    }
}

TEST(CanMatcher, RefusesAListThatIsNoneOfIds) {
    const std::pair<const char*, int> rows[] = {{"x", 1},   {",", 1},   {"5,", 1},         {"5,,6", 3},
                                                {"5 6", 1}, {"6,5", 3}, {"4294967296", 1}, {"-1", 1}};
    for (const auto& [ids, place] : rows) {
        matcher matcher;
        EXPECT_EQ(
            matcher.register_type(7, {.address = extended, .group_ids = ids}),
            invalid("invalid list of ids '" + std::string(ids) + "': expected an id at " + std::to_string(place)));
        EXPECT_EQ(matcher.register_type(8, {.address = 5, .group_ids = ids}), succeeded) << "11 bits have no group";
    }
}

TEST(CanMatcher, TellsWhereTheBytesAre) {
    // Name, kind, offset and extent of a node; bytes of data; what matches strictly and leniently.
    const std::tuple<const char*, std::uint8_t, std::uint32_t, std::uint64_t, std::size_t, const char*, const char*>
        rows[] = {
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
    for (const auto& [name, kind, offset, extent, data, strict, lenient] : rows) {
        matcher matcher;
        const wanted what{.address = 5, .kind = kind, .offset = offset, .extent = extent};
        ASSERT_EQ(matcher.register_type(7, what), succeeded);
        const byte_list package = package_of(5, byte_list(data, 0xFF));
        EXPECT_EQ(matcher.match({7}, package, false), strict) << name;
        EXPECT_EQ(matcher.match({7}, package, true), lenient) << name;
    }
}

// What the conditions themselves say is tested in presence_test.cpp.
TEST(CanMatcher, AsksTheSelectorsOfThisFrame) {
    matcher matcher;
    wanted selected{.address = 5, .kind = signal, .offset = 1, .extent = 1, .presence = "0:0:4:0:0:S=2"};
    ASSERT_EQ(matcher.register_type(7, selected), succeeded);
    for (const bool lenient : {false, true}) {
        EXPECT_EQ(matcher.match({7}, package_of(5, {0x02, 0}), lenient), "7: 1 of 1 at 9");
        EXPECT_EQ(matcher.match({7}, package_of(5, {0x03, 0}), lenient), "");
    }
    selected.presence = "0:0:4:0:0:S=x";
    EXPECT_EQ(matcher.register_type(8, selected),
              invalid("invalid presence condition '0:0:4:0:0:S=x': expected a number at 13"));
    EXPECT_EQ(matcher.match({8}, package_of(5, {0, 0}), false), "");
}

TEST(CanMatcher, PassesOverPayloadsThatAreNoFrame) {
    matcher matcher;
    ASSERT_EQ(matcher.register_type(7, {.address = 5, .extent = 2}), succeeded);
    const std::pair<byte_list, const char*> rows[] = {
        {{}, ""},
        {{5, 0, 0, 0, 2, 0, 0}, ""},                           // a header cut short
        {{5, 0, 0, 0, 2, 0, 0, 0, 1}, ""},                     // fewer bytes than the length says
        {{5, 0, 0, 0, 255, 0, 0, 0, 1}, ""},                   // no such length
        {{5, 0, 0, 0, 1, 0, 0, 0, 1, 2, 3}, "7: 1 of 2 at 8"}, // what follows the data is not of the frame
    };
    for (const auto& [payload, matches] : rows) {
        EXPECT_EQ(matcher.match({7}, package_of(payload), false), matches);
    }
}

TEST(CanMatcher, KeepsWhatWasAnnouncedUntilItIsWithdrawn) {
    matcher first, second;
    const byte_list five = package_of(5, eight_bytes), six = package_of(6, eight_bytes);
    ASSERT_EQ(first.register_type(7, {.address = 5}), succeeded);
    EXPECT_EQ(second.match({7}, five, false), "") << "instances share state";
    ASSERT_EQ(first.register_type(7, {.address = 6}), succeeded);
    EXPECT_EQ(first.match({7}, five, false), "") << "a second announcement replaces the first";
    EXPECT_EQ(first.match({7}, six, false), whole);
    EXPECT_EQ(first.match({}, six, false), "") << "a batch of nothing needs no places";
    EXPECT_EQ(first.unregister_type(7), succeeded);
    EXPECT_EQ(first.unregister_type(7), succeeded) << "once for each format";
    EXPECT_EQ(first.match({7}, six, false), "");
}

TEST(CanMatcher, LeavesOtherKindsOfDescriptionsAlone) {
    matcher matcher;
    EXPECT_EQ(matcher.register_nodes(7, "view 1 0 V", 0, 0), succeeded);
    EXPECT_EQ(matcher.register_nodes(8, "", 5, 8), succeeded);
    EXPECT_EQ(matcher.register_nodes(9, "object 1 0 O 5", UINT64_MAX, 8), succeeded);
    EXPECT_EQ(matcher.register_nodes(10, "object 1 0 O 5", 4, 8), succeeded); // begins before its object
    EXPECT_EQ(matcher.match({7, 8, 9, 10}, package_of(5, eight_bytes), true), "");
    // The last object of a hierarchy is the one that has the address.
    EXPECT_EQ(matcher.register_nodes(7, "view 1 0 V; object 2 1 O 5; object 3 2 P 6", 6, 8), succeeded);
    EXPECT_EQ(matcher.match({7}, package_of(6, eight_bytes), false), whole);
}

// Random traffic of few ids, which collide as whole ids or as parameter groups: the batch has to say what the single
// calls say, also of handles that are of another source, were never announced or are withdrawn. The host of every other
// round names the sources.
TEST(CanMatcher, ABatchEqualsTheSingleCalls) {
    static constexpr std::uint32_t ids[] = {0x0C0,      0x0C1,      0x1FFFFFFF, 0x800000C0, 0x98FEF100,
                                            0x98FEF121, 0x8CFEF100, 0x98EF0500, 0x98EF7733, 0x9AFEF100};
    static constexpr const char* lists[] = {nullptr, nullptr, "2566844705", "2365518080,2566844672,2599350528"};
    static constexpr const char* presences[] = {nullptr, nullptr, "0:0:2:0:0:S=1", "1:4:4:0:1:S=-8--1,3"};
    std::mt19937 random(1);
    const auto below = [&](std::uint32_t end) { return static_cast<std::uint32_t>(random() % end); };
    const auto subscription = [&] {
        wanted result{.address = ids[below(std::size(ids))], .flags = below(4)};
        result.group_ids = lists[below(std::size(lists))];
        result.kind = static_cast<std::uint8_t>(object + below(3));
        result.offset = result.kind == object ? 0 : below(6);
        result.extent = below(9);
        result.presence = result.kind == signal ? presences[below(std::size(presences))] : nullptr;
        return result;
    };
    std::size_t matched[] = {0, 0};
    for (unsigned round = 0; round < 60; ++round) {
        matcher matcher;
        const std::uint32_t last = 1 + below(round % 3 == 0 ? 4 : 150);
        std::vector<std::uint64_t> sources[3];
        std::vector<std::uint16_t> source_of(last + 1);
        const auto announce = [&](std::uint64_t handle) {
            const outcome announced = matcher.register_type(handle, subscription());
            return round % 2 == 0 ? announced : matcher.set_source(handle, source_of[handle]);
        };
        for (std::uint64_t handle = 1; handle <= last; ++handle) {
            source_of[handle] = static_cast<std::uint16_t>(std::max(below(5), 2u) - 2);
            if (below(8) != 0) {
                ASSERT_EQ(announce(handle), succeeded);
            }
            sources[source_of[handle]].push_back(handle);
        }
        for (int i = 0; i < 100 && !testing::Test::HasFailure(); ++i) {
            if (const std::uint64_t handle = 1 + below(last); i % 10 == 9) {
                ASSERT_EQ(i % 20 == 9 ? matcher.unregister_type(handle) : announce(handle), succeeded);
            }
            byte_list data(below(10));
            std::generate(data.begin(), data.end(), [&] { return static_cast<std::uint8_t>(below(256)); });
            const std::uint32_t flags = below(20) == 0 ? qor::can_remote_bit : 0;
            const auto source = static_cast<std::uint16_t>(below(3));
            const byte_list package =
                package_of(ids[below(std::size(ids))] | flags, data, below(2) == 0 ? "can" : "j1939", source);
            std::vector<std::uint64_t>& handles = sources[source];
            if (i % 10 == 0 && !handles.empty()) {
                handles.erase(handles.begin() + below(static_cast<std::uint32_t>(handles.size())));
            }
            matched[round % 2] += !matcher.match(handles, package, below(2) == 0).empty();
        }
    }
    EXPECT_GT(std::min(matched[0], matched[1]), 1'000u) << "too few frames met a subscription";
}

} // namespace
} // namespace tavi::test
