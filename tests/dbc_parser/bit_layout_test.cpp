// The two ways in which a DBC numbers bits, held against reading the bits one by one.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "plugins/dbc_parser/bit_layout.hpp"

namespace dbc_parser {
namespace {

// The bits of a signal from the highest to the lowest, as (byte, bit) numbers 8 * byte + bit.
std::vector<uint32_t> bits_as_written(uint32_t start, uint32_t length, bool motorola) {
    std::vector<uint32_t> bits;
    uint32_t bit = start;
    for (uint32_t count = 0; count < length; ++count) {
        bits.push_back(bit);
        bit = !motorola ? bit + 1 : bit % 8 == 0 ? bit + 15 : bit - 1;
    }
    if (!motorola) {
        return {bits.rbegin(), bits.rend()};
    }
    return bits;
}

std::vector<uint32_t> bits_as_laid_out(const bit_layout& layout) {
    std::vector<uint32_t> lowest_first;
    uint32_t bit = 8 * layout.byte_offset + layout.bit_offset;
    for (uint32_t count = 0; count < layout.bit_length; ++count) {
        lowest_first.push_back(bit);
        bit = bit % 8 != 7 || !layout.motorola ? bit + 1 : bit - 15;
    }
    return {lowest_first.rbegin(), lowest_first.rend()};
}

TEST(BitLayout, NamesTheSameBitsAsTheFile) {
    for (const bool motorola : {false, true}) {
        for (uint32_t start = 0; start < 40; ++start) {
            for (uint32_t length = 1; length <= 64; ++length) {
                const bit_layout layout = lay_out(start, length, motorola);
                const auto bits = bits_as_written(start, length, motorola);
                ASSERT_EQ(bits_as_laid_out(layout), bits) << start << "|" << length << "@" << motorola;
                uint32_t first = bits.front() / 8;
                uint32_t last = first;
                for (const uint32_t bit : bits) {
                    first = std::min(first, bit / 8);
                    last = std::max(last, bit / 8);
                }
                ASSERT_EQ(layout.byte_offset, first);
                ASSERT_EQ(layout.end(), last + 1);
            }
        }
    }
}

} // namespace
} // namespace dbc_parser
