// What a package costs in allocations when the ones before were alike: nothing but what goes through the host's
// allocator, by one call a record. What a large description takes of memory.
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <string>

#include "qor_tavi_extractor/qor_tavi_extractor.h"
#include "qorcpp/can_frame.hpp"
#include "tavi/extractor.hpp"
#include "tavi/package_builder.hpp"
#include "tavi/record_list.hpp"

namespace {

std::atomic<std::size_t> allocations{0};
std::atomic<std::size_t> bytes{0};
std::atomic<std::size_t> highest_bytes{0}; // one thread at a time allocates

void* count_and_allocate(std::size_t size) {
    ++allocations;
    void* const memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    bytes += malloc_usable_size(memory);
    highest_bytes = std::max<std::size_t>(highest_bytes, bytes);
    return memory;
}

void count_and_free(void* memory) noexcept {
    bytes -= malloc_usable_size(memory);
    std::free(memory);
}

} // namespace

// All libraries of the process allocate here.
void* operator new(std::size_t size) {
    return count_and_allocate(size);
}
void operator delete(void* memory) noexcept {
    count_and_free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    count_and_free(memory);
}

namespace tavi::test {
namespace {

// A block for each call, all free again with the next package.
class block_allocator : public qor_memory_allocator_t {
public:
    block_allocator() : qor_memory_allocator_t(*qor_get_default_allocator()) {
        context = this;
        malloc = [](std::size_t size, void* context) { return static_cast<block_allocator*>(context)->take(size); };
        calloc = [](std::size_t count, std::size_t size, void* context) -> void* {
            void* const block = static_cast<block_allocator*>(context)->take(count * size);
            return std::memset(block, 0, count * size);
        };
        free = [](void*, void*) {};
    }

    std::size_t calls = 0;
    std::function<void()> at_first_call;

private:
    void* take(std::size_t size) {
        if (calls == 0 && at_first_call) {
            at_first_call();
        }
        EXPECT_LE(size, sizeof(blocks_[0]));
        return blocks_[calls++ % std::size(blocks_)];
    }

    alignas(16) char blocks_[16][512];
};

class steady_packages : public testing::Test {
protected:
    steady_packages() {
        extractor.register_source(0x10, 0, "can0", {{"x", "dbc", description}});
        extractor.register_source(0x10, 1, "box", {{"x", "lines", "M1 1 a 0 8\nM1 1 b 1 8\nM2 2 a 0 8\n"}});
    }

    // Runs the package often enough for all tables to have what they need, then counts.
    void expect_steady(const qor_package_t& package, std::size_t records, bool strict) {
        for (int round = 0; round < 3; ++round) {
            qor_dynamic_data_t** data = nullptr;
            std::uint64_t* handles = nullptr;
            std::size_t count = 0;
            std::size_t matched = 0;
            const std::size_t before = allocations;
            memory.calls = 0;
            qor_tavi_extractor_process(extractor.get(), &package, strict, &data, &count, &memory, nullptr);
            const std::size_t calls = memory.calls;
            qor_tavi_extractor_match(extractor.get(), &package, strict, &handles, &matched, &memory, nullptr);
            const std::size_t allocated = allocations - before;
            EXPECT_EQ(count, records);
            EXPECT_EQ(matched, records);
            EXPECT_EQ(calls, records + 1) << "one for each record and one for the array";
            EXPECT_TRUE(round == 0 || allocated == 0) << allocated;
        }
    }

