// Packages: which subscriptions they serve, and the records that are cut from them or made by processors.
#include "tests/extractor/extractor_fixture.hpp"

#include <limits>

namespace tavi::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace fakes;

constexpr std::uint64_t maximum = std::numeric_limits<std::uint64_t>::max();

class packages : public extractor_test, public ::testing::WithParamInterface<bool> {
protected:
    packages() : matcher(add_matcher("m", {"can"})), box(add_processor("box", {{"raw", 5}, {"can", 6}})) {
        add_parser("p", {{"dbc"}, {"sdl"}});
        box.answers = {{"register_type", returns(1)}};
        matcher.match = [this](std::uint64_t subscription, const qor_package_t&) { return outcomes[subscription]; };
    }
    // Source 0x15#2, with a processor for "raw", and 0x16#2, with one for "can"; `count` subscriptions of each.
    void start_with_subscriptions(int count = 2) {
        start();
        for (const std::uint16_t id : {0x15, 0x16}) {
            ASSERT_EQ(register_descriptions(id, 2, "source" + std::to_string(id), {{"one", "dbc", ""}}), succeeded);
            for (int i = 0; i < count; ++i) {
                subscribe("source" + std::to_string(id) + ".View.Plain");
            }
        }
        take({});
    }
    script& matcher;
    script& box;
    std::map<std::uint64_t, match_answer> outcomes;
    const package unit{0x15, 2, "can", "abcdefgh"};
};

TEST_F(packages, without_a_format_are_refused_even_of_an_unknown_source) {
    start_with_subscriptions();
    const std::string text = "a generic package without format type specifier was received";
    EXPECT_EQ(try_match(package(9, 9, "", "x")), failed(text));
    EXPECT_EQ(try_process(package(9, 9, "", "x")), invalid(text));
}

TEST_F(packages, of_unknown_source_or_format_serve_nobody) {
    start_with_subscriptions();
    matcher.match = [](std::uint64_t, const qor_package_t&) { return match_answer{true}; };
    for (const package& other : {package(0x15, 1, "can", "x"), package(0x14, 2, "can", "x"),
                                 package(0x15, 2, "Can", "x"), package(0x15, 2, std::string(46, 'f'), "x")}) {
        allocator.callocs.clear();
        EXPECT_THAT(match(other), IsEmpty());
        EXPECT_THAT(process(other), IsEmpty());
        EXPECT_THAT(allocator.callocs, ElementsAre(std::pair(0, 8), std::pair(0, 8)));
    }
    EXPECT_THAT(take({"match", "process"}), IsEmpty());
}

TEST_F(packages, serve_the_subscriptions_that_the_matcher_names_in_their_order) {
    start_with_subscriptions(4); // 2 to 5 and 6 to 9
    outcomes[5] = outcomes[3] = {true, 0, 1, 1};
    allocator.callocs.clear();
    EXPECT_THAT(match(unit, true), ElementsAre(3u, 5u));
    EXPECT_THAT(allocator.callocs, ElementsAre(std::pair(2, 8)));
    EXPECT_THAT(take({"match"}),
                ElementsAre("m.match 2 strict", "m.match 3 strict", "m.match 4 strict", "m.match 5 strict"));
    EXPECT_THAT(process(unit), ElementsAre(data_record{3, "a"}, data_record{5, "a"}));
    EXPECT_THAT(take({"match"}), ::testing::Each(::testing::EndsWith(" lenient")));
    matcher.answers = {{"match/5", reports(QOR_STATUS_TIMED_OUT, "no time")}};
    EXPECT_EQ(try_match(unit), failed("no time", QOR_STATUS_TIMED_OUT));
    EXPECT_EQ(try_process(unit), failed("no time", QOR_STATUS_TIMED_OUT));
    matcher.answers = {{"match/5", throws_unknown()}};
    EXPECT_EQ(try_process(unit), failed("unknown error"));
}

