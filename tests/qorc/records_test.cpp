// Records, sequences and nodes: what they own, where their bytes lie, and what they leave when memory runs out.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "qorc/dynamic_data.h"
#include "qorc/string_sequence.h"
#include "qorc/type_node.h"
#include "tests/support/counting_allocator.hpp"
#include "tests/support/outcome.hpp"

extern "C" int c_host_reads_a_node(const qor_type_node_t* node);

namespace {

using namespace tavi::test;

const auto out_of_memory = failed("memory allocation failed", QOR_STATUS_OUT_OF_MEMORY);

// An allocator to which everything has to come back.
struct records : testing::Test {
    ~records() override { EXPECT_EQ(allocator.alive() + allocator.foreign, 0u); }
    counting_allocator allocator;
};

TEST_F(records, small_ones_are_one_allocation_and_large_ones_two_also_when_filled_again) {
    qor_dynamic_data_t* record = nullptr;
    ASSERT_EQ(call(qor_dynamic_data_create, &allocator, &record), succeeded);
    EXPECT_EQ(record->length, 0u);
    const std::pair<std::uint64_t, std::size_t> cases[] = {{0, 1}, {64, 1}, {30, 1}, {65, 2}, {4096, 2}};
    for (const auto& [size, blocks] : cases) {
        ASSERT_EQ(call(qor_runtime_c_uint8_sequence_init, &allocator, &record->sequence, size), succeeded);
        EXPECT_EQ(record->sequence.sequence_length, size);
        std::memset(record->sequence.data, 0xA5, size);
        EXPECT_EQ(allocator.alive(), blocks) << size;
        ASSERT_EQ(call(qor_runtime_c_uint8_sequence_clear, &allocator, &record->sequence), succeeded);
        EXPECT_EQ(record->sequence.sequence_length, 0u);
        EXPECT_EQ(allocator.alive(), 1u) << size;
    }
    EXPECT_EQ(call(qor_runtime_c_uint8_sequence_init, &allocator, &record->sequence, 65), succeeded);
    EXPECT_EQ(call(qor_dynamic_data_destroy, &allocator, record), succeeded);
    // Those that are made with room are one block of zeros.
    for (const std::uint64_t size : {0, 64, 65, 100000}) {
        ASSERT_EQ(call(qor_dynamic_data_create_ex, &allocator, size, &record), succeeded);
        EXPECT_EQ(record->sequence.sequence_length, size);
        EXPECT_EQ(record->length, size);
        EXPECT_EQ(std::count(record->sequence.data, record->sequence.data + size, 0), static_cast<std::int64_t>(size));
        EXPECT_EQ(allocator.alive(), 1u);
        EXPECT_EQ(call(qor_dynamic_data_destroy, &allocator, record), succeeded);
    }
}

// Gives one block behind the other and takes none back.
struct arena : qor_memory_allocator_t {
    arena() : qor_memory_allocator_t{} {
        malloc = [](std::size_t size, void* context) -> void* {
            auto& self = *static_cast<arena*>(context);
            return self.room + std::exchange(self.used, self.used + (size + 15) / 16 * 16);
        };
        free = [](void*, void*) {};
        context = this;
    }
    alignas(16) std::uint8_t room[4096] = {};
    std::size_t used = 0;
};

TEST(byte_sequence, bytes_that_an_arena_places_behind_a_lone_sequence_are_not_its_room) {
    arena allocator;
    auto* const sequence =
        new (allocator.malloc(sizeof(qor_runtime_c_uint8_sequence_t), &allocator)) qor_runtime_c_uint8_sequence_t{};
    ASSERT_EQ(call(qor_runtime_c_uint8_sequence_init, &allocator, sequence, 8), succeeded);
    qor_runtime_c_uint8_sequence_clear(&allocator, sequence, nullptr);
    ASSERT_EQ(call(qor_runtime_c_uint8_sequence_init, &allocator, sequence, 64), succeeded);
    EXPECT_NE(sequence->data, reinterpret_cast<std::uint8_t*>(sequence + 1));
    EXPECT_LE(sequence->data + 64, allocator.room + allocator.used);
}

TEST_F(records, strings_are_copied_replaced_and_cleared) {
    qor_runtime_c_string_sequence_t* sequence = nullptr;
    ASSERT_EQ(call(qor_runtime_c_string_sequence_create, &allocator, 2, &sequence), succeeded);
    const auto put = [&](std::uint64_t index, const char* text) {
        return call(qor_runtime_c_string_sequence_put, &allocator, sequence, index, text);
    };
    EXPECT_EQ(put(0, "first"), succeeded);
    EXPECT_EQ(put(1, ""), succeeded);
    EXPECT_EQ(put(0, sequence->strings[0].text + 1), succeeded);
    EXPECT_STREQ(sequence->strings[0].text, "irst");
    EXPECT_EQ(sequence->strings[0].length, 4u);
    EXPECT_EQ(sequence->strings[0].capacity, 5u);
    EXPECT_EQ(put(1, nullptr), succeeded);
    EXPECT_EQ(sequence->strings[1].text, nullptr);
    EXPECT_EQ(put(2, "x"), invalid("string 2 is beyond the end of a sequence of 2"));
    EXPECT_EQ(call(qor_runtime_c_string_sequence_destroy, &allocator, sequence), succeeded);
}

// The places of a node's texts.
template<typename Node>
auto texts_of(Node& node) {
    auto& signal = node.signal;
    return std::array{&node.name,   &node.comment,       &signal.presence,
                      &signal.unit, &signal.value_table, &signal.signal_suffix};
}

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
        for (std::size_t i = 0; i < texts.size(); ++i) {
            *texts_of(node)[i] = texts[i].c_str();
        }
        node.signal.signal_suffix_length = 4;
    }
};

