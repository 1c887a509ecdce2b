// The maker of signal types: picks one of the 121 instantiations of signal_type at run time.
#ifndef INTROSPECTION_XTYPES_SIGNAL_MAKE_SIGNAL_TYPE_HPP
#define INTROSPECTION_XTYPES_SIGNAL_MAKE_SIGNAL_TYPE_HPP

#include <cstdint>
#include <memory>
#include <string>

#include "introspection/xtypes/signal/signal_type_base.hpp"

namespace qor::introspection::xtypes {

// Stores the new type in `result`, or leaves it empty when one of the kinds is none of the eleven scalar kinds.
// Throws: std::invalid_argument "the specified underlying primitive type cannot store the specified bit length of the
// signal".
QORCPP_API void make_signal_type(const type_kind& converted_kind, const type_kind& raw_kind,
                                 std::shared_ptr<dynamic_type>& result, const signal_byte_order& byte_order,
                                 const std::uint32_t& bit_offset, const std::uint32_t& bit_length,
                                 const double& numerator_x2, const double& numerator_x1, const double& numerator_x0,
                                 const double& denominator_x2, const double& denominator_x1,
                                 const double& denominator_x0, const std::string& signal_suffix,
                                 const signal_encoding& encoding);

} // namespace qor::introspection::xtypes

#endif
