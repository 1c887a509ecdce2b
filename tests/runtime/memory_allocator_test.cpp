#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "runtime/memory_allocator.hpp"
#include "tests/support/counting_allocator.hpp"

namespace {

TEST(default_memory_allocator, serves_through_its_record) {
    qor_memory_allocator_t& record = qor::runtime::default_memory_allocator::instance();
    EXPECT_EQ(qor::runtime::make_default_allocator()->table, &record);
    auto* bytes = static_cast<unsigned char*>(record.calloc(4, 8, record.context));
    EXPECT_EQ(std::count(bytes, bytes + 32, 0), 32);
    std::memset(bytes, 7, 32);
    bytes = static_cast<unsigned char*>(record.realloc(bytes, 4096, record.context));
    EXPECT_EQ(bytes[31], 7);
    EXPECT_EQ(record.realloc(bytes, 64, nullptr), nullptr);
    record.free(bytes, nullptr);
    record.free(bytes, record.context);
    void* const aligned = record.aligned_malloc(256, 10, record.context);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(aligned) % 256, 0u);
    record.aligned_free(aligned, record.context);
    EXPECT_EQ(record.malloc(16, nullptr), nullptr);
}

TEST(memory_allocator, hands_each_call_to_its_table) {
    tavi::test::counting_allocator table;
    qor::runtime::memory_allocator allocator(&table);
    void* const block = allocator.realloc(allocator.malloc(10), 20);
    void* const zeros = allocator.calloc(3, 5);
    void* const aligned = allocator.aligned_malloc(64, 7);
    EXPECT_EQ(table.callocs, (std::vector<std::pair<std::size_t, std::size_t>>{{3, 5}}));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(aligned) % 64, 0u);
    EXPECT_EQ(table.alive(), 3u);
    allocator.free(block);
    allocator.free(zeros);
    allocator.aligned_free(aligned);
    EXPECT_EQ(table.alive(), 0u);
}

} // namespace
