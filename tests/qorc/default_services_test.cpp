#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "qorc/memory_allocator.h"
#include "qorc/service_locator.h"
#include "tests/support/outcome.hpp"

namespace {

using namespace tavi::test;

const qor_memory_allocator_t& heap = *qor_get_default_allocator();

TEST(default_allocator, aligns_blocks_and_refuses_sizes_that_overflow_odd_alignments_and_null_contexts) {
    for (std::size_t alignment = 1; alignment <= 4096; alignment *= 2) {
        for (const std::size_t size : {0, 1, 63, 5000}) {
            void* const block = heap.aligned_malloc(alignment, size, heap.context);
            ASSERT_NE(block, nullptr);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignment, 0u) << alignment;
            std::memset(block, 0xA5, size);
            heap.aligned_free(block, heap.context);
        }
    }
    constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
    const std::pair<std::size_t, std::size_t> cases[] = {{16, most - 8}, {most / 2 + 1, most / 2 + 1}, {0, 8}, {24, 8}};
    for (const auto& [alignment, size] : cases) {
        EXPECT_EQ(heap.aligned_malloc(alignment, size, heap.context), nullptr) << alignment << ' ' << size;
    }
    EXPECT_EQ(heap.calloc(most / 2, 3, heap.context), nullptr);
    EXPECT_EQ(heap.malloc(8, nullptr), nullptr);
    EXPECT_EQ(heap.aligned_malloc(8, 8, nullptr), nullptr);
    int kept = 0;
    heap.free(&kept, nullptr);
    heap.aligned_free(&kept, nullptr);
    heap.aligned_free(nullptr, heap.context);
}

TEST(default_locator, knows_the_allocator_and_nothing_else) {
    const qor_service_locator_t& locator = *qor_get_default_service_locator();
    void* table = nullptr;
    bool known = true;
    const std::pair<outcome, outcome> cases[] = {
        {call(locator.resolve, locator.context, "qor_memory_allocator_t", &table), succeeded},
        {call(locator.can_resolve, locator.context, "struct qor_memory_allocator_t", &known), succeeded},
        {call(locator.resolve, locator.context, "x", &table), failed("requested service 'x' not found")},
        {call(locator.resolve, nullptr, nullptr, nullptr), invalid("argument 'handle' was not initialized")},
        {call(locator.can_resolve, locator.context, "x", nullptr),
         invalid("argument 'can_resolve' was not initialized")},
    };
    for (const auto& [answer, expected] : cases) {
        EXPECT_EQ(answer, expected);
    }
    EXPECT_EQ(table, qor_get_default_allocator());
    EXPECT_FALSE(known);
}

} // namespace