TEST_F(records, the_ids_of_an_object_are_copied_and_of_other_kinds_not_looked_at) {
    sample original;
    qor_type_node_t* copy = nullptr;
    ASSERT_EQ(call(qor_type_node_clone, &allocator, &original.node, &copy), succeeded);
    EXPECT_EQ(copy->group_ids, original.node.group_ids);
    EXPECT_EQ(call(qor_type_node_destroy, &allocator, copy), succeeded);
    std::string ids = "2566844672,2566844705";
    original.node.kind = QOR_TYPE_NODE_OBJECT;
    for (const char* const text : {static_cast<const char*>(nullptr), ids.c_str()}) {
        original.node.group_ids = text;
        ASSERT_EQ(call(qor_type_node_clone, &allocator, &original.node, &copy), succeeded);
        if (text == nullptr) {
            EXPECT_EQ(copy->group_ids, nullptr);
        } else {
            ids[0] = 'x';
            EXPECT_STREQ(copy->group_ids, "2566844672,2566844705");
        }
        EXPECT_STREQ(copy->signal.presence, "0:0:4:0:0:S=1");
        EXPECT_EQ(call(qor_type_node_destroy, &allocator, copy), succeeded);
    }
}

TEST_F(records, nodes_of_a_sequence_are_copies_with_texts_of_their_own) {
    qor_type_node_sequence_t* sequence = nullptr;
    ASSERT_EQ(call(qor_type_node_sequence_create, &allocator, 3, &sequence), succeeded);
    EXPECT_EQ(sequence->nodes[2].name, nullptr);
    const auto put = [&](std::uint64_t index, const qor_type_node_t* node) {
        return call(qor_type_node_sequence_put, &allocator, sequence, index, node);
    };
    {
        const sample original;
        for (const std::uint64_t index : {0, 2, 2}) {
            ASSERT_EQ(put(index, &original.node), succeeded);
        }
    }
    EXPECT_EQ(put(2, &sequence->nodes[2]), succeeded);
    EXPECT_EQ(put(3, &sequence->nodes[2]), invalid("node 3 is beyond the end of a sequence of 3"));
    const qor_type_node_t& copy = sequence->nodes[2];
    EXPECT_TRUE(c_host_reads_a_node(&copy));
    EXPECT_EQ(std::count(copy.unused_76, std::end(copy.unused_76), 0x5A), std::ssize(copy.unused_76));
    std::string texts;
    for (const char* const* const text : texts_of(copy)) {
        texts += std::string(*text) + '|';
    }
    EXPECT_EQ(texts, "Speed||0:0:4:0:0:S=1|km/h|0=off\n1=on|km/h|");
    EXPECT_EQ(allocator.alive(), 4u) << "record, array and the texts of two places";
    EXPECT_EQ(call(qor_type_node_sequence_destroy, &allocator, sequence), succeeded);
}

