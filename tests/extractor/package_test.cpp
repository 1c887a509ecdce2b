// Packages: which subscriptions they serve, and the records that are cut from them or made by processors.
#include <limits>

#include "tests/extractor/extractor_fixture.hpp"

namespace tavi::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace fakes;

constexpr std::uint64_t maximum = std::numeric_limits<std::uint64_t>::max();

// With a matcher that is asked subscription by subscription and with one that is asked at once.
class packages : public extractor_test, public ::testing::WithParamInterface<bool> {
protected:
    packages() : matcher(add_matcher("m", {{"can"}})), box(add_processor("box", {{"raw", 5}, {"can", 6}})) {
        matcher.offers_batch = GetParam();
        add_parser("p", {{"dbc"}, {"sdl"}});
        box.answers = {{"register_type", returns(1)}};
    }
    // Source 0x15#2, with a processor for "raw", and 0x16#2, with one for "can"; `count` subscriptions of each.
    void start_with_subscriptions(int count = 2) {
        start();
        for (const std::uint16_t id : {0x15, 0x16}) {
            ASSERT_EQ(register_descriptions(id, 2, "source" + std::to_string(id), {{"one", "dbc", ""}}), succeeded);
            for (int i = 0; i < count; ++i) {
                subscribe(std::to_string(id) + "#2.View.Plain");
            }
        }
        take({});
    }
    script& matcher;
    script& box;
    const package unit{0x15, 2, "can", "abcdefgh"};
    const package raw{0x15, 2, "raw", ""};
    const package both{0x16, 2, "can", "abc"}; // matcher and processor serve it
};

INSTANTIATE_TEST_SUITE_P(one_by_one_and_at_once, packages, ::testing::Bool());

TEST_P(packages, of_unknown_source_or_format_serve_nobody) {
    start_with_subscriptions();
    for (const package& other : {package(0x15, 1, "can", "x"), package(0x14, 2, "can", "x"),
                                 package(0x15, 2, "Can", "x"), package(0x15, 2, std::string(46, 'f'), "x")}) {
        allocator.callocs.clear();
        EXPECT_THAT(match(other), IsEmpty());
        EXPECT_THAT(process(other), IsEmpty());
        EXPECT_THAT(allocator.callocs, ElementsAre(std::pair(0, 8), std::pair(0, 8)));
    }
    EXPECT_THAT(take({"match", "match_batch", "process"}), IsEmpty());
    const package nameless(9, 9, "", "x");
    const std::string text = "a generic package without format type specifier was received";
    EXPECT_EQ(try_match(nameless), failed(text));
    EXPECT_EQ(try_process(nameless), invalid(text));
    EXPECT_EQ(call(api.has_data_processor, handle, nameless.get(), std::make_unique<bool>().get()), invalid(text));
}

TEST_P(packages, are_matched_once_their_source_is_registered) {
    start();
    const package early(7, 1, "can", "x");
    const char* const signature = "signature 1";
    const std::function<outcome()> registrations[] = {
        [&] { return call(api.register_source_from_signal_storage, handle, 7, 1, "late", &signature, 1); },
        [&] {
            return register_descriptions(7, 1, "late", {{"one", "dbc", ""}});
        },
    };
    for (const auto& register_late : registrations) {
        EXPECT_THAT(match(early), IsEmpty());
        ASSERT_EQ(register_late(), succeeded);
        const std::uint64_t given = subscribe("late.View.Plain");
        matcher.match[given] = {true, 0, 1, 1};
        EXPECT_THAT(match(early), ElementsAre(given));
        ASSERT_EQ(call(api.unregister_sources, handle), succeeded);
    }
}

TEST_P(packages, serve_the_subscriptions_that_the_matcher_names_in_their_order) {
    start_with_subscriptions(3); // 2 to 4 and 5 to 7
    matcher.match = {{4, {true, 1, 2, 2}}, {2, {true, 0, 1, 1}}, {5, {true, 0, 1, 1}}};
    allocator.callocs.clear();
    EXPECT_THAT(match(unit, true), ElementsAre(2u, 4u));
    EXPECT_THAT(allocator.callocs, ElementsAre(std::pair(2, 8)));
    EXPECT_THAT(process(unit), ElementsAre(data_record{2, "a"}, data_record{4, "bc"}));
    const strings one_by_one = {"m.match 2 strict",  "m.match 3 strict",  "m.match 4 strict",
                                "m.match 2 lenient", "m.match 3 lenient", "m.match 4 lenient"};
    const strings at_once = {"m.match_batch strict 2 3 4", "m.match_batch lenient 2 3 4"};
    EXPECT_EQ(take({"match", "match_batch"}), GetParam() ? at_once : one_by_one);
    const std::string function = GetParam() ? "match_batch" : "match/4";
    matcher.answers = {{function, reports(QOR_STATUS_TIMED_OUT, "no time")}};
    EXPECT_EQ(try_match(unit), failed("no time", QOR_STATUS_TIMED_OUT));
    EXPECT_EQ(try_process(unit), failed("no time", QOR_STATUS_TIMED_OUT));
    matcher.answers = {{function, throws_unknown()}};
    EXPECT_EQ(try_process(unit), failed("unknown error"));
}

