// Calls on one extractor and on several from many threads at once.
#include "tests/extractor/extractor_fixture.hpp"

#include <thread>

namespace tavi::test {
namespace {

using namespace fakes;

class threads : public extractor_test {
protected:
    // Runs `work` with the numbers from 0 on, each on a thread of its own.
    static void run(int count, const std::function<void(int)>& work) {
        std::vector<std::thread> running;
        for (int i = 0; i < count; ++i) {
            running.emplace_back(work, i);
        }
        for (std::thread& thread : running) {
            thread.join();
        }
    }
};

TEST_F(threads, share_one_extractor) {
    add_parser("p", {{"dbc"}});
    add_matcher("m", {"can"}).match = [](std::uint64_t, const qor_package_t&) { return match_answer{true, 1, 2, 2}; };
    start();
    ASSERT_EQ(register_descriptions(1, 1, "engine", {{"one", "dbc", ""}}), succeeded);
    const std::uint64_t constant = subscribe("engine.View.Plain");
    const package unit(1, 1, "can", "abcd");
    constexpr int rounds = 50;
    run(6, [&](int number) {
        for (int i = 0; i < rounds; ++i) {
            std::uint64_t subscribed = 0;
            switch (number) {
            case 0:
            case 1:
                EXPECT_EQ(call(api.subscribe, handle, "engine.View.Object[1]", false, &subscribed), succeeded);
                EXPECT_EQ(call(api.unsubscribe, handle, subscribed), succeeded);
                break;
            case 2: {
                const auto handles = match(unit);
                EXPECT_FALSE(handles.empty());
                EXPECT_EQ(handles.front(), constant);
                break;
            }
            case 3:
                for (const data_record& record : process(unit)) {
                    EXPECT_EQ(record.bytes, "bc");
                }
                break;
            case 4:
                EXPECT_EQ(call(api.register_source, handle,
                               &static_cast<const qor_data_source_t&>(make_source(2, 1, "b")), nullptr, false, nullptr,
                               nullptr, nullptr),
                          succeeded);
                break;
            default:
                EXPECT_EQ(call(api.checkpoint_signal_storage, handle), succeeded);
                EXPECT_FALSE(schema("engine.View.Object").empty());
                break;
            }
        }
    });
    std::size_t count = 0;
    EXPECT_EQ(call(api.get_subscription_count, handle, &count), succeeded);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(subscribe("engine.View.Plain"), constant + 2 * rounds + 1); // each handle was given once
}

TEST_F(threads, each_with_an_extractor_never_meet_in_a_handle) {
    add_parser("p", {{"dbc"}});
    add_matcher("m", {"can"});
    std::vector<std::vector<std::uint64_t>> given(4);
    std::vector<qor_tavi_extractor_t*> extractors(given.size());
    for (auto& made : extractors) {
        start();
        ASSERT_EQ(register_descriptions(1, 1, "engine", {{"one", "dbc", ""}}), succeeded);
        made = std::exchange(handle, nullptr);
    }
    run(static_cast<int>(given.size()), [&](int number) {
        for (int i = 0; i < 50; ++i) {
            std::uint64_t subscribed = 0;
            EXPECT_EQ(call(api.subscribe, extractors[number], "engine.View.Plain", false, &subscribed), succeeded);
            given[number].push_back(subscribed);
        }
    });
    std::set<std::uint64_t> all;
    for (std::size_t i = 0; i < given.size(); ++i) {
        EXPECT_TRUE(std::is_sorted(given[i].begin(), given[i].end()));
        all.insert(given[i].begin(), given[i].end());
        EXPECT_EQ(api.destroy(extractors[i]), QOR_STATUS_OK);
    }
    EXPECT_EQ(all.size(), 200u);
    EXPECT_EQ(*all.begin(), 2u);
}

} // namespace
} // namespace tavi::test
