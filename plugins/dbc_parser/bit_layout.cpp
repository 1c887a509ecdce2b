#include "plugins/dbc_parser/bit_layout.hpp"

namespace dbc_parser {

bit_layout lay_out(uint32_t start_bit, uint32_t bit_length, bool motorola) noexcept {
    const uint32_t first_byte = start_bit / 8;
    if (!motorola) {
        const uint32_t bit_offset = start_bit % 8;
        return {first_byte, (bit_offset + bit_length - 1) / 8 + 1, bit_offset, bit_length, false};
    }
    // Counted from the top of the first byte: how far down the lowest bit lies.
    const uint32_t lowest = 7 - start_bit % 8 + bit_length - 1;
    const uint32_t last_byte = lowest / 8;
    return {first_byte, last_byte + 1, 8 * last_byte + 7 - lowest % 8, bit_length, true};
}

} // namespace dbc_parser
