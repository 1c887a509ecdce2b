// Fields that need care; whole rows are seen in the tests of the command.
#include "tools/tavi/output/row_writer.hpp"

#include <gtest/gtest.h>

namespace tavi::tool {
namespace {

TEST(padded_text, copies_exactly_and_is_used_again) {
    padded_text text;
    for (const std::size_t size : {0U, 1U, 31U, 32U, 33U, 64U, 200U, 5U}) {
        const std::string first(size / 2, 'a');
        const std::string second(size - size / 2, 'b');
        text.assign(first, second);
        std::string copy(size + padded_text::stride, '?');
        EXPECT_EQ(text.copy_to(copy.data()), copy.data() + size);
        EXPECT_EQ(copy.substr(0, size), first + second);
        EXPECT_EQ(text.view(), first + second);
    }
}

} // namespace
} // namespace tavi::tool
