// One call for all subscriptions gives what the single calls give.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/can_matcher/matcher_fixture.hpp"

namespace tavi::test {
namespace {

class random_traffic {
public:
    explicit random_traffic(unsigned seed) : random_(seed) {}

    std::uint64_t below(std::uint64_t end) { return std::uniform_int_distribution<std::uint64_t>(0, end - 1)(random_); }

    // From few ids, which collide as whole ids or as parameter groups.
    std::uint32_t id() {
        static constexpr std::uint32_t ids[] = {0x0C0,      0x0C1,      0x1FFFFFFF, 0x800000C0, 0x98FEF100,
                                                0x98FEF121, 0x8CFEF100, 0x98EF0500, 0x98EF7733, 0x9AFEF100};
        return ids[below(std::size(ids))];
    }

    wanted subscription() {
        static constexpr const char* presences[] = {nullptr, nullptr, "0:0:2:0:0:S=1", "1:4:4:0:1:S=-8--1,3"};
        wanted result;
        result.address = id();
        result.flags = below(3) == 0 ? QOR_OBJECT_PARAMETER_GROUP : 0;
        result.kind = static_cast<std::uint8_t>(QOR_TYPE_NODE_OBJECT + below(3));
        result.offset = result.kind == QOR_TYPE_NODE_OBJECT ? 0 : static_cast<std::uint32_t>(below(6));
        result.extent = below(9);
        result.presence = result.kind == QOR_TYPE_NODE_SIGNAL ? presences[below(std::size(presences))] : nullptr;
        return result;
    }

    test_package package() {
        std::vector<std::uint8_t> data(below(10));
        for (auto& byte : data) {
            byte = static_cast<std::uint8_t>(below(256));
        }
        const std::uint32_t flags = below(20) == 0 ? qor::can_remote_bit : below(20) == 0 ? qor::can_error_bit : 0;
        return {id() | flags, data, below(2) == 0 ? "can" : "j1939"};
    }

private:
    std::mt19937 random_;
};

TEST(CanMatcherBatch, EqualsTheSingleCalls) {
    std::size_t matched = 0;
    for (unsigned seed = 0; seed < 60; ++seed) {
        random_traffic traffic(seed);
        matcher matcher;
        const std::uint64_t last = 1 + traffic.below(seed % 3 == 0 ? 4 : 150);
        // Some handles belong to another source, some were never announced, some are withdrawn later.
        std::vector<std::uint64_t> handles;
        for (std::uint64_t handle = 1; handle <= last; ++handle) {
            if (traffic.below(8) != 0) {
                ASSERT_EQ(matcher.register_type(handle, traffic.subscription()), succeeded);
            }
            if (traffic.below(4) != 0) {
                handles.push_back(handle);
            }
        }
        for (int i = 0; i < 100; ++i) {
            if (i % 10 == 9) {
                const std::uint64_t handle = 1 + traffic.below(last);
                ASSERT_EQ(traffic.below(2) == 0 ? matcher.unregister_type(handle)
                                                : matcher.register_type(handle, traffic.subscription()),
                          succeeded);
            }
            const std::string matches = matcher.match(handles, traffic.package(), traffic.below(2) == 0);
            matched += static_cast<std::size_t>(std::count(matches.begin(), matches.end(), ':'));
            ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed << ", package " << i;
        }
    }
    EXPECT_GT(matched, 10'000u) << "too few frames met a subscription";
}

TEST(CanMatcherBatch, ChecksItsArguments) {
    matcher matcher;
    const test_package package(5, {0});
    const std::uint64_t handle = 1;
    qor_match_outcome_t outcome{};
    std::size_t count = 5;
    const auto batch = matcher.batch.match_batch;
    EXPECT_EQ(call(batch, matcher.plugin.handle(), package.get(), nullptr, 0u, false, nullptr, &count), succeeded);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(call(batch, matcher.plugin.handle(), nullptr, &handle, 1u, false, &outcome, &count),
              invalid("argument 'package' was not initialized"));
    EXPECT_EQ(call(batch, matcher.plugin.handle(), package.get(), nullptr, 1u, false, &outcome, &count),
              invalid("argument 'handles' was not initialized"));
}

} // namespace
} // namespace tavi::test
