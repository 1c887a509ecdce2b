#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <sstream>

#include "runtime/memory_allocator.hpp"

namespace {

TEST(default_memory_allocator, serves_through_its_record) {
    qor_memory_allocator_t& record = qor::runtime::default_memory_allocator::instance();
    EXPECT_EQ(record.context, &qor::runtime::default_memory_allocator::instance());
    auto* bytes = static_cast<unsigned char*>(record.calloc(4, 8, record.context));
    for (int i = 0; i < 32; ++i) {
        EXPECT_EQ(bytes[i], 0);
    }
    std::memset(bytes, 7, 32);
    bytes = static_cast<unsigned char*>(record.realloc(bytes, 4096, record.context));
    EXPECT_EQ(bytes[31], 7);
    record.free(bytes, record.context);
    void* const aligned = record.aligned_malloc(256, 10, record.context);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(aligned) % 256, 0u);
    record.aligned_free(aligned, record.context);
    void* const plain = record.malloc(16, record.context);
    EXPECT_EQ(record.malloc(16, nullptr), nullptr);
    EXPECT_EQ(record.calloc(1, 16, nullptr), nullptr);
    EXPECT_EQ(record.realloc(plain, 64, nullptr), nullptr);
    EXPECT_EQ(record.aligned_malloc(16, 16, nullptr), nullptr);
    record.free(plain, nullptr);
    record.aligned_free(plain, nullptr);
    record.free(plain, record.context);
}

TEST(memory_allocator, calls_the_function_of_the_same_place_with_the_context_last) {
    std::ostringstream calls;
    const auto log = [](void* context) -> std::ostream& { return *static_cast<std::ostringstream*>(context); };
    static constexpr auto place = [](std::size_t number) { return reinterpret_cast<void*>(number); };
    static const auto& write = log;
    qor_memory_allocator_t table = {};
    table.malloc = [](std::size_t size, void* c) { return write(c) << "malloc " << size << ';', place(1); };
    table.free = [](void*, void* c) { write(c) << "free;"; };
    table.realloc = [](void*, std::size_t size, void* c) { return write(c) << "realloc " << size << ';', place(2); };
    table.calloc = [](std::size_t count, std::size_t size, void* c) {
        return write(c) << "calloc " << count << ' ' << size << ';', place(3);
    };
    table.aligned_malloc = [](std::size_t alignment, std::size_t size, void* c) {
        return write(c) << "aligned_malloc " << alignment << ' ' << size << ';', place(4);
    };
    table.aligned_free = [](void*, void* c) { write(c) << "aligned_free;"; };
    table.context = &calls;
    qor::runtime::memory_allocator allocator(&table);
    EXPECT_EQ(allocator.malloc(10), place(1));
    allocator.free(nullptr);
    EXPECT_EQ(allocator.realloc(nullptr, 20), place(2));
    EXPECT_EQ(allocator.calloc(3, 5), place(3));
    EXPECT_EQ(allocator.aligned_malloc(64, 7), place(4));
    allocator.aligned_free(nullptr);
    EXPECT_EQ(calls.str(), "malloc 10;free;realloc 20;calloc 3 5;aligned_malloc 64 7;aligned_free;");
    EXPECT_EQ(qor::runtime::make_default_allocator()->table, &qor::runtime::default_memory_allocator::instance());
}

} // namespace