    static constexpr const char* description = "BO_ 1 M1: 8 X\n SG_ a : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                               " SG_ b : 8|8@1+ (0.5,0) [0|0] \"\" X\nBO_ 2 M2: 8 X\n"
                                               " SG_ a : 0|8@1+ (1,0) [0|0] \"\" X\n";
    host::extractor extractor;
    block_allocator memory;
};

TEST_F(steady_packages, allocate_nothing_where_the_matcher_is_asked_once) {
    for (const char* const url : {"can0.CAN.M1", "can0.CAN.M1.a", "can0.CAN.M1.b", "can0.CAN.M2"}) {
        extractor.subscribe(url);
    }
    host::can_package package;
    package.set_source(0x10, 0);
    const std::uint8_t bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    expect_steady(package.build(1, 0, bytes), 3, true);
    expect_steady(package.build(3, 0, bytes), 0, true);
    expect_steady(package.build(1, 0, std::span(bytes).first(1)), 2, false);
    host::record_list records;
    extractor.process(package.build(1, 0, bytes), host::lenient, records);
    const std::size_t before = allocations;
    extractor.process(package.build(1, 0, bytes), host::lenient, records);
    EXPECT_EQ(allocations, before) << "the host's list of records";
}

TEST_F(steady_packages, allocate_nothing_where_it_is_asked_for_each_subscription) {
    for (const char* const url : {"box.Lines.M1", "box.Lines.M1.a", "box.Lines.M2"}) {
        extractor.subscribe(url);
    }
    host::package_builder package;
    package.set_source(0x10, 1);
    package.set_format("tagged");
    std::uint8_t bytes[20] = {1};
    expect_steady(package.build(bytes), 2, true);
    expect_steady(package.build(std::span(bytes).first(9)), 2, false);
    bytes[0] = 3;
    expect_steady(package.build(bytes), 0, true);
}

TEST_F(steady_packages, survive_an_allocator_that_asks_for_another) {
    extractor.register_source(0x10, 2, "can2", {{"x", "dbc", description}});
    extractor.subscribe("can0.CAN.M1");
    for (const char* const url : {"can2.CAN.M1", "can2.CAN.M1.a", "can2.CAN.M1.b", "can2.CAN.M2"}) {
        extractor.subscribe(url);
    }
    const std::uint8_t bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    host::can_package other;
    other.set_source(0x10, 2);
    host::record_list inner;
    memory.at_first_call = [&] { extractor.process(other.build(1, 0, bytes), host::lenient, inner); };
    host::can_package package;
    package.set_source(0x10, 0);
    qor_dynamic_data_t** data = nullptr;
    std::size_t count = 0;
    qor_tavi_extractor_process(extractor.get(), &package.build(1, 0, bytes), true, &data, &count, &memory, nullptr);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(extractor.url(data[0]->subscription_handle), "can0.CAN.M1");
    EXPECT_EQ(data[0]->length, 8u);
    EXPECT_EQ(inner.size(), 3u);
}

// The bound of docs/dbc.md.
TEST(LargeDescription, TakesAtMost400BytesASignalBesideItsText) {
    constexpr std::size_t messages = 2000;
    constexpr std::size_t signals = 50;
    std::string lines;
    std::string values;
    for (std::size_t message = 0; message < messages; ++message) {
        const std::string id = std::to_string(0x80000000 + message);
        lines += "BO_ " + id + " Message_" + std::to_string(message) + ": 64 A\n";
        for (std::size_t signal = 0; signal < signals; ++signal) {
            const std::string name = "Signal_" + std::to_string(signal);
            lines += " SG_ " + name + " : " + std::to_string(8 * signal) + "|8@1+ (0.5,0) [0|1] \"V\" A,B\n";
            values += signal % 5 == 0 ? "VAL_ " + id + ' ' + name + " 0 \"off\" 1 \"on\" ;\n"
                                      : "CM_ SG_ " + id + ' ' + name + " \"about this signal\";\n";
        }
    }
    const std::string text = lines + values;
    host::extractor extractor;
    const std::size_t before = bytes;
    highest_bytes = before;
    extractor.register_source(0x10, 0, "can0", {{"large", "dbc", text}});
    EXPECT_LT((highest_bytes - before - text.size()) / (messages * signals), 400u);
    EXPECT_GT(highest_bytes - before, 2 * text.size()) << "the allocations are counted";
}

} // namespace
} // namespace tavi::test
