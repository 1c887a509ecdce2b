// Calls on one extractor and on a second beside it from many threads at once.
#include <thread>

#include "tests/extractor/extractor_fixture.hpp"

namespace tavi::test {
namespace {

class threads : public extractor_test {
protected:
    qor_tavi_extractor_t* start_with_source() {
        start();
        EXPECT_EQ(register_descriptions(1, 1, "engine", {{"one", "dbc", ""}}), succeeded);
        return handle;
    }
};

TEST_F(threads, share_extractors_and_never_meet_in_a_handle) {
    add_parser("p", {{"dbc"}});
    add_matcher("m", {{"can"}}).match[2] = {true, 1, 2, 2};
    qor_tavi_extractor_t* const other = start_with_source();
    start_with_source();
    ASSERT_EQ(subscribe("engine.View.Plain"), 2u);
    const package unit(1, 1, "can", "abcd");
    const qor_data_source_t source = make_source(2, 1, "b");
    std::set<std::uint64_t> given;
    std::mutex giving;
    const auto subscribe_and_end = [&](qor_tavi_extractor_t* extractor) {
        std::uint64_t subscription = 0;
        EXPECT_EQ(call(api.subscribe, extractor, "engine.View.Object[1]", false, &subscription), succeeded);
        EXPECT_EQ(call(api.unsubscribe, extractor, subscription), succeeded);
        const std::lock_guard lock(giving);
        EXPECT_TRUE(given.insert(subscription).second);
    };
    const std::vector<std::function<void()>> works = {
        [&] { subscribe_and_end(handle); },
        [&] { subscribe_and_end(handle); },
        [&] { subscribe_and_end(other); },
        [&] { EXPECT_THAT(match(unit), ::testing::ElementsAre(2u)); },
        [&] { EXPECT_EQ(process(unit).at(0).bytes, "bc"); },
        [&] {
            EXPECT_EQ(call(api.register_source, handle, &source, nullptr, false, nullptr, nullptr, nullptr), succeeded);
        },
        [&] {
            EXPECT_EQ(call(api.checkpoint_signal_storage, handle), succeeded);
            std::size_t size = 0;
            EXPECT_EQ(
                call(api.get_type_schema_by_url, handle, "engine.View.Object", false, false, false, nullptr, &size),
                too_small);
        }};
    {
        std::vector<std::jthread> running;
        for (const auto& work : works) {
            running.emplace_back([&work] {
                for (int i = 0; i < 50; ++i) {
                    work();
                }
            });
        }
    }
    EXPECT_EQ(given.size(), 150u);
    EXPECT_EQ(*given.rbegin(), 152u); // no handle was left out either
    EXPECT_EQ(api.destroy(other), QOR_STATUS_OK);
}

} // namespace
} // namespace tavi::test
