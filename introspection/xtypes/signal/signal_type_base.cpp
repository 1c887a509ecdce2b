#include "introspection/xtypes/signal/signal_type_base.hpp"

#include <utility>

namespace qor::introspection::xtypes {

signal_type_base::signal_type_base(type_kind kind, std::string name) : dynamic_type(kind, std::move(name)) {}

signal_type_base::signal_type_base(const signal_type_base& other) = default;

signal_type_base::~signal_type_base() = default;

} // namespace qor::introspection::xtypes
