// The usual table has a cell for each prefix of `left` and each of `right`: the distance between the two. Prefixes
// whose lengths differ by the limit or more are at least that far apart, so only the diagonals between need to be
// computed: seven cells a row for a limit of 4. A row without a cell below the limit ends it, since distances never
// shrink on the way down. Names of n bytes cost at most 7n steps and no memory.
//
// Example, limit 4: of "engine" and "engin" the row of "e" holds the distances to "", "e", "en", "eng", "engi": 1, 0,
// 1, 2, 3.
#include "qor_tavi_extractor/src/extractor/edit_distance.hpp"

#include <algorithm>
#include <array>

namespace qor::tavi::detail {

namespace {

constexpr std::size_t limit = edit_distance_limit;
constexpr std::size_t band = 2 * limit - 1;

// The cells of a row: index k is the prefix of `right` that is k - (limit - 1) bytes longer than that of `left`. The
// last place is beyond the band.
using row = std::array<std::size_t, band + 1>;

row first_row() noexcept {
    row cells;
    cells.fill(limit);
    for (std::size_t length = 0; length < limit; ++length) {
        cells[limit - 1 + length] = length;
    }
    return cells;
}

} // namespace

std::size_t edit_distance(std::string_view left, std::string_view right) noexcept {
    const std::size_t difference = left.size() > right.size() ? left.size() - right.size() : right.size() - left.size();
    if (difference >= limit) {
        return limit;
    }
    row cells = first_row();
    for (std::size_t i = 1; i <= left.size(); ++i) {
        std::size_t least = limit;
        std::size_t before = limit; // the cell to the left
        for (std::size_t k = 0; k < band; ++k) {
            std::size_t distance = limit;
            if (i + k >= limit - 1 && i + k - (limit - 1) <= right.size()) {
                const std::size_t j = i + k - (limit - 1);
                const std::size_t added = std::min(before, cells[k + 1]) + 1;
                const std::size_t replaced = j != 0 ? cells[k] + (left[i - 1] == right[j - 1] ? 0 : 1) : limit;
                distance = std::min({added, replaced, limit});
            }
            cells[k] = before = distance;
            least = std::min(least, distance);
        }
        if (least == limit) {
            return limit;
        }
    }
    return cells[right.size() + (limit - 1) - left.size()];
}

} // namespace qor::tavi::detail
