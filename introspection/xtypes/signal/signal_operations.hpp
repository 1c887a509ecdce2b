// What all signal types do alike, whatever their two C types.
#ifndef INTROSPECTION_XTYPES_SIGNAL_SIGNAL_OPERATIONS_HPP
#define INTROSPECTION_XTYPES_SIGNAL_SIGNAL_OPERATIONS_HPP

#include <cstdint>
#include <string>
#include <string_view>

#include "introspection/xtypes/signal/signal_type_base.hpp"
#include "qorcpp/export.hpp"

namespace qor::introspection::xtypes {

// "signal_CONVERTED_RAW", byte order, encoding, offset, length, the six coefficients and the suffix, joined by "_":
//      signal_uint8_t_uint8_t_le_2c_12_4_0.000000_1.000000_0.000000_0.000000_0.000000_1.000000
QORCPP_API std::string signal_type_name(std::string_view converted_name, std::string_view raw_name,
                                        const signal_parameters& signal);

// The parameters with their conversion derived from the coefficients.
// Throws: std::invalid_argument "the specified type kind does not represent a primitive type", "the specified
// underlying primitive type cannot store the specified bit length of the signal".
QORCPP_API signal_parameters checked_signal(signal_parameters signal);

// Bytes touched by the bits; no bits at offset 0 give 2^61, by unsigned arithmetic.
QORCPP_API std::uint64_t signal_instance_size(const signal_parameters& signal) noexcept;

// Requires: `kind` is that of a signal.
QORCPP_API bool is_plain_signal(type_kind kind, const signal_parameters& signal);

QORCPP_API std::uint32_t signal_compatibility(const signal_type_base& self, const dynamic_type& other);

// The number's low (bit_length + 7) / 8 bytes, least significant first, but no more than raw_size.
QORCPP_API void store_signal_bits(std::uint64_t bits, std::uint32_t bit_length, std::size_t raw_size,
                                  std::uint8_t* destination) noexcept;

} // namespace qor::introspection::xtypes

#endif
