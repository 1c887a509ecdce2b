#include "introspection/xtypes/signal/make_signal_type.hpp"

#include "introspection/xtypes/signal/scalar_kinds.hpp"
#include "introspection/xtypes/signal/signal_row.hpp"

namespace qor::introspection::xtypes {

void make_signal_type(const type_kind& converted_kind, const type_kind& raw_kind, std::shared_ptr<dynamic_type>& result,
                      const signal_byte_order& byte_order, const std::uint32_t& bit_offset,
                      const std::uint32_t& bit_length, const double& numerator_x2, const double& numerator_x1,
                      const double& numerator_x0, const double& denominator_x2, const double& denominator_x1,
                      const double& denominator_x0, const std::string& signal_suffix, const signal_encoding& encoding) {
    result.reset();
    const signal_parameters signal{
        raw_kind,
        byte_order,
        bit_offset,
        bit_length,
        {numerator_x2, numerator_x1, numerator_x0, denominator_x2, denominator_x1, denominator_x0},
        signal_conversion::rational,
        signal_suffix,
        encoding};
    any_scalar([&](const auto& scalar) {
        using raw = typename std::remove_cvref_t<decltype(scalar)>::type;
        if (scalar.kind != raw_kind) {
            return false;
        }
        result = make_signal_of_raw<raw>(converted_kind, signal);
        return true;
    });
}

} // namespace qor::introspection::xtypes
