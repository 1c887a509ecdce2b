#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "qorc/type_node.h"
#include "tests/support/counting_allocator.hpp"
#include "tests/support/outcome.hpp"

extern "C" int c_host_reads_a_node(const qor_type_node_t* node);

namespace {

using tavi::test::call;
using tavi::test::counting_allocator;
using tavi::test::invalid;
using tavi::test::succeeded;

// Each text of a node by its place.
using text_place = const char* (*)(const qor_type_node_t&);
const text_place text_places[] = {
    [](const qor_type_node_t& node) { return node.name; },
    [](const qor_type_node_t& node) { return node.comment; },
    [](const qor_type_node_t& node) { return node.signal.presence; },
    [](const qor_type_node_t& node) { return node.signal.unit; },
    [](const qor_type_node_t& node) { return node.signal.value_table; },
    [](const qor_type_node_t& node) { return node.signal.signal_suffix; },
};

// A node whose texts die with the object.
struct sample {
    std::vector<std::string> texts = {"Speed", "", "0:0:4:0:0:S=1", "km/h", "0=off\n1=on", "km/h and more"};
    qor_type_node_t node = {};

    sample() {
        std::memset(&node, 0x5A, sizeof(node)); // bytes without a meaning of ours keep their place
        node.kind = QOR_TYPE_NODE_SIGNAL;
        node.signal.bit_length = 12;
        node.signal.byte_order = QOR_BYTE_ORDER_INCONSISTENT_BIG_ENDIAN;
        node.signal.denominator_x0 = 4.0;
        node.name = texts[0].c_str();
        node.comment = texts[1].c_str();
        node.signal.presence = texts[2].c_str();
        node.signal.unit = texts[3].c_str();
        node.signal.value_table = texts[4].c_str();
        node.signal.signal_suffix = texts[5].c_str();
        node.signal.signal_suffix_length = 4;
    }
};

void expect_copy(const qor_type_node_t& copy, const sample& original) {
    EXPECT_TRUE(c_host_reads_a_node(&copy));
    const char* const expected[] = {"Speed", "", "0:0:4:0:0:S=1", "km/h", "0=off\n1=on", "km/h"};
    for (std::size_t i = 0; i < std::size(text_places); ++i) {
        EXPECT_STREQ(text_places[i](copy), expected[i]);
        EXPECT_NE(text_places[i](copy), text_places[i](original.node));
    }
    EXPECT_EQ(copy.signal.signal_suffix_length, 4u);
    EXPECT_EQ(std::memcmp(copy.unused_76, original.node.unused_76, sizeof(copy.unused_76)), 0);
    EXPECT_EQ(copy.id, original.node.id);
}

TEST(type_node, a_clone_has_every_text_in_one_block_of_its_own) {
    counting_allocator allocator;
    const sample original;
    qor_type_node_t* copy = nullptr;
    ASSERT_EQ(call(qor_type_node_clone, &allocator, &original.node, &copy), succeeded);
    expect_copy(*copy, original);
    EXPECT_EQ(allocator.alive(), 2u);
    EXPECT_EQ(call(qor_type_node_destroy, &allocator, copy), succeeded);
    EXPECT_EQ(allocator.alive(), 0u);
}

TEST(type_node, absent_texts_stay_absent_and_a_suffix_of_no_length_is_not_read) {
    counting_allocator allocator;
    qor_type_node_t node = {};
    node.signal.signal_suffix = reinterpret_cast<const char*>(1);
    node.texts = reinterpret_cast<void*>(1);
    qor_type_node_t* copy = nullptr;
    ASSERT_EQ(call(qor_type_node_clone, &allocator, &node, &copy), succeeded);
    for (const text_place text : text_places) {
        EXPECT_EQ(text(*copy), nullptr);
    }
    EXPECT_EQ(allocator.alive(), 1u);
    qor_type_node_destroy(&allocator, copy, nullptr);
    node.signal.signal_suffix = nullptr;
    node.signal.signal_suffix_length = 7;
    ASSERT_EQ(call(qor_type_node_clone, &allocator, &node, &copy), succeeded);
    EXPECT_EQ(copy->signal.signal_suffix_length, 0u);
    qor_type_node_destroy(&allocator, copy, nullptr);
    EXPECT_EQ(allocator.alive(), 0u);
}

TEST(type_node, a_sequence_owns_copies) {
    counting_allocator allocator;
    qor_type_node_sequence_t* sequence = nullptr;
    ASSERT_EQ(call(qor_type_node_sequence_create, &allocator, std::uint64_t{3}, &sequence), succeeded);
    ASSERT_EQ(sequence->count, 3u);
    EXPECT_EQ(sequence->nodes[2].name, nullptr);
    {
        const sample original;
        for (const std::uint64_t index : {0, 2, 2}) {
            ASSERT_EQ(call(qor_type_node_sequence_put, &allocator, sequence, index, &original.node), succeeded);
        }
        expect_copy(sequence->nodes[0], original);
    }
    const qor_type_node_t* const own = &sequence->nodes[2];
    EXPECT_EQ(call(qor_type_node_sequence_put, &allocator, sequence, std::uint64_t{2}, own), succeeded);
    EXPECT_STREQ(own->name, "Speed");
    EXPECT_EQ(call(qor_type_node_sequence_put, &allocator, sequence, std::uint64_t{3}, own),
              invalid("node 3 is beyond the end of a sequence of 3"));
    EXPECT_EQ(allocator.alive(), 4u) << "record, array and the texts of two places";
    EXPECT_EQ(call(qor_type_node_sequence_destroy, &allocator, sequence), succeeded);
    EXPECT_EQ(allocator.alive(), 0u);
    EXPECT_EQ(allocator.foreign, 0u);
}

TEST(type_node, null_arguments_are_named_and_null_records_ignored) {
    qor_memory_allocator_t* const heap = qor_get_default_allocator();
    const qor_type_node_t* const no_source = nullptr;
    auto* copy = reinterpret_cast<qor_type_node_t*>(1);
    EXPECT_EQ(call(qor_type_node_clone, heap, no_source, &copy), invalid("argument 'source' was not initialized"));
    EXPECT_EQ(copy, nullptr);
    EXPECT_EQ(call(qor_type_node_destroy, heap, copy), succeeded);
    EXPECT_EQ(call(qor_type_node_sequence_destroy, heap, static_cast<qor_type_node_sequence_t*>(nullptr)), succeeded);
}

} // namespace
