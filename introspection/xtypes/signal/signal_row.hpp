// One row of the family of signal types: all that have the same raw kind. Each row has a source of its own.
#ifndef INTROSPECTION_XTYPES_SIGNAL_SIGNAL_ROW_HPP
#define INTROSPECTION_XTYPES_SIGNAL_SIGNAL_ROW_HPP

#include <memory>

#include "introspection/xtypes/signal/signal_parameters.hpp"

namespace qor::introspection::xtypes {

class dynamic_type;

// Null if `converted_kind` is none of the eleven scalar kinds. Defined in signal_row_definition.hpp.
// Throws: what the constructor of signal_type throws.
template<typename Raw>
std::shared_ptr<dynamic_type> make_signal_of_raw(type_kind converted_kind, const signal_parameters& signal);

} // namespace qor::introspection::xtypes

#endif
