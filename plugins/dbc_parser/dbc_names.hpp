// Names as URL levels can carry them.
#ifndef PLUGINS_DBC_PARSER_DBC_NAMES_HPP
#define PLUGINS_DBC_PARSER_DBC_NAMES_HPP

#include <string>
#include <string_view>
#include <vector>

namespace dbc_parser {

// Letters, digits, '_' and '-' stay, any other character becomes '_'; a name that does not begin with a letter or '_'
// gets a leading '_'.
std::string node_name_of(std::string_view name);

// Whether a name stands in the catalogue as it is.
bool is_node_name(std::string_view name) noexcept;

// For messages: in quotes, as UTF-8, cut when it is long.
std::string quoted_name(std::string_view name);

// Names in the catalogue for siblings, in their order, all different. Names that can stand as they are keep themselves,
// of two equal ones the first; then changed ones; the others get the first of "x_1", "x_2" that none of them has.
std::vector<std::string> unique_node_names(const std::vector<std::string_view>& names);

} // namespace dbc_parser

#endif
