#include "introspection/xtypes/signal/bit_reader.hpp"

#include <stdexcept>

#include "qorcpp/signal_layout.hpp"

namespace qor::introspection::xtypes {

namespace {

bit_load load_of(std::uint64_t byte_count) noexcept {
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
    : bit_offset_(bit_offset) {
    const signal_layout whole = layout_of_signal(byte_order, bit_offset, bit_length, raw_bits);
    reversed_ = whole.reversed;
    switch (whole.refusal) {
    case layout_refusal::byte_order:
        load_ = bit_load::refused_order;
        return;
    case layout_refusal::bit_offset:
        load_ = bit_load::refused_offset;
        return;
    case layout_refusal::none:
        break;
    }
    if (whole.byte_count == 0) {
        return;
    }
    const signal_layout layout = low_bits(whole, variable_bits);
    first_ = static_cast<std::uint32_t>(layout.first_byte);
    count_ = static_cast<std::uint8_t>(layout.byte_count);
    shift_ = layout.shift;
    length_ = static_cast<std::uint8_t>(layout.bit_length);
    mask_ = ~std::uint64_t{0} >> (64 - length_);
    load_ = load_of(layout.byte_count);
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
        throw std::runtime_error(refusal_text(layout_refusal::byte_order, bit_offset_));
    case bit_load::refused_offset:
        break;
    }
    throw std::runtime_error(refusal_text(layout_refusal::bit_offset, bit_offset_));
}

} // namespace qor::introspection::xtypes
