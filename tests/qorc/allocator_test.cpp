#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>

#include "qorc/memory_allocator.h"
#include "qorc/service_locator.h"
#include "tests/support/outcome.hpp"

namespace {

using tavi::test::call;
using tavi::test::failed;
using tavi::test::invalid;
using tavi::test::succeeded;

const qor_memory_allocator_t& heap = *qor_get_default_allocator();

TEST(default_allocator, aligned_blocks_are_aligned_and_wholly_usable) {
    for (std::size_t alignment = 1; alignment <= 4096; alignment *= 2) {
        for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{63}, std::size_t{5000}}) {
            void* const block = heap.aligned_malloc(alignment, size, heap.context);
            ASSERT_NE(block, nullptr);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignment, 0u) << alignment;
            std::memset(block, 0xA5, size);
            heap.aligned_free(block, heap.context);
        }
    }
}

TEST(default_allocator, refuses_sizes_that_overflow_and_alignments_that_are_no_power_of_two) {
    constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
    EXPECT_EQ(heap.calloc(most / 2, 3, heap.context), nullptr);
    EXPECT_EQ(heap.aligned_malloc(16, most - 8, heap.context), nullptr);
    EXPECT_EQ(heap.aligned_malloc(most / 2 + 1, most / 2 + 1, heap.context), nullptr);
    EXPECT_EQ(heap.aligned_malloc(0, 8, heap.context), nullptr);
    EXPECT_EQ(heap.aligned_malloc(24, 8, heap.context), nullptr);
    heap.aligned_free(nullptr, heap.context);
    heap.free(nullptr, heap.context);
}

TEST(default_allocator, answers_a_null_context_with_null) {
    int kept = 0;
    EXPECT_EQ(heap.malloc(8, nullptr), nullptr);
    EXPECT_EQ(heap.calloc(1, 8, nullptr), nullptr);
    EXPECT_EQ(heap.realloc(nullptr, 8, nullptr), nullptr);
    EXPECT_EQ(heap.aligned_malloc(8, 8, nullptr), nullptr);
    heap.free(&kept, nullptr);
    heap.aligned_free(&kept, nullptr);
}

TEST(default_locator, knows_the_allocator_and_nothing_else) {
    const qor_service_locator_t& locator = *qor_get_default_service_locator();
    void* table = nullptr;
    EXPECT_EQ(call(locator.resolve, locator.context, "qor_memory_allocator_t", static_cast<void*>(&table)), succeeded);
    EXPECT_EQ(table, qor_get_default_allocator());
    const struct {
        const char* name;
        bool known;
    } names[] = {{"qor_memory_allocator_t", true},
                 {"QOR_memory_allocator_t", false},
                 {"struct qor_memory_allocator_t", false},
                 {"", false}};
    for (const auto& [name, known] : names) {
        bool answer = !known;
        EXPECT_EQ(call(locator.can_resolve, locator.context, name, &answer), succeeded);
        EXPECT_EQ(answer, known) << name;
    }
    table = nullptr;
    EXPECT_EQ(call(locator.resolve, locator.context, "x", static_cast<void*>(&table)),
              failed("requested service 'x' not found"));
    EXPECT_EQ(table, nullptr);
}

TEST(default_locator, names_the_first_missing_argument) {
    const qor_service_locator_t& locator = *qor_get_default_service_locator();
    void* const none = nullptr;
    const char* const no_name = nullptr;
    bool* const nowhere = nullptr;
    EXPECT_EQ(call(locator.resolve, none, no_name, none), invalid("argument 'handle' was not initialized"));
    EXPECT_EQ(call(locator.resolve, locator.context, no_name, none),
              invalid("argument 'service_type' was not initialized"));
    EXPECT_EQ(call(locator.resolve, locator.context, "x", none), invalid("argument 'target' was not initialized"));
    EXPECT_EQ(call(locator.can_resolve, locator.context, "x", nowhere),
              invalid("argument 'can_resolve' was not initialized"));
}

} // namespace
