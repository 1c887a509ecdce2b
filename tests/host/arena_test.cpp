// The allocator that gives everything back at once.
#include "host/arena.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <random>

#include "host/record_list.hpp"
#include "qorc/dynamic_data.h"

namespace tavi::test {
namespace {

using host::arena;

TEST(Arena, KeepsBlocksApartAndAligned) {
    arena memory(256);
    std::mt19937 random(5);
    struct block {
        unsigned char* bytes;
        std::size_t size;
        unsigned char fill;
    };
    for (int round = 0; round < 50; ++round) {
        std::vector<block> blocks;
        for (int i = 0; i < 200; ++i) {
            const std::size_t size = random() % 300;
            const std::size_t alignment = std::size_t{1} << (random() % 9);
            qor_memory_allocator_t* const table = memory.allocator();
            void* const bytes = i % 2 == 0 ? table->malloc(size, table->context)
                                           : table->aligned_malloc(alignment, size, table->context);
            ASSERT_NE(bytes, nullptr);
            ASSERT_EQ(reinterpret_cast<std::uintptr_t>(bytes) % (i % 2 == 0 ? alignof(std::max_align_t) : alignment),
                      0u);
            blocks.push_back({static_cast<unsigned char*>(bytes), size, static_cast<unsigned char>(i)});
            std::memset(bytes, i, size);
            if (random() % 4 == 0) {
                table->free(blocks.back().bytes, table->context);
                blocks.pop_back();
            }
        }
        for (const block& each : blocks) {
            for (std::size_t i = 0; i < each.size; ++i) {
                ASSERT_EQ(each.bytes[i], each.fill);
            }
        }
        memory.reset();
        ASSERT_EQ(memory.used(), 0u);
    }
}

TEST(Arena, AsksTheHeapOnlyUntilItIsLargeEnough) {
    arena memory(256);
    EXPECT_EQ(memory.reserved(), 0u);
    const auto round = [&] {
        for (int i = 0; i < 100; ++i) {
            EXPECT_NE(memory.allocate(100), nullptr);
        }
        memory.reset();
        return memory.reserved();
    };
    const std::size_t first = round();
    EXPECT_GE(first, 10'000u);
    EXPECT_EQ(round(), first);
    EXPECT_EQ(round(), first);
}

TEST(Arena, FollowsTheContractOfTheTable) {
    arena memory;
    qor_memory_allocator_t* const table = memory.allocator();
    auto* const zeros = static_cast<unsigned char*>(table->calloc(10, 3, table->context));
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
    void* const last = table->malloc(64, table->context);
    table->free(last, table->context);
    EXPECT_EQ(table->malloc(64, table->context), last) << "what was handed out last is given back";
}

TEST(Arena, HoldsRecords) {
    arena memory;
    qor_dynamic_data_t* record = nullptr;
    ASSERT_EQ(qor_dynamic_data_create_ex(memory.allocator(), 300, &record, nullptr), QOR_STATUS_OK);
    EXPECT_EQ(host::bytes_of(*record).size(), 300u);
    EXPECT_EQ(qor_dynamic_data_destroy(memory.allocator(), record, nullptr), QOR_STATUS_OK);
}

} // namespace
} // namespace tavi::test
