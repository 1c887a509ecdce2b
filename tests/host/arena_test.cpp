// The allocator that gives everything back at once.
#include "tavi/arena.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>

namespace tavi::test {
namespace {

using host::arena;

TEST(Arena, KeepsBlocksApartAndAligned) {
    arena memory(256);
    qor_memory_allocator_t* const table = memory.allocator();
    std::mt19937 random(5);
    std::size_t reserved = 0;
    for (int round = 0; round < 50; ++round) {
        std::vector<std::pair<char*, std::string>> blocks;
        for (int i = 0; i < 200; ++i) {
            const std::string content(300 + random() % 300, static_cast<char>(i));
            const std::size_t alignment = i % 2 == 0 ? alignof(std::max_align_t) : std::size_t{1} << (random() % 9);
            void* const bytes = i % 2 == 0 ? table->malloc(content.size(), table->context)
                                           : table->aligned_malloc(alignment, content.size(), table->context);
            ASSERT_EQ(reinterpret_cast<std::uintptr_t>(bytes) % alignment, 0u);
            std::memcpy(bytes, content.data(), content.size());
            if (random() % 4 == 0) {
                table->free(bytes, table->context);
            } else {
                blocks.emplace_back(static_cast<char*>(bytes), content);
            }
        }
        for (const auto& [bytes, content] : blocks) {
            ASSERT_EQ(std::memcmp(bytes, content.data(), content.size()), 0);
        }
        memory.reset();
        ASSERT_EQ(memory.used(), 0u);
        if (round < 10) {
            reserved = memory.reserved();
        }
    }
    EXPECT_LT(memory.reserved(), 2 * reserved) << "the heap is asked only until the arena is large enough";
}

TEST(Arena, FollowsTheContractOfTheTable) {
    arena memory;
    qor_memory_allocator_t* const table = memory.allocator();
    auto* const zeros = static_cast<unsigned char*>(std::memset(table->malloc(30, table->context), 1, 30));
    table->free(zeros, table->context);
    EXPECT_EQ(table->calloc(10, 3, table->context), zeros) << "what was handed out last is given back";
    EXPECT_EQ(std::count(zeros, zeros + 30, 0), 30);
    EXPECT_EQ(table->calloc(std::numeric_limits<std::size_t>::max() / 2, 3, table->context), nullptr);
    EXPECT_EQ(table->malloc(std::numeric_limits<std::size_t>::max() - 8, table->context), nullptr);
    EXPECT_NE(table->malloc(0, table->context), nullptr);
    table->free(nullptr, table->context);
    auto* const grown = static_cast<char*>(table->realloc(nullptr, 4, table->context));
    std::memcpy(grown, "abc", 4);
    EXPECT_EQ(table->realloc(grown, 5000, table->context), grown) << "the last block grows where it is";
    EXPECT_NE(table->malloc(1, table->context), nullptr);
    auto* const moved = static_cast<char*>(table->realloc(grown, 100'000, table->context));
    ASSERT_NE(moved, grown);
    EXPECT_STREQ(moved, "abc");
    void* const last = table->malloc(1, table->context);
    const std::size_t most = 1 + memory.reserved() - memory.used();
    EXPECT_EQ(table->realloc(last, most, table->context), last);
    EXPECT_NE(table->realloc(last, most + 1, table->context), last) << "there is no room for one more";
}

} // namespace
} // namespace tavi::test
