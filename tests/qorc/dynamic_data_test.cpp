#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

#include "qorc/dynamic_data.h"
#include "tests/support/counting_allocator.hpp"
#include "tests/support/outcome.hpp"

namespace {

using tavi::test::call;
using tavi::test::counting_allocator;
using tavi::test::failed;
using tavi::test::succeeded;

const auto out_of_memory = failed("memory allocation failed", QOR_STATUS_OUT_OF_MEMORY);

TEST(dynamic_data, small_records_are_one_allocation_and_large_ones_two) {
    const struct {
        std::uint64_t size;
        std::size_t allocations;
    } cases[] = {{0, 1}, {1, 1}, {8, 1}, {64, 1}, {65, 2}, {4096, 2}};
    for (const auto& [size, allocations] : cases) {
        counting_allocator allocator;
        qor_dynamic_data_t* record = nullptr;
        ASSERT_EQ(call(qor_dynamic_data_create, &allocator, &record), succeeded);
        EXPECT_EQ(record->subscription_handle, 0u);
        EXPECT_EQ(record->declared_size, 0u);
        EXPECT_EQ(record->length, 0u);
        EXPECT_EQ(record->sequence.sequence_length, 0u);
        ASSERT_EQ(call(qor_runtime_c_uint8_sequence_init, &allocator, &record->sequence, size), succeeded);
        EXPECT_EQ(record->sequence.sequence_length, size);
        std::memset(record->sequence.data, 0xA5, size);
        EXPECT_EQ(allocator.allocations, allocations) << size;
        EXPECT_EQ(call(qor_dynamic_data_destroy, &allocator, record), succeeded);
        EXPECT_EQ(allocator.alive(), 0u) << size;
        EXPECT_EQ(allocator.foreign, 0u) << size;
    }
}

TEST(dynamic_data, room_for_a_given_size_is_zero_and_in_the_same_block) {
    for (const std::uint64_t size : {0, 1, 64, 65, 100000}) {
        counting_allocator allocator;
        qor_dynamic_data_t* record = nullptr;
        ASSERT_EQ(call(qor_dynamic_data_create_ex, &allocator, size, &record), succeeded);
        EXPECT_EQ(record->sequence.sequence_length, size);
        EXPECT_EQ(record->length, size);
        EXPECT_TRUE(std::all_of(record->sequence.data, record->sequence.data + size,
                                [](std::uint8_t byte) { return byte == 0; }));
        EXPECT_EQ(allocator.allocations, 1u);
        EXPECT_EQ(call(qor_dynamic_data_destroy, &allocator, record), succeeded);
        EXPECT_EQ(allocator.alive(), 0u);
    }
}

TEST(dynamic_data, a_cleared_sequence_can_be_filled_again) {
    counting_allocator allocator;
    qor_dynamic_data_t* record = nullptr;
    ASSERT_EQ(call(qor_dynamic_data_create, &allocator, &record), succeeded);
    for (const std::uint64_t size : {64, 200, 30, 200}) {
        ASSERT_EQ(call(qor_runtime_c_uint8_sequence_init, &allocator, &record->sequence, size), succeeded);
        std::memset(record->sequence.data, 0xA5, size);
        ASSERT_EQ(call(qor_runtime_c_uint8_sequence_clear, &allocator, &record->sequence), succeeded);
        EXPECT_EQ(record->sequence.sequence_length, 0u);
        EXPECT_EQ(allocator.alive(), 1u);
    }
    qor_dynamic_data_destroy(&allocator, record, nullptr);
    EXPECT_EQ(allocator.alive(), 0u);
}

// Gives one block behind the other and takes none back.
struct arena : qor_memory_allocator_t {
    arena() : qor_memory_allocator_t{} {
        malloc = [](std::size_t size, void* context) -> void* {
            auto& self = *static_cast<arena*>(context);
            void* const block = self.room + self.used;
            self.used += (size + 15) / 16 * 16;
            return block;
        };
        free = [](void*, void*) {};
        context = this;
    }
    alignas(16) std::uint8_t room[4096] = {};
    std::size_t used = 0;
};

TEST(byte_sequence, bytes_that_an_arena_places_behind_a_lone_sequence_are_not_its_room) {
    arena allocator;
    auto* const sequence = static_cast<qor_runtime_c_uint8_sequence_t*>(
        allocator.malloc(sizeof(qor_runtime_c_uint8_sequence_t), &allocator));
    *sequence = {};
    ASSERT_EQ(call(qor_runtime_c_uint8_sequence_init, &allocator, sequence, std::uint64_t{8}), succeeded);
    qor_runtime_c_uint8_sequence_clear(&allocator, sequence, nullptr);
    ASSERT_EQ(call(qor_runtime_c_uint8_sequence_init, &allocator, sequence, std::uint64_t{64}), succeeded);
    EXPECT_NE(sequence->data, reinterpret_cast<std::uint8_t*>(sequence + 1));
    EXPECT_LE(sequence->data + 64, allocator.room + allocator.used);
}

TEST(dynamic_data, impossible_sizes_are_out_of_memory) {
    static std::size_t asked = 0;
    qor_memory_allocator_t allocator = {};
    allocator.calloc = [](std::size_t count, std::size_t size, void*) -> void* {
        asked = count * size;
        return nullptr;
    };
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    const std::pair<std::uint64_t, std::size_t> cases[] = {{most, 0}, {most - 31, 0}, {most - 32, most}};
    for (const auto& [size, expected] : cases) {
        asked = 0;
        qor_dynamic_data_t* record = nullptr;
        EXPECT_EQ(call(qor_dynamic_data_create_ex, &allocator, size, &record), out_of_memory);
        EXPECT_EQ(record, nullptr);
        EXPECT_EQ(asked, expected) << "a size that wraps would ask for little";
    }
}

} // namespace