TEST_F(packages, are_matched_in_one_call_where_the_matcher_can) {
    matcher.offers_batch = true;
    start_with_subscriptions(3);
    outcomes[4] = {true, 1, 2, 2};
    outcomes[2] = {true, 0, 1, 1};
    EXPECT_THAT(match(unit, true), ElementsAre(2u, 4u));
    EXPECT_THAT(process(unit), ElementsAre(data_record{2, "a"}, data_record{4, "bc"}));
    EXPECT_THAT(take({"match", "match_batch"}),
                ElementsAre("m.match_batch strict 2 3 4", "m.match_batch lenient 2 3 4"));
    matcher.answers = {{"match_batch", reports(QOR_STATUS_FILE_EXISTS, "again?")}};
    EXPECT_EQ(try_match(unit), failed("again?", QOR_STATUS_FILE_EXISTS));
    EXPECT_EQ(try_process(unit), failed("again?", QOR_STATUS_FILE_EXISTS));
}

TEST_F(packages, need_the_slots_of_matcher_and_processor) {
    matcher.missing = {"match"};
    box.missing = {"process"};
    start_with_subscriptions();
    const auto refused = failed("invalid qor_data_matcher_support_t interface, missing 'match' function");
    EXPECT_EQ(try_match(unit), refused);
    EXPECT_EQ(try_process(unit), refused);
    EXPECT_EQ(try_process(package(0x15, 2, "raw", "")),
              failed("invalid qor_data_processor_support_t interface, missing 'process' function"));
}

// The matcher says: from `offset` on `size` bytes are there of `expected`. The payload is "abcdefgh".
TEST_P(packages, give_the_bytes_that_the_matcher_names_and_no_others) {
    const bool batch = GetParam();
    matcher.offers_batch = batch;
    start_with_subscriptions(1);
    const auto too_far = [](std::uint64_t size, std::uint64_t offset) {
        return failed("package payload size 8 is less than match size " + std::to_string(size) + " from offset " +
                      std::to_string(offset));
    };
    const auto differs = [](std::uint64_t expected, std::uint64_t offset) {
        return failed("package payload size 8 is less than expected size " + std::to_string(expected) +
                      " from offset " + std::to_string(offset));
    };
    const struct {
        std::uint64_t offset, size, expected;
        bool strict;
        outcome result;
        std::string bytes;
    } rows[] = {
        {0, 8, 8, true, succeeded, "abcdefgh"},
        {3, 2, 2, true, succeeded, "de"},
        {6, 2, 2, false, succeeded, "gh"},
        {8, 0, 0, true, succeeded, ""},
        {0, 0, 0, false, succeeded, ""},
        {2, 4, 3, false, succeeded, "cdef"}, // the match size decides while all fits
        {2, 3, 4, false, succeeded, "cde"},
        {6, 1, 4, false, succeeded, std::string("gh\0\0", 4)}, // short: room as expected, what is there, zeros
        {8, 0, 3, false, succeeded, std::string(3, '\0')},
        {0, 2, 100, false, succeeded, "abcdefgh" + std::string(92, '\0')},
        {0, 8, 9, true, differs(9, 0), ""},
        {2, 4, 3, true, differs(3, 2), ""}, // strict looks at the sizes first, whatever the payload holds
        {100, 1, 2, true, differs(2, 100), ""},
        {7, 2, 2, true, too_far(2, 7), ""},
        {7, 2, 2, false, too_far(2, 7), ""},
        {9, 0, 0, false, too_far(0, 9), ""},
        {0, maximum, maximum, true, too_far(maximum, 0), ""},
        {maximum, 2, 2, false, too_far(2, maximum), ""}, // sums that wrap are beyond the payload
        {2, maximum, 2, false, too_far(maximum, 2), ""},
        {maximum, maximum, maximum, true, too_far(maximum, maximum), ""},
        {1, maximum, 0, false, too_far(maximum, 1), ""},
    };
    for (const auto& row : rows) {
        outcomes[2] = {true, row.offset, row.size, row.expected};
        SCOPED_TRACE(::testing::Message() << row.offset << ' ' << row.size << ' ' << row.expected);
        EXPECT_EQ(try_process(unit, row.strict), row.result);
        if (row.result == succeeded) {
            EXPECT_THAT(process(unit, row.strict), ElementsAre(data_record{2, row.bytes}));
        }
        EXPECT_EQ(allocator.alive(), 0u);
    }
    // A record that cannot be made: the sum of offset and expected size wraps, so the package is short.
    outcomes[2] = {true, 4, 0, maximum - 2};
    EXPECT_NE(try_process(unit).status, QOR_STATUS_OK);
}

