#include "introspection/xtypes/signal/signal_row_definition.hpp"

namespace qor::introspection::xtypes {

template std::shared_ptr<dynamic_type> make_signal_of_raw<std::uint8_t>(type_kind, const signal_parameters&);

} // namespace qor::introspection::xtypes
