#include "introspection/xtypes/signal/bit_writer.hpp"

#include <stdexcept>

#include "qorcpp/signal_layout.hpp"

namespace qor::introspection::xtypes {

namespace {

void write_little_endian_bits(const signal_parameters& signal, std::uint8_t* destination, const std::uint8_t* source,
                              std::size_t raw_size) {
    if (signal.bit_length == 0) {
        return;
    }
    std::uint64_t word = destination[0];
    for (std::uint32_t i = 0; i < signal.bit_length; ++i) {
        const std::uint64_t position = std::uint64_t{signal.bit_offset} + i;
        if (position / 8 < raw_size && ((source[position / 8] >> (position % 8)) & 1) != 0) {
            set_bit(word, i);
        }
    }
    for (std::uint32_t k = 0; k < signal.bit_length / 8; ++k) {
        destination[k] = k < 8 ? static_cast<std::uint8_t>(word >> (8 * k)) : std::uint8_t{0};
    }
}

} // namespace

void set_bit(std::uint64_t& word, std::uint32_t position) {
    if (position >= 64) {
        throw std::out_of_range("invalid bitset<N> position");
    }
    word |= std::uint64_t{1} << position;
}

void write_signal_bits(const signal_parameters& signal, std::uint8_t* destination, const std::uint8_t* source,
                       std::size_t raw_size) {
    switch (signal.byte_order) {
    case signal_byte_order::big_endian:
        throw std::runtime_error("big endian signal encoding not supported");
    case signal_byte_order::inconsistent_big_endian:
        throw std::runtime_error("inconsistent big endian signal encoding not supported");
    case signal_byte_order::little_endian:
        write_little_endian_bits(signal, destination, source, raw_size);
    }
}

void copy_signal_bits(const signal_parameters& signal, std::uint8_t* destination, const std::uint8_t* source) {
    const bool reversed = signal.byte_order != signal_byte_order::little_endian;
    const signal_layout layout = walked_layout(reversed, signal.bit_offset, signal.bit_length);
    for (std::uint64_t i = 0; i < layout.byte_count; ++i) {
        std::uint8_t& byte = destination[layout.first_byte + i];
        const std::uint8_t mask = layout.mask(i);
        byte = static_cast<std::uint8_t>((byte & ~mask) | (source[layout.first_byte + i] & mask));
    }
}

} // namespace qor::introspection::xtypes