// The first failure wins, whether it is the plug-in's or that of a package which is too short.
TEST_P(packages, fail_as_subscription_by_subscription) {
    start_with_subscriptions(3); // 2 to 4
    const match_answer fits = {true, 0, 1, 1};
    const match_answer beyond = {true, 7, 2, 2};
    const outcome short_payload = failed("package payload size 8 is less than match size 2 from offset 7");
    const outcome late = failed("no time", QOR_STATUS_TIMED_OUT);
    const std::tuple<match_answer, match_answer, std::uint64_t, outcome> rows[] = {
        {beyond, fits, 3, short_payload}, {beyond, beyond, 4, short_payload},
        {fits, beyond, 4, short_payload}, {fits, fits, 4, late},
        {fits, beyond, 3, late},          {beyond, fits, 2, late},
    };
    for (const auto& [first, second, failing, expected] : rows) {
        matcher.match = {{2, first}, {3, second}, {4, fits}};
        matcher.answers = {{"match/" + std::to_string(failing), reports(QOR_STATUS_TIMED_OUT, "no time")}};
        EXPECT_EQ(try_process(unit), expected) << failing;
        EXPECT_EQ(try_match(unit), late) << failing;
    }
}

using batches = packages;
INSTANTIATE_TEST_SUITE_P(at_once, batches, ::testing::Values(true));

TEST_P(batches, of_a_matcher_that_keeps_sources_apart_come_with_the_source_of_each_subscription) {
    matcher.formats = {{"can"}, {"lin"}};
    start_with_subscriptions(1);
    subscribe("22#2.View.Plain");
    const strings told = {"m.register_type 4 View/Plain at 512 of 8", "m.set_source 4 22#2"};
    EXPECT_THAT(take({"register_type", "set_source"}),
                ElementsAre("box.register_type 4 View/Plain at 0 of 8", told[0], told[1], told[0], told[1]));
    matcher.answers = {{"set_source", reports(QOR_STATUS_TIMED_OUT, "no time")}};
    std::uint64_t given = 0;
    EXPECT_EQ(call(api.subscribe, handle, "22#2.View.Plain", false, &given), failed("no time", QOR_STATUS_TIMED_OUT));
}

TEST_P(batches, with_outcomes_for_other_subscriptions_are_refused) {
    start_with_subscriptions(3); // 2 to 4 of this source, 5 to 7 of another one
    unsubscribe_all();
    for (const char* const url : {"21#2.View.Plain", "22#2.View.Plain", "21#2.View.Plain", "21#2.View.Plain"}) {
        subscribe(url); // 8, 10 and 11 of this source
    }
    const outcome refused = failed("invalid qor_data_matcher_batch_support_t interface, an outcome for a subscription "
                                   "that the call did not name, or out of order");
    const std::pair<std::vector<std::uint64_t>, outcome> rows[] = {
        {{8}, succeeded},     {{10}, succeeded},  {{11}, succeeded},    {{8, 10, 11}, succeeded},
        {{8, 11}, succeeded}, {{2}, refused},     {{7}, refused},       {{9}, refused},
        {{12}, refused},      {{0}, refused},     {{maximum}, refused}, {{8, 8}, refused},
        {{11, 8}, refused},   {{10, 9}, refused}, {{11, 12}, refused},  {{8, 10, 12}, refused}};
    for (const auto& [outcomes, expected] : rows) {
        matcher.outcomes = outcomes;
        EXPECT_EQ(try_match(unit), expected) << ::testing::PrintToString(outcomes);
        EXPECT_EQ(try_process(unit), expected) << ::testing::PrintToString(outcomes);
        EXPECT_THAT(handles, ::testing::ElementsAreArray(expected == succeeded ? outcomes : decltype(handles)()));
    }
    matcher.outcomes = {8};
    matcher.counts["match_batch"] = 4;
    EXPECT_EQ(try_match(unit), failed("invalid qor_data_matcher_batch_support_t interface, more outcomes than "
                                      "subscriptions"));
}

