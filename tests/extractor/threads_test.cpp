// Calls on one extractor and on several from many threads at once.
#include <thread>

#include "tests/extractor/extractor_fixture.hpp"

namespace tavi::test {
namespace {

class threads : public extractor_test {
protected:
    threads() {
        add_parser("p", {{"dbc"}});
        add_matcher("m", {{"can"}}).match[2] = {true, 1, 2, 2};
    }
    void start_with_source() {
        start();
        ASSERT_EQ(register_descriptions(1, 1, "engine", {{"one", "dbc", ""}}), succeeded);
    }
    // Runs each of `works` fifty times on a thread of its own.
    static void run(const std::vector<std::function<void()>>& works) {
        std::vector<std::thread> running;
        for (const auto& work : works) {
            running.emplace_back([&work] {
                for (int i = 0; i < 50; ++i) {
                    work();
                }
            });
        }
        for (std::thread& thread : running) {
            thread.join();
        }
    }
};

TEST_F(threads, share_one_extractor) {
    start_with_source();
    ASSERT_EQ(subscribe("engine.View.Plain"), 2u);
    const package unit(1, 1, "can", "abcd");
    const qor_data_source_t source = make_source(2, 1, "b");
    const auto subscribe_and_end = [&] {
        EXPECT_EQ(call(api.unsubscribe, handle, subscribe("engine.View.Object[1]")), succeeded);
    };
    run({subscribe_and_end, subscribe_and_end, [&] { EXPECT_THAT(match(unit), ::testing::ElementsAre(2u)); },
         [&] { EXPECT_EQ(process(unit).at(0).bytes, "bc"); },
         [&] {
             EXPECT_EQ(call(api.register_source, handle, &source, nullptr, false, nullptr, nullptr, nullptr),
                       succeeded);
         },
         [&] {
             EXPECT_EQ(call(api.checkpoint_signal_storage, handle), succeeded);
             EXPECT_FALSE(schema("engine.View.Object").empty());
         }});
    EXPECT_EQ(subscribe("engine.View.Plain"), 2u + 2 * 50 + 1); // each handle was given once
}

TEST_F(threads, each_with_an_extractor_never_meet_in_a_handle) {
    std::vector<std::uint64_t> given[4];
    std::vector<qor_tavi_extractor_t*> extractors;
    std::vector<std::function<void()>> works;
    for (auto& own : given) {
        start_with_source();
        extractors.push_back(std::exchange(handle, nullptr));
        works.emplace_back([&own, this, extractor = extractors.back()] {
            EXPECT_EQ(call(api.subscribe, extractor, "engine.View.Plain", false, &own.emplace_back()), succeeded);
        });
    }
    run(works);
    std::set<std::uint64_t> all;
    for (std::size_t i = 0; i < extractors.size(); ++i) {
        EXPECT_TRUE(std::is_sorted(given[i].begin(), given[i].end()));
        all.insert(given[i].begin(), given[i].end());
        EXPECT_EQ(api.destroy(extractors[i]), QOR_STATUS_OK);
    }
    EXPECT_EQ(all.size(), 200u);
}

} // namespace
} // namespace tavi::test
