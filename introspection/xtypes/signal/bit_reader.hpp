// The bits of a signal as a number, read in words.
//
// Where the bits are (qorcpp/signal_layout.hpp) is computed once, at construction: the first byte, the number of bytes,
// the shift inside the lowest byte and the mask. A read is then one or two loads that together cover exactly the bytes
// that the bits touch; three bytes and five to seven bytes are two loads that overlap. Example: 12 bits at offset 19,
// little endian, are in bytes 2 and 3 (bit_load::bytes_2), with shift 3 and mask 0xFFF: bytes 0xA8, 0x35 are loaded as
// 0x35A8, which the shift makes 0x6B5.
#ifndef INTROSPECTION_XTYPES_SIGNAL_BIT_READER_HPP
#define INTROSPECTION_XTYPES_SIGNAL_BIT_READER_HPP

#include <cstddef>
#include <cstdint>

#include "introspection/xtypes/bytes.hpp"
#include "introspection/xtypes/signal/signal_parameters.hpp"
#include "qorcpp/export.hpp"

namespace qor::introspection::xtypes {

// How the bytes are fetched. The first six can be a template argument of bit_reader::fetch.
enum class bit_load : std::uint8_t {
    bytes_1,
    bytes_2,
    bytes_3,
    bytes_4,
    bytes_5_to_7,
    bytes_8,
    bytes_9,
    // No bits: nothing is read, the number is 0.
    nothing,
    refused_order,
    refused_offset,
};

class QORCPP_API bit_reader {
public:
    // `raw_bits` is the width of the raw kind, `variable_bits` (at most 64) that of the number that is read: of a
    // longer signal only the low bits are.
    bit_reader(signal_byte_order byte_order, std::uint32_t bit_offset, std::uint32_t bit_length, std::uint64_t raw_bits,
               std::uint32_t variable_bits);

    bit_load load() const noexcept { return load_; }
    // True if the first byte is the most significant one.
    bool reversed() const noexcept { return reversed_; }
    // Bits that are read: the signal's, or those of the variable if that is smaller.
    std::uint32_t length() const noexcept { return length_; }
    // The bytes that a read touches; 0 bytes for strategies that read nothing.
    std::size_t first_byte() const noexcept { return first_; }
    std::size_t byte_count() const noexcept { return count_; }

    // The number, zero-extended. Requires: Load and Reversed are what load() and reversed() tell (one byte has no
    // order).
    template<bit_load Load, bool Reversed>
    std::uint64_t fetch(const std::uint8_t* source) const noexcept;

    // The number by whatever strategy.
    // Throws: std::runtime_error "signal reading for the current byte order is not supported", "invalid bit offset N,
    // cannot read the complete signal data".
    std::uint64_t read(const std::uint8_t* source) const;

private:
    template<typename Word, bool Reversed>
    static std::uint64_t word(const std::uint8_t* source) noexcept;
    // Two words, the second `distance` bytes behind the first, as one number; bits that both hold are equal.
    template<typename Word, bool Reversed>
    static std::uint64_t overlapping(const std::uint8_t* source, std::size_t distance) noexcept;
    std::uint64_t read_nine(const std::uint8_t* source) const noexcept;

    std::uint64_t mask_ = 0;
    std::uint32_t first_ = 0;
    std::uint32_t bit_offset_;
    std::uint8_t count_ = 0;
    std::uint8_t shift_ = 0;
    std::uint8_t length_ = 0;
    bit_load load_ = bit_load::nothing;
    bool reversed_ = false;
};

template<typename Word, bool Reversed>
std::uint64_t bit_reader::word(const std::uint8_t* source) noexcept {
    return Reversed ? load_big<Word>(source) : load_little<Word>(source);
}

template<typename Word, bool Reversed>
std::uint64_t bit_reader::overlapping(const std::uint8_t* source, std::size_t distance) noexcept {
    const std::uint64_t front = word<Word, Reversed>(source);
    const std::uint64_t back = word<Word, Reversed>(source + distance);
    return Reversed ? (front << (8 * distance)) | back : (back << (8 * distance)) | front;
}

template<bit_load Load, bool Reversed>
std::uint64_t bit_reader::fetch(const std::uint8_t* source) const noexcept {
    static_assert(Load <= bit_load::bytes_8);
    const std::uint8_t* const bytes = source + first_;
    std::uint64_t number;
    if constexpr (Load == bit_load::bytes_1) {
        number = *bytes;
    } else if constexpr (Load == bit_load::bytes_2) {
        number = word<std::uint16_t, Reversed>(bytes);
    } else if constexpr (Load == bit_load::bytes_3) {
        number = overlapping<std::uint16_t, Reversed>(bytes, 1);
    } else if constexpr (Load == bit_load::bytes_4) {
        number = word<std::uint32_t, Reversed>(bytes);
    } else if constexpr (Load == bit_load::bytes_5_to_7) {
        number = overlapping<std::uint32_t, Reversed>(bytes, count_ - std::size_t{4});
    } else {
        number = word<std::uint64_t, Reversed>(bytes);
    }
    return (number >> shift_) & mask_;
}

} // namespace qor::introspection::xtypes

#endif
