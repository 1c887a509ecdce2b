// Included by the sources of the rows alone.
#ifndef INTROSPECTION_XTYPES_SIGNAL_SIGNAL_ROW_DEFINITION_HPP
#define INTROSPECTION_XTYPES_SIGNAL_SIGNAL_ROW_DEFINITION_HPP

#include "introspection/xtypes/signal/signal_row.hpp"
#include "introspection/xtypes/signal/signal_type.hpp"

namespace qor::introspection::xtypes {

template<typename Raw>
std::shared_ptr<dynamic_type> make_signal_of_raw(type_kind converted_kind, const signal_parameters& signal) {
    std::shared_ptr<dynamic_type> result;
    any_scalar([&](const auto& scalar) {
        using converted = typename std::remove_cvref_t<decltype(scalar)>::type;
        if (scalar.kind != converted_kind) {
            return false;
        }
        const signal_coefficients& c = signal.coefficients;
        result = std::make_shared<signal_type<converted, Raw, 1>>(
            with_signal(converted_kind), signal.raw_kind,
            signal_type_name(scalar.c_name, scalar_of<Raw>().c_name, signal), signal.byte_order, signal.bit_offset,
            signal.bit_length, c.numerator_x2, c.numerator_x1, c.numerator_x0, c.denominator_x2, c.denominator_x1,
            c.denominator_x0, signal.signal_suffix, signal.encoding);
        return true;
    });
    return result;
}

} // namespace qor::introspection::xtypes

#endif
