// The bits of a signal put back into an instance, and copied from one instance to another.
#ifndef INTROSPECTION_XTYPES_SIGNAL_BIT_WRITER_HPP
#define INTROSPECTION_XTYPES_SIGNAL_BIT_WRITER_HPP

#include <cstddef>
#include <cstdint>

#include "introspection/xtypes/signal/signal_parameters.hpp"
#include "qorcpp/export.hpp"

namespace qor::introspection::xtypes {

// Sets bit `position` of `word`.
// Throws: std::out_of_range "invalid bitset<N> position" from 64 on.
QORCPP_API void set_bit(std::uint64_t& word, std::uint32_t position);

// Puts bit_length bits of the value at `source` (raw_size bytes, first byte least significant, zeros beyond), from bit
// bit_offset of the value on, into the first whole bytes of the destination; the bits that were set in its first byte
// stay set, and the last bit_length mod 8 bits are not written. Byte orders that have no name write nothing.
// Throws: std::runtime_error "big endian signal encoding not supported", "inconsistent big endian signal encoding not
// supported"; std::out_of_range as set_bit.
QORCPP_API void write_signal_bits(const signal_parameters& signal, std::uint8_t* destination,
                                  const std::uint8_t* source, std::size_t raw_size);

// Copies the signal's bits to the same place of another instance and leaves the bits around them alone. Beyond bit 7
// they continue in the next byte for little endian, in the byte before for every other order; what would lie before
// the instance is left out.
QORCPP_API void copy_signal_bits(const signal_parameters& signal, std::uint8_t* destination,
                                 const std::uint8_t* source);

} // namespace qor::introspection::xtypes

#endif
