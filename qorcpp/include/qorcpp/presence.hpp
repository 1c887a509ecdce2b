// When a multiplexed signal is in its object: the text qor_signal_node_t::presence as conditions that can be asked.
//
// Example: "0:0:4:0:0:S0=2,5-7&0:4:4:0:0:S1=0" holds for an object whose first byte is 0x02, 0x05, 0x06 or 0x07.
#ifndef QORCPP_PRESENCE_HPP
#define QORCPP_PRESENCE_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qorcpp/export.hpp"

namespace qor {

// Where the bits of a selector are in its object, and how they form a number: as a signal type of the same parameters
// reads them.
class QORCPP_API presence_selector {
public:
    // byte_offset  from the object's start to the start of the selector's instance
    // bit_offset   of the lowest bit, from there (qorcpp/signal_layout.hpp)
    // bit_length   1 to 64
    // raw_bits     width of the type that stores the bits: 8, 16, 32 or 64
    // byte_order   0 or 2
    // is_signed    two's complement
    //
    // Throws: std::invalid_argument for another bit length, width or byte order, and for bits that a signal type
    // refuses to read, since they begin before the instance.
    presence_selector(std::uint32_t byte_offset, std::uint32_t bit_offset, std::uint32_t bit_length,
                      std::uint32_t raw_bits, std::uint8_t byte_order, bool is_signed);

    bool operator==(const presence_selector&) const = default;

    // The first byte of the object that is read, and the one behind the last.
    std::uint64_t begin() const noexcept { return begin_; }
    std::uint64_t end() const noexcept { return begin_ + count_; }

    bool is_signed() const noexcept { return is_signed_; }

    // The same selector for those who have the object's bytes from `bytes` on. Requires: bytes <= begin().
    presence_selector behind(std::uint64_t bytes) const noexcept {
        presence_selector result = *this;
        result.begin_ -= bytes;
        return result;
    }

    // The stored value as an ordinal (see ordinal); nothing when not all of its bytes are in `object`.
    std::optional<std::uint64_t> read(std::span<const std::uint8_t> object) const noexcept;

    // The ordinal of a value that is given in two's complement: ordinals compare, as unsigned numbers, like the values.
    std::uint64_t ordinal(std::uint64_t value) const noexcept {
        return is_signed_ ? value ^ (UINT64_C(1) << 63) : value;
    }

private:
    std::uint64_t begin_ = 0;
    // 1 to 9.
    std::uint8_t count_ = 0;
    // Of the lowest bit, counted from the lowest bit of the byte that holds it.
    std::uint8_t shift_ = 0;
    std::uint8_t length_ = 0;
    // The byte at the lowest address is the most significant.
    bool high_first_ = false;
    bool is_signed_ = false;
};

// Ordinals of a selector, first to last, both counted in.
struct presence_range {
    std::uint64_t first;
    std::uint64_t last;

    bool operator==(const presence_range&) const = default;
};

// One condition: the selector's value lies in one of the ranges.
struct QORCPP_API presence_condition {
    presence_selector selector;
    std::string selector_name;
    std::vector<presence_range> ranges;

    bool admits(std::uint64_t ordinal) const noexcept;
};

// All conditions of a signal.
class QORCPP_API presence {
public:
    // No condition: always there.
    presence() = default;

    // Throws: std::invalid_argument "invalid presence condition 'TEXT': REASON at COLUMN". An empty text is an error.
    explicit presence(std::string_view text);

    const std::vector<presence_condition>& conditions() const noexcept { return conditions_; }

    // Whether all conditions hold for an object of which these bytes, from its start, are there. A condition whose
    // selector is not wholly there does not hold.
    bool holds(std::span<const std::uint8_t> object) const noexcept;

private:
    std::vector<presence_condition> conditions_;
};

} // namespace qor

#endif
