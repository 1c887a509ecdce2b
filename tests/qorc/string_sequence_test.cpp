#include <gtest/gtest.h>

#include "qorc/string_sequence.h"
#include "tests/support/counting_allocator.hpp"
#include "tests/support/outcome.hpp"

namespace {

using tavi::test::call;
using tavi::test::counting_allocator;
using tavi::test::invalid;
using tavi::test::succeeded;

TEST(string_sequence, texts_are_copied_replaced_and_cleared) {
    counting_allocator allocator;
    qor_runtime_c_string_sequence_t* sequence = nullptr;
    ASSERT_EQ(call(qor_runtime_c_string_sequence_create, &allocator, std::uint64_t{2}, &sequence), succeeded);
    EXPECT_EQ(sequence->count, 2u);
    EXPECT_EQ(sequence->strings[0].text, nullptr);
    const auto put = [&](std::uint64_t index, const char* text) {
        return call(qor_runtime_c_string_sequence_put, &allocator, sequence, index, text);
    };
    EXPECT_EQ(put(0, "first"), succeeded);
    EXPECT_EQ(put(1, ""), succeeded);
    EXPECT_EQ(put(0, sequence->strings[0].text + 1), succeeded);
    EXPECT_STREQ(sequence->strings[0].text, "irst");
    EXPECT_EQ(sequence->strings[0].length, 4u);
    EXPECT_EQ(sequence->strings[0].capacity, 5u);
    EXPECT_STREQ(sequence->strings[1].text, "");
    EXPECT_EQ(put(1, nullptr), succeeded);
    EXPECT_EQ(sequence->strings[1].text, nullptr);
    EXPECT_EQ(put(2, "x"), invalid("string 2 is beyond the end of a sequence of 2"));
    EXPECT_EQ(allocator.alive(), 3u) << "record, array and one text";
    EXPECT_EQ(call(qor_runtime_c_string_sequence_destroy, &allocator, sequence), succeeded);
    EXPECT_EQ(allocator.alive(), 0u);
    EXPECT_EQ(allocator.foreign, 0u);
}

TEST(string_sequence, null_arguments_are_named) {
    qor_memory_allocator_t* const none = nullptr;
    qor_runtime_c_string_sequence_t* const no_sequence = nullptr;
    EXPECT_EQ(call(qor_runtime_c_string_sequence_put, none, no_sequence, std::uint64_t{0}, "x"),
              invalid("argument 'allocator' was not initialized"));
    EXPECT_EQ(call(qor_runtime_c_string_sequence_put, qor_get_default_allocator(), no_sequence, std::uint64_t{0}, "x"),
              invalid("argument 'sequence' was not initialized"));
    EXPECT_EQ(call(qor_runtime_c_string_sequence_destroy, qor_get_default_allocator(), no_sequence), succeeded);
}

} // namespace
