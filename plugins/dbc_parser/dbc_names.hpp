// Names as URL levels can carry them.
#ifndef PLUGINS_DBC_PARSER_DBC_NAMES_HPP
#define PLUGINS_DBC_PARSER_DBC_NAMES_HPP

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

namespace dbc_parser {

// Letters, digits, '_' and '-' stay, any other character becomes '_'; a name that does not begin with a letter or '_'
// gets a leading '_'.
std::string node_name_of(std::string_view name);

// Whether a name stands in the catalogue as it is.
bool is_node_name(std::string_view name) noexcept;

// For messages: in quotes, as UTF-8, cut when it is long.
std::string quoted_name(std::string_view name);

// Makes names different from one another: "x", "x_1", "x_2".
class unique_names {
public:
    // `name`, or with a number behind it when it was taken before.
    std::string take(const std::string& name);

private:
    // To the number that is tried next.
    std::unordered_map<std::string, uint64_t> taken_;
};

} // namespace dbc_parser

#endif