// The matcher says: from `offset` on `size` bytes are there of `expected`. The payload is "abcdefgh".
TEST_P(packages, give_the_bytes_that_the_matcher_names_and_no_others) {
    start_with_subscriptions(1);
    const auto too_short = [](const std::string& what, std::uint64_t size, std::uint64_t offset) {
        return failed("package payload size 8 is less than " + what + " size " + std::to_string(size) +
                      " from offset " + std::to_string(offset));
    };
    // Offset, size and expected size; whether strictly; how it ends and with which bytes.
    using number = std::uint64_t;
    const std::tuple<number, number, number, bool, outcome, std::string> rows[] = {
        {3, 2, 2, true, succeeded, "de"},
        {8, 0, 0, true, succeeded, ""},
        {2, 4, 3, false, succeeded, "cdef"},                   // the match size decides while all fits
        {6, 1, 4, false, succeeded, std::string("gh\0\0", 4)}, // short: room as expected, what is there, zeros
        {8, 0, 3, false, succeeded, std::string(3, '\0')},
        {0, 8, 9, true, too_short("expected", 9, 0), ""},
        {100, 1, 2, true, too_short("expected", 2, 100), ""}, // strict looks at the sizes first
        {7, 2, 2, false, too_short("match", 2, 7), ""},
        {9, 0, 0, false, too_short("match", 0, 9), ""},
        {maximum, 2, 2, false, too_short("match", 2, maximum), ""}, // sums that wrap are beyond the payload
        {2, maximum, 2, false, too_short("match", maximum, 2), ""},
        {maximum, maximum, maximum, true, too_short("match", maximum, maximum), ""},
    };
    for (const auto& [offset, size, expected, strict, result, bytes] : rows) {
        matcher.match[2] = {true, offset, size, expected};
        SCOPED_TRACE(::testing::Message() << offset << ' ' << size << ' ' << expected);
        EXPECT_EQ(try_process(unit, strict), result);
        EXPECT_EQ(records.empty() ? "" : records[0].bytes, bytes);
    }
    // A record that cannot be made: the sum of offset and expected size wraps, so the package is short.
    matcher.match[2] = {true, 4, 0, maximum - 2};
    EXPECT_NE(try_process(unit).status, QOR_STATUS_OK);
}

TEST_P(packages, leave_nothing_when_memory_runs_out) {
    start_with_subscriptions(3);
    matcher.match = {{2, {true, 0, 8, 200}}, {3, {true, 0, 8, 8}}, {4, {true, 0, 8, 200}}}; // short, whole, short
    // Three records of one block each, and the array.
    for (allocator.fail_at = 1; allocator.fail_at <= 4; ++allocator.fail_at) {
        allocator.allocations = 0;
        EXPECT_THAT(*try_process(unit).text,
                    ::testing::AnyOf("memory allocation failed", "failed to allocate 'qor_dynamic_data_t' message"));
        EXPECT_EQ(allocator.alive(), 0u) << allocator.fail_at;
    }
    allocator.fail_at = 0;
    EXPECT_EQ(process(unit).size(), 3u);
    allocator.fail_at = allocator.allocations + 1;
    EXPECT_EQ(try_match(unit), failed("memory allocation failed", QOR_STATUS_OUT_OF_MEMORY));
}

TEST_P(packages, that_a_processor_takes_give_its_records_as_they_are) {
    start_with_subscriptions(); // 2, 3 and 4, 5
    box.records = {{2, {"one", ""}}, {4, {"x4"}}};
    EXPECT_THAT(process(raw), ElementsAre(data_record{1002, "one", 77}, data_record{1002, "", 77}));
    EXPECT_THAT(take({"process"}), ElementsAre("box.process 2", "box.process 3"));
    allocator.frees = 0;
    EXPECT_THAT(process(package(0x15, 2, "raw", "")).size(), 2u);
    EXPECT_EQ(allocator.frees, 5u) << "two arrays of the processor, one of them empty, the result and its records";
    // Both roads: the matcher's records come first.
    matcher.match[4] = {true, 0, 2, 2};
    EXPECT_THAT(process(both), ElementsAre(data_record{4, "ab"}, data_record{1004, "x4", 77}));
    box.answers["process/5"] = reports(QOR_STATUS_INVALID_ARGUMENT, "what is that?");
    EXPECT_EQ(try_process(both), invalid("what is that?"));
    box.answers["process/5"] = throws_unknown();
    EXPECT_EQ(try_process(both), failed("unknown error"));
    // Records that are not there fail the package.
    box.records = {{2, {"ab", std::nullopt, "ef"}}};
    EXPECT_EQ(try_process(raw), invalid("invalid dynamic data state"));
    box.counts_only = true;
    EXPECT_EQ(try_process(raw), invalid("invalid dynamic data state"));
}

} // namespace
} // namespace tavi::test
