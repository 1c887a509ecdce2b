// Plug-ins and allocators that call the extractor back on the thread on which they were called: what becomes of the
// call from which they do.
#include <chrono>
#include <future>

#include "tests/extractor/call_back_fixture.hpp"

namespace tavi::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsSupersetOf;

// With a matcher that is asked subscription by subscription and with one that is asked at once.
class call_backs : public call_back_test, public ::testing::WithParamInterface<bool> {
protected:
    call_backs() { matcher.offers_batch = GetParam(); }
};

INSTANTIATE_TEST_SUITE_P(one_by_one_and_at_once, call_backs, ::testing::Bool());

TEST_P(call_backs, leave_a_package_the_subscriptions_it_came_to) {
    // What is called back, how many subscriptions there are then, and how many the next package meets.
    const std::tuple<std::string, std::function<void()>, std::size_t, std::size_t> changes[] = {
        {"subscribe", [&] { subscribe_all(100); }, 103, 103},
        {"unsubscribe", [&] { call(api.unsubscribe, handle, issued[1]); }, 2, 3},
        {"unsubscribe_all", [&] { call(api.unsubscribe_all, handle); }, 0, 0},
        {"unsubscribe_all, subscribe", [&] { call(api.unsubscribe_all, handle), subscribe_all(1); }, 1, 1},
        {"unregister_sources", [&] { call(api.unregister_sources, handle); }, 0, 0},
        {"unregister_sources, register",
         [&] { call(api.unregister_sources, handle), register_engine(), subscribe_all(2); }, 2, 2},
        {"register",
         [&] {
             add_processor("box2", {{"raw", 5}, {"can", 5}}), register_engine();
         },
         3, 3},
        {"process", [&] { EXPECT_EQ(process(can).size(), 3u); }, 3, 3},
    };
    const strings places = {"match", "process", "process raw", "match's allocator", "process's allocator"};
    for (const auto& [name, change, left, next] : changes) {
        for (const std::string& place : places) {
            SCOPED_TRACE(name + " in " + place);
            start_with_subscriptions(3);
            const handle_list before = issued;
            if (place.ends_with("allocator")) {
                once(allocator.call_back, change);
            } else {
                once(place.ends_with("raw") ? box : matcher, place.ends_with("raw") ? "process" : match_function(),
                     change);
            }
            if (place.starts_with("match")) {
                EXPECT_THAT(match(can), ElementsAreArray(before));
            } else {
                process(place.ends_with("raw") ? raw : can);
                handle_list found;
                for (const data_record& record : records) {
                    found.push_back(record.handle - (record.declared_size == 77 ? 1000 : 0)); // see the fake
                }
                EXPECT_THAT(found, ElementsAreArray(before));
            }
            EXPECT_EQ(count(), left);
            EXPECT_EQ(match(can).size(), next);
            std::filesystem::remove(directory.path() / "libbox2.so");
        }
    }
}