TEST_F(records, absent_texts_stay_absent_and_a_suffix_of_no_length_is_not_read) {
    qor_type_node_t node = {};
    node.texts = reinterpret_cast<void*>(1);
    for (const std::uint64_t length : {0, 7}) {
        node.signal.signal_suffix = length == 0 ? reinterpret_cast<const char*>(1) : nullptr;
        node.signal.signal_suffix_length = length;
        qor_type_node_t* copy = nullptr;
        ASSERT_EQ(call(qor_type_node_clone, &allocator, &node, &copy), succeeded);
        for (const char** const text : texts_of(*copy)) {
            EXPECT_EQ(*text, nullptr);
        }
        EXPECT_EQ(copy->signal.signal_suffix_length, 0u);
        EXPECT_EQ(allocator.alive(), 1u);
        qor_type_node_destroy(&allocator, copy, nullptr);
    }
}

// Creates by `create`, uses by `use` when that worked, and ends by `destroy`, with each allocation failing in turn.
template<typename Record, typename Create, typename Use, typename Destroy>
void run_out_of_memory(std::size_t allocations, Create create, Use use, Destroy destroy) {
    for (std::size_t failing = 0; failing <= allocations; ++failing) {
        counting_allocator allocator;
        allocator.fail_at = failing;
        Record* record = nullptr;
        outcome result = create(&allocator, &record);
        EXPECT_EQ(record != nullptr, result == succeeded);
        result = result == succeeded ? use(&allocator, record) : result;
        EXPECT_EQ(result, failing == 0 ? succeeded : out_of_memory) << "allocation " << failing;
        EXPECT_EQ(call(destroy, &allocator, record), succeeded) << "also where there is nothing";
        EXPECT_EQ(allocator.allocations, failing == 0 ? allocations : allocator.allocations);
        EXPECT_EQ(allocator.alive() + allocator.foreign, 0u) << "allocation " << failing;
    }
}

TEST(out_of_memory, at_each_allocation_leaves_nothing_behind) {
    const sample original;
    run_out_of_memory<qor_dynamic_data_t>(
        2, [](auto* a, auto** r) { return call(qor_dynamic_data_create, a, r); },
        [](auto* a, auto* r) { return call(qor_runtime_c_uint8_sequence_init, a, &r->sequence, 100); },
        qor_dynamic_data_destroy);
    run_out_of_memory<qor_runtime_c_string_sequence_t>(
        3, [](auto* a, auto** r) { return call(qor_runtime_c_string_sequence_create, a, 2, r); },
        [](auto* a, auto* r) { return call(qor_runtime_c_string_sequence_put, a, r, 1, "text"); },
        qor_runtime_c_string_sequence_destroy);
    run_out_of_memory<qor_type_node_t>(
        2, [&](auto* a, auto** r) { return call(qor_type_node_clone, a, &original.node, r); },
        [](auto*, auto*) { return succeeded; }, qor_type_node_destroy);
    run_out_of_memory<qor_type_node_sequence_t>(
        3, [](auto* a, auto** r) { return call(qor_type_node_sequence_create, a, 2, r); },
        [&](auto* a, auto* r) { return call(qor_type_node_sequence_put, a, r, 0, &original.node); },
        qor_type_node_sequence_destroy);
}

TEST(out_of_memory, sizes_that_wrap_ask_for_nothing) {
    counting_allocator allocator;
    qor_runtime_c_string_sequence_t* strings = nullptr;
    qor_type_node_sequence_t* nodes = nullptr;
    qor_dynamic_data_t* record = nullptr;
    EXPECT_EQ(call(qor_runtime_c_string_sequence_create, &allocator, UINT64_MAX / 8, &strings), out_of_memory);
    EXPECT_EQ(call(qor_type_node_sequence_create, &allocator, UINT64_MAX / 400, &nodes), out_of_memory);
    EXPECT_EQ(allocator.allocations, 2u) << "only the records themselves";
    for (const std::uint64_t size : {UINT64_MAX, UINT64_MAX - 31}) {
        EXPECT_EQ(call(qor_dynamic_data_create_ex, &allocator, size, &record), out_of_memory);
    }
    EXPECT_EQ(allocator.allocations, 2u);
    EXPECT_EQ(allocator.alive(), 0u);
}

} // namespace
