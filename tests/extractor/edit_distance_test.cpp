// The distance of names, against the table that the definition says.
#include "qor_tavi_extractor/src/extractor/edit_distance.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <random>
#include <string>
#include <vector>

namespace tavi::test {
namespace {

using qor::tavi::detail::edit_distance;
using qor::tavi::detail::edit_distance_limit;

std::size_t distance_by_definition(const std::string& left, const std::string& right) {
    std::vector<std::vector<std::size_t>> cells(left.size() + 1, std::vector<std::size_t>(right.size() + 1));
    for (std::size_t i = 0; i <= left.size(); ++i) {
        for (std::size_t j = 0; j <= right.size(); ++j) {
            cells[i][j] = i == 0 || j == 0 ? i + j
                                           : std::min({cells[i - 1][j - 1] + (left[i - 1] != right[j - 1] ? 1 : 0),
                                                       cells[i - 1][j] + 1, cells[i][j - 1] + 1});
        }
    }
    return std::min(cells[left.size()][right.size()], edit_distance_limit);
}

TEST(edit_distance, is_what_the_definition_says_below_the_limit) {
    std::mt19937 random(1);
    std::vector<std::size_t> seen(edit_distance_limit + 1);
    for (int round = 0; round < 20'000; ++round) {
        std::string left(random() % 12, 'a');
        std::generate(left.begin(), left.end(), [&] { return static_cast<char>('a' + random() % 3); });
        std::string right = left;
        for (auto edits = random() % 6; edits != 0; --edits) {
            const std::size_t at = random() % (right.size() + 1),
                              end = std::min<std::size_t>(at + random() % 2, right.size());
            right.replace(at, end - at, std::string(random() % 2, static_cast<char>('a' + random() % 3)));
        }
        const std::size_t expected = distance_by_definition(left, right);
        ASSERT_EQ(edit_distance(left, right), expected) << left << ' ' << right;
        ASSERT_EQ(edit_distance(right, left), expected) << left << ' ' << right;
        ++seen[expected];
    }
    for (const std::size_t count : seen) {
        EXPECT_GT(count, 100u);
    }
}

// By the whole table of the two, each takes seconds.
TEST(edit_distance, of_long_names_is_computed_at_once) {
    const std::clock_t begin = std::clock();
    const std::string left(100'000, 'a');
    std::string near = left, far = left;
    near.replace(50'000, 2, "b");
    far.replace(99'990, 4, "bbbb");
    EXPECT_EQ(edit_distance(left, near), 2u);
    EXPECT_EQ(edit_distance(left, far), edit_distance_limit);
    EXPECT_EQ(edit_distance(left, std::string(100'000, 'b')), edit_distance_limit);
    EXPECT_LT(std::clock() - begin, 5 * CLOCKS_PER_SEC); // of the processor, whatever else it does
}

} // namespace
} // namespace tavi::test
