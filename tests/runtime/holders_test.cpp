#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "runtime/holders.hpp"
#include "runtime/memory_allocator.hpp"
#include "runtime/sanitize_source_name.hpp"
#include "tests/support/memory_shortage.hpp"
#include "tests/support/thrown.hpp"

namespace {

using namespace qor::runtime;
using tavi::test::thrown;

// A leak or a double free of these is what the address sanitizer reports.
TEST(holders, own_or_leave_alone) {
    EXPECT_FALSE(wrap_node(nullptr, true));
    EXPECT_FALSE(wrap_nodes(nullptr, true));
    qor_type_node_t original = {};
    original.name = "Speed";
    type_node_holder owner = clone_node(&original);
    { const type_node_holder view = wrap_node(owner.get(), false); }
    std::vector<type_node_holder> nodes(1);
    nodes[0] = std::move(owner);
    EXPECT_FALSE(owner);
    const type_node_sequence_holder sequence = make_sequence(nodes);
    { const type_node_sequence_holder view = wrap_nodes(sequence.get(), false); }
    ASSERT_EQ(sequence->count, 1u);
    EXPECT_STREQ(sequence->nodes[0].name, "Speed");
    EXPECT_NE(sequence->nodes[0].name, nodes[0]->name);
    nodes.emplace_back();
    EXPECT_EQ(thrown<std::invalid_argument>([&] { make_sequence(nodes); }), "argument 'node' was not initialized");
    EXPECT_EQ(thrown<std::invalid_argument>([&] { clone_node(nullptr); }), "argument 'source' was not initialized");
    EXPECT_EQ(thrown<std::runtime_error>([&] { make_sequence(UINT64_MAX / 2); }), "memory allocation failed");
}

// Callers read every name of a sequence: one that could not be copied must not look like a node without a name.
TEST(holders, without_memory_throw) {
    qor_type_node_t original = {};
    original.name = "a name that is too long for the buffer inside of a string";
    const auto copied = [&] {
        try {
            std::vector<type_node_holder> nodes;
            nodes.push_back(clone_node(&original));
            nodes.push_back(clone_node(&original));
            const auto sequence = make_sequence(nodes);
            return std::string_view(sequence->nodes[1].name) == original.name ? 1 : -1;
        } catch (const std::exception&) {
            return 0;
        }
    };
    for (tavi::test::memory_shortage::sweep sweep; sweep.next();) {
        const int result = sweep.during(copied);
        EXPECT_EQ(result, sweep.struck() ? 0 : 1) << sweep.number();
    }
}

TEST(default_memory_allocator, serves_through_its_record) {
    qor_memory_allocator_t& record = default_memory_allocator::instance();
    auto* bytes = static_cast<unsigned char*>(record.calloc(4, 8, record.context));
    EXPECT_EQ(std::count(bytes, bytes + 32, 0), 32);
    bytes[31] = 7;
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

TEST(sanitize_source_name, asks_again_for_a_name_that_outgrows_the_first_room) {
    qor::extensibility::data_source source = {};
    const std::string longest = "9" + std::string(253, 'x');
    longest.copy(source.name, sizeof(source.name));
    EXPECT_EQ(qor::extensibility::sanitize_source_name(source), "_" + longest);
    std::fill(std::begin(source.name), std::end(source.name), 'y');
    EXPECT_EQ(qor::extensibility::sanitize_source_name(source), std::string(255, 'y')) << "without a terminator";
}

} // namespace
