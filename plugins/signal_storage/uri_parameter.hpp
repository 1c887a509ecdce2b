// Parameters of a storage URI before SQLite has opened it.
#ifndef PLUGINS_SIGNAL_STORAGE_URI_PARAMETER_HPP
#define PLUGINS_SIGNAL_STORAGE_URI_PARAMETER_HPP

#include <optional>
#include <string>
#include <string_view>

namespace qor::storage {

// The value of the first parameter of that name, by SQLite's rules: "file:cars.db3?mode=ro&busy_timeout=20#here" has
// two, `%` escapes are decoded, a plain path has none.
std::optional<std::string> uri_parameter(std::string_view uri, std::string_view name);

// Whether SQLite takes a parameter's value for true: yes, true, on, or a number other than 0.
bool is_true(std::string_view value);

} // namespace qor::storage

#endif
