// From the raw number to the physical value. Everything is done in double, and the order of the operations decides the
// rounding: it belongs to the result.
#ifndef INTROSPECTION_XTYPES_SIGNAL_CONVERSION_HPP
#define INTROSPECTION_XTYPES_SIGNAL_CONVERSION_HPP

#include <limits>
#include <type_traits>

#include "introspection/xtypes/numeric.hpp"
#include "introspection/xtypes/signal/signal_parameters.hpp"

namespace qor::introspection::xtypes {

// NaN anywhere makes a conversion rational.
constexpr signal_conversion conversion_of(const signal_coefficients& c) noexcept {
    const bool straight =
        c.numerator_x2 == 0.0 && c.denominator_x2 == 0.0 && c.denominator_x1 == 0.0 && c.denominator_x0 == 1.0;
    if (!straight) {
        return signal_conversion::rational;
    }
    return c.numerator_x1 == 1.0 && c.numerator_x0 == 0.0 ? signal_conversion::identity : signal_conversion::linear;
}

inline double linear_value(const signal_coefficients& c, double x) noexcept {
    return c.numerator_x1 * x + c.numerator_x0;
}

inline double polynomial(double x2, double x1, double x0, double x) noexcept {
    const double square = (x2 * x) * x;
    return x0 + (x1 * x + square);
}

// Stores the value in `value` and returns true, or returns false if the denominator is zero.
inline bool rational_value(const signal_coefficients& c, double x, double& value) noexcept {
    const double denominator = polynomial(c.denominator_x2, c.denominator_x1, c.denominator_x0, x);
    if (denominator == 0.0) {
        return false;
    }
    value = polynomial(c.numerator_x2, c.numerator_x1, c.numerator_x0, x) / denominator;
    return true;
}

// What a division by zero gives: 0 for integers, quiet NaN for reals.
template<typename T>
constexpr T zero_denominator_value() noexcept {
    if constexpr (std::is_floating_point_v<T>) {
        return std::numeric_limits<T>::quiet_NaN();
    } else {
        return T{0};
    }
}

} // namespace qor::introspection::xtypes

#endif