// The second of three subscriptions is ended, then all of them, while the matcher is told of the end of the first.
TEST_P(call_backs, end_and_begin_subscriptions_while_others_end) {
    const std::tuple<std::string, std::function<outcome()>> ends[] = {
        {"unsubscribe", [&] { return call(api.unsubscribe, handle, issued[0]); }},
        {"unsubscribe_all", [&] { return call(api.unsubscribe_all, handle); }},
        {"unregister_sources", [&] { return call(api.unregister_sources, handle); }},
    };
    // What is called back, and how many subscriptions there are after each of the three.
    const std::tuple<std::string, std::function<void()>, std::array<std::size_t, 3>> changes[] = {
        {"unsubscribe", [&] { call(api.unsubscribe, handle, issued[1]); }, {1, 0, 0}},
        {"unsubscribe_all", [&] { call(api.unsubscribe_all, handle); }, {0, 0, 0}},
        {"unregister_sources", [&] { call(api.unregister_sources, handle); }, {0, 0, 0}},
        {"subscribe", [&] { subscribe_all(40); }, {42, 40, 0}},
        {"register elsewhere",
         [&] {
             for (std::uint32_t instance = 100; instance < 140; ++instance) {
                 EXPECT_EQ(register_descriptions(0x25, instance, "s" + std::to_string(instance), {}), succeeded);
             }
         },
         {2, 0, 0}},
    };
    for (const bool in_processor : {false, true}) {
        for (const auto& [name, change, left] : changes) {
            for (std::size_t which = 0; which < std::size(ends); ++which) {
                const auto& [end_name, end] = ends[which];
                SCOPED_TRACE(name + " in " + end_name + (in_processor ? ", of the processor" : ", of the matcher"));
                start_with_subscriptions(3);
                const handle_list before = issued;
                once(in_processor ? box : matcher, "unregister_type", change);
                EXPECT_EQ(end(), succeeded);
                EXPECT_EQ(count(), left[which]);
                strings told;
                for (const std::uint64_t ended : before) {
                    told.push_back("m.unregister_type " + std::to_string(ended));
                }
                if (which != 0) {
                    EXPECT_THAT(take({"unregister_type"}), IsSupersetOf(told));
                    EXPECT_EQ(match(can).size(), left[which]);
                }
            }
        }
    }
}

TEST_P(call_backs, keep_the_order_of_subscriptions_that_meet) {
    start_with_subscriptions(2);
    once(matcher, "register_type", [&] { subscribe_all(3); });
    const std::uint64_t outer = subscribe("engine.View.Plain");
    issue(outer);
    std::sort(issued.begin(), issued.end());
    EXPECT_EQ(outer, issued[2]);
    EXPECT_THAT(match(can), ElementsAreArray(issued));
    // The same beneath a package that reads the list.
    const handle_list before = issued;
    once(matcher, match_function(), [&] {
        once(matcher, "register_type", [&] { subscribe_all(2); });
        subscribe_all(1);
    });
    EXPECT_THAT(match(can), ElementsAreArray(before));
    std::sort(issued.begin(), issued.end());
    EXPECT_THAT(match(can), ElementsAreArray(issued));
}

TEST_P(call_backs, that_forget_the_source_fail_its_subscription) {
    for (const auto& [who, function] : {std::pair(&storage(), "find_node"), std::pair(&storage(), "get_node_hierarchy"),
                                        std::pair(&matcher, "register_type"), std::pair(&box, "register_type")}) {
        SCOPED_TRACE(function);
        start_with_subscriptions(1);
        once(*who, function, [&] { EXPECT_EQ(call(api.unregister_sources, handle), succeeded); });
        std::uint64_t given = 0;
        EXPECT_EQ(call(api.subscribe, handle, "engine.View.Plain", false, &given).text,
                  "the data source identified with name 'engine' was not found");
        EXPECT_EQ(count(), 0u);
        register_engine();
        subscribe_all(1);
        EXPECT_THAT(match(can), ElementsAre(issued.back()));
    }
}

TEST_P(call_backs, bind_a_library_to_a_source_once) {
    start();
    once(box, "bind", [&] { register_engine(); });
    register_engine();
    EXPECT_THAT(take({"bind"}), ElementsAre("box.bind engine instance=2 of 1", "box.bind engine instance=2 of 1"));
    subscribe_all(1);
    EXPECT_EQ(process(raw).size(), 1u);
}

// Such an allocator may wait for another thread that calls the extractor.
TEST_P(call_backs, of_the_allocator_for_the_result_come_without_the_lock) {
    start_with_subscriptions(2);
    std::size_t records_left = 0;
    std::vector<std::future<std::size_t>> others;
    allocator.call_back = [&] {
        if (records_left-- == 0) {
            others.push_back(std::async(std::launch::async, [&] { return count(); }));
            EXPECT_EQ(others.back().wait_for(std::chrono::minutes(1)), std::future_status::ready);
        }
    };
    EXPECT_EQ(match(can).size(), 2u);
    records_left = 2;
    EXPECT_EQ(process(can).size(), 2u);
    EXPECT_EQ(others.size(), 2u);
}

} // namespace
} // namespace tavi::test
