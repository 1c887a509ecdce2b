// What describes a signal: where its bits lie, how they form a raw number, how that becomes the physical value.
#ifndef INTROSPECTION_XTYPES_SIGNAL_SIGNAL_PARAMETERS_HPP
#define INTROSPECTION_XTYPES_SIGNAL_SIGNAL_PARAMETERS_HPP

#include <cstdint>
#include <string>

#include "introspection/xtypes/type_kind.hpp"
#include "qorcpp/signal_codes.hpp"

namespace qor::introspection::xtypes {

using qor::signal_byte_order;
using qor::signal_encoding;

enum class signal_conversion : std::uint8_t {
    identity = 0,
    linear = 1,
    rational = 2,
};

// value = (numerator_x2 x^2 + numerator_x1 x + numerator_x0) / (denominator_x2 x^2 + denominator_x1 x + denominator_x0)
struct signal_coefficients {
    double numerator_x2 = 0.0;
    double numerator_x1 = 1.0;
    double numerator_x0 = 0.0;
    double denominator_x2 = 0.0;
    double denominator_x1 = 0.0;
    double denominator_x0 = 1.0;
};

struct signal_parameters {
    type_kind raw_kind;
    // Values other than the enumerators are kept; a read then fails.
    signal_byte_order byte_order;
    // Position of the least significant bit: bit n is bit n mod 8 of byte n / 8.
    std::uint32_t bit_offset;
    std::uint32_t bit_length;
    signal_coefficients coefficients;
    // Derived from the coefficients when a signal type is built.
    signal_conversion conversion;
    // Free text, for example the unit.
    std::string signal_suffix;
    // Values other than the enumerators behave like twos_complement.
    signal_encoding encoding;
};

} // namespace qor::introspection::xtypes

#endif
