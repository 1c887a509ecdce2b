// The two ways in which a DBC numbers bits, held against walking over the bits one by one.
#include <gtest/gtest.h>

#include <algorithm>

#include "plugins/dbc_parser/bit_layout.hpp"

namespace dbc_parser {
namespace {

TEST(BitLayout, NamesTheSameBitsAsTheFile) {
    for (const bool motorola : {false, true}) {
        for (uint32_t start = 0; start < 40; ++start) {
            for (uint32_t length = 1; length <= 64; ++length) {
                // From the highest bit down to the lowest.
                uint32_t bit = motorola ? start : start + length - 1;
                uint32_t first = bit / 8;
                uint32_t last = first;
                for (uint32_t count = 1; count < length; ++count) {
                    bit = motorola && bit % 8 == 0 ? bit + 15 : bit - 1;
                    first = std::min(first, bit / 8);
                    last = std::max(last, bit / 8);
                }
                const bit_layout expected{first, last - first + 1, bit - 8 * first, length, motorola};
                ASSERT_TRUE(lay_out(start, length, motorola) == expected) << start << "|" << length << "@" << motorola;
            }
        }
    }
}

} // namespace
} // namespace dbc_parser
