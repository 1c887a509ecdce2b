// Texts that are in memory once.
#include "qor_tavi_extractor/src/extractor/shared_texts.hpp"

#include <vector>

#include <gtest/gtest.h>

namespace tavi::test {
namespace {

TEST(shared_texts, are_one_as_long_as_somebody_holds_them) {
    qor::tavi::detail::shared_texts texts;
    std::vector<std::shared_ptr<const std::string>> held;
    for (int number = 0; number < 1000; ++number) {
        held.push_back(texts.share("text " + std::to_string(number % 500)));
        texts.share("passing " + std::to_string(number));
    }
    for (std::size_t number = 0; number < 500; ++number) {
        EXPECT_EQ(*held[number], "text " + std::to_string(number));
        EXPECT_EQ(held[number], held[number + 500]);
        EXPECT_EQ(held[number].use_count(), 2);
    }
}

} // namespace
} // namespace tavi::test