INSTANTIATE_TEST_SUITE_P(one_by_one_and_at_once, packages, ::testing::Bool());

TEST_F(packages, leave_nothing_when_memory_runs_out) {
    start_with_subscriptions(3);
    outcomes[2] = outcomes[3] = outcomes[4] = {true, 0, 8, 200}; // short
    outcomes[3] = {true, 0, 8, 8};
    outcome result;
    int failures = 0;
    for (allocator.fail_at = 1; failures < 100; ++allocator.fail_at, ++failures) {
        allocator.allocations = 0;
        result = try_process(unit);
        EXPECT_EQ(allocator.alive(), 0u) << allocator.fail_at;
        if (result == succeeded) {
            break;
        }
        EXPECT_THAT(result.status, ::testing::AnyOf(QOR_STATUS_OUT_OF_MEMORY, QOR_STATUS_FAILURE));
        EXPECT_THAT(*result.text,
                    ::testing::AnyOf("memory allocation failed", "failed to allocate 'qor_dynamic_data_t' message"));
    }
    EXPECT_EQ(failures, 4) << "three records of one block each, and the array";
    allocator.fail_at = 1;
    allocator.allocations = 0;
    EXPECT_EQ(try_match(unit), failed("memory allocation failed", QOR_STATUS_OUT_OF_MEMORY));
}

TEST_F(packages, that_a_processor_takes_give_its_records_as_they_are) {
    start_with_subscriptions(); // 2, 3 and 4, 5
    box.process = [](std::uint64_t subscription) {
        return subscription == 2 ? strings{"one", ""} : strings{"x" + std::to_string(subscription)};
    };
    EXPECT_THAT(process(package(0x15, 2, "raw", "")),
                ElementsAre(data_record{1002, "one", 77}, data_record{1002, "", 77}, data_record{1003, "x3", 77}));
    EXPECT_THAT(take({"process"}), ElementsAre("box.process 2", "box.process 3"));
    // Both roads: the matcher's records come first.
    outcomes[4] = {true, 0, 2, 2};
    EXPECT_THAT(process(package(0x16, 2, "can", "abc")),
                ElementsAre(data_record{4, "ab"}, data_record{1004, "x4", 77}, data_record{1005, "x5", 77}));
    box.answers["process/5"] = reports(QOR_STATUS_INVALID_ARGUMENT, "what is that?");
    EXPECT_EQ(try_process(package(0x16, 2, "can", "abc")), invalid("what is that?"));
    box.answers["process/5"] = throws_unknown();
    EXPECT_EQ(try_process(package(0x16, 2, "can", "abc")), failed("unknown error"));
}

TEST_F(packages, free_a_processors_array_also_when_it_is_empty) {
    start_with_subscriptions(1);
    for (const bool null_array : {false, true}) {
        box.null_array_when_empty = null_array;
        allocator.frees = 0;
        EXPECT_THAT(process(package(0x15, 2, "raw", "")), IsEmpty());
        EXPECT_EQ(allocator.frees, 2u); // the processor's array and, by the test, the result
    }
}

} // namespace
} // namespace tavi::test
