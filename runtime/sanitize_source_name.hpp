// The name under which a source can stand in a URL expression.
#ifndef RUNTIME_SANITIZE_SOURCE_NAME_HPP
#define RUNTIME_SANITIZE_SOURCE_NAME_HPP

#include <string>

#include "qorc/extensibility/data_source.h"

namespace qor::extensibility {

// By the rule of qor_data_source_sanitize_name. Throws: std::runtime_error "failed to sanitize name".
std::string sanitize_source_name(const data_source& source);

} // namespace qor::extensibility

#endif
