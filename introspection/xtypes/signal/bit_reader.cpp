#include "introspection/xtypes/signal/bit_reader.hpp"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace qor::introspection::xtypes {

namespace {

bit_load load_of(std::uint32_t byte_count) noexcept {
    switch (byte_count) {
    case 1:
        return bit_load::bytes_1;
    case 2:
        return bit_load::bytes_2;
    case 3:
        return bit_load::bytes_3;
    case 4:
        return bit_load::bytes_4;
    case 8:
        return bit_load::bytes_8;
    case 9:
        return bit_load::bytes_9;
    default:
        return bit_load::bytes_5_to_7;
    }
}

} // namespace

bit_reader::bit_reader(signal_byte_order byte_order, std::uint32_t bit_offset, std::uint32_t bit_length,
                       std::uint64_t raw_bits, std::uint32_t variable_bits)
    : bit_offset_(bit_offset), reversed_(byte_order == signal_byte_order::inconsistent_big_endian) {
    if (byte_order != signal_byte_order::little_endian && !reversed_) {
        load_ = bit_load::refused_order;
        return;
    }
    if (bit_length == 0) {
        return;
    }
    if (reversed_ && bit_offset == 0 && bit_length == raw_bits) {
        // The order's inconsistency: such a signal runs forward from byte 0, as if its lowest bit were in its last
        // byte.
        bit_offset = bit_length - 8;
    }
    const std::uint32_t lowest_byte = bit_offset / 8;
    // Each eight bits but the last take one step down; bits above the first byte count as zero within the last step.
    if (reversed_ && (bit_length - 1) / 8 > lowest_byte) {
        load_ = bit_load::refused_offset;
        return;
    }
    const std::uint32_t length = std::min(bit_length, variable_bits);
    const std::uint32_t shift = bit_offset % 8;
    const std::uint32_t further_bytes = (shift + length - 1) / 8;
    first_ = !reversed_ ? lowest_byte : lowest_byte - std::min(lowest_byte, further_bytes);
    const std::uint32_t count = !reversed_ ? further_bytes + 1 : lowest_byte - first_ + 1;
    count_ = static_cast<std::uint8_t>(count);
    shift_ = static_cast<std::uint8_t>(shift);
    length_ = static_cast<std::uint8_t>(length);
    mask_ = ~std::uint64_t{0} >> (64 - length);
    load_ = load_of(count);
}

std::uint64_t bit_reader::read_nine(const std::uint8_t* source) const noexcept {
    // More than 64 bits are touched, so the shift is at least 1.
    const std::uint8_t* const bytes = source + first_;
    const std::uint64_t low = reversed_ ? load_big<std::uint64_t>(bytes + 1) : load_little<std::uint64_t>(bytes);
    const std::uint64_t top = reversed_ ? bytes[0] : bytes[8];
    return ((low >> shift_) | (top << (64 - shift_))) & mask_;
}

std::uint64_t bit_reader::read(const std::uint8_t* source) const {
    switch (load_) {
    case bit_load::bytes_1:
        return fetch<bit_load::bytes_1, false>(source);
    case bit_load::bytes_2:
        return reversed_ ? fetch<bit_load::bytes_2, true>(source) : fetch<bit_load::bytes_2, false>(source);
    case bit_load::bytes_3:
        return reversed_ ? fetch<bit_load::bytes_3, true>(source) : fetch<bit_load::bytes_3, false>(source);
    case bit_load::bytes_4:
        return reversed_ ? fetch<bit_load::bytes_4, true>(source) : fetch<bit_load::bytes_4, false>(source);
    case bit_load::bytes_5_to_7:
        return reversed_ ? fetch<bit_load::bytes_5_to_7, true>(source) : fetch<bit_load::bytes_5_to_7, false>(source);
    case bit_load::bytes_8:
        return reversed_ ? fetch<bit_load::bytes_8, true>(source) : fetch<bit_load::bytes_8, false>(source);
    case bit_load::bytes_9:
        return read_nine(source);
    case bit_load::nothing:
        return 0;
    case bit_load::refused_order:
        throw std::runtime_error("signal reading for the current byte order is not supported");
    case bit_load::refused_offset:
        break;
    }
    throw std::runtime_error("invalid bit offset " + std::to_string(bit_offset_) +
                             ", cannot read the complete signal data");
}

} // namespace qor::introspection::xtypes
