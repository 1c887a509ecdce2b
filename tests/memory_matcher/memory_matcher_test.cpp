// Which blocks of memory serve which subscriptions, and that the search by address finds the same as asking one by one.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <vector>

#include "plugins/memory_matcher/subscription_index.hpp"

namespace memory_matcher {
namespace {

constexpr uint64_t top = std::numeric_limits<uint64_t>::max();

TEST(MemoryBlock, IsReadFromAPayloadOfAtLeastAHeader) {
    std::vector<uint8_t> bytes(sizeof(qor_package_t) + block_header_size + 2);
    auto* const package = reinterpret_cast<qor_package_t*>(bytes.data());
    package->payload_size = block_header_size + 2;
    const uint8_t header[] = {0x00, 0x00, 0x00, 0x20, 0, 0, 0, 0x80, 0x05, 0, 0, 0x01};
    std::memcpy(bytes.data() + sizeof(qor_package_t), header, sizeof(header));
    const auto block = read_block(*package);
    ASSERT_TRUE(block);
    EXPECT_EQ(block->address, 0x8000000020000000u);
    EXPECT_EQ(block->cycle, 0x01000005u);
    EXPECT_EQ(block->size, 2u);
    package->payload_size = block_header_size - 1;
    EXPECT_FALSE(read_block(*package));
}

TEST(MemoryMatch, WantsTheCycleAndTheBytes) {
    struct row {
        const char* what;
        subscription wanted;
        memory_block block;
        bool lenient;
        int64_t offset; // -1: not matched
        uint64_t size;
    };
    const row rows[] = {
        {"inside", {7, 0x110, 8, 0}, {0x100, 3, 0x20}, false, 32, 8},
        {"first byte", {7, 0x100, 8, 0}, {0x100, 3, 8}, false, 16, 8},
        {"its cycle", {7, 0x100, 8, 3}, {0x100, 3, 8}, false, 16, 8},
        {"another cycle", {7, 0x100, 8, 4}, {0x100, 3, 8}, true, -1, 0},
        {"before the block", {7, 0xFF, 8, 0}, {0x100, 3, 8}, true, -1, 0},
        {"cut, strict", {7, 0x104, 8, 0}, {0x100, 3, 8}, false, -1, 0},
        {"cut, lenient", {7, 0x104, 8, 0}, {0x100, 3, 8}, true, 20, 4},
        {"behind the block", {7, 0x108, 8, 0}, {0x100, 3, 8}, true, -1, 0},
        {"end of the address space", {7, top - 1, 2, 0}, {top - 3, 3, 4}, false, 18, 2},
        {"beyond the address space", {7, 1, 2, 0}, {top - 3, 3, 64}, true, -1, 0},
        {"extent of all", {7, 0x100, top, 0}, {0x100, 3, 8}, true, 16, 8},
    };
    for (const row& row : rows) {
        SCOPED_TRACE(row.what);
        const auto outcome = match_block(row.wanted, row.block, row.lenient);
        ASSERT_EQ(outcome.has_value(), row.offset >= 0);
        if (outcome) {
            EXPECT_EQ(outcome->subscription_handle, 7u);
            EXPECT_EQ(outcome->offset, static_cast<uint64_t>(row.offset));
            EXPECT_EQ(outcome->size, row.size);
            EXPECT_EQ(outcome->expected_size, row.size);
        }
    }
}

TEST(SubscriptionIndex, FindsWhatAskingOneByOneFinds) {
    std::mt19937_64 random(20240611);
    const auto below = [&](uint64_t limit) { return random() % limit; };
    for (int round = 0; round < 300; ++round) {
        subscription_index index;
        for (uint64_t handle = 2; handle < 60; ++handle) {
            index.add({handle, below(200), below(40), static_cast<uint32_t>(below(3))});
        }
        for (int removed = 0; removed < 10; ++removed) {
            index.remove(below(70));
        }
        std::vector<uint64_t> handles(50);
        std::iota(handles.begin(), handles.end(), 10); // some unknown to the index, some of the index left out
        const memory_block block{below(200), static_cast<uint32_t>(below(3)), below(100)};
        const bool lenient = below(2) == 0;

        std::vector<qor_match_outcome_t> outcomes(handles.size());
        outcomes.resize(index.match(block, handles, lenient, outcomes.data()));
        size_t next = 0;
        for (const uint64_t handle : handles) {
            const auto* const subscription = index.find(handle);
            const auto expected = subscription != nullptr ? match_block(*subscription, block, lenient) : std::nullopt;
            if (expected) {
                ASSERT_LT(next, outcomes.size());
                EXPECT_EQ(std::memcmp(&outcomes[next++], &*expected, sizeof(*expected)), 0);
            }
        }
        EXPECT_EQ(next, outcomes.size());
    }
}

} // namespace
} // namespace memory_matcher
