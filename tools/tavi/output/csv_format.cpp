// CSV: a header, then a row for each value.
#include "tools/tavi/output/row_format.hpp"

namespace tavi::tool {

namespace {

std::string before_value(std::string_view signal, const cell_rules& rules) {
    return ',' + csv_field(signal, rules) + ',';
}

std::string after_value(std::string_view unit, const cell_rules& rules) {
    return ',' + csv_field(unit, rules) + '\n';
}

} // namespace

const row_format csv_format{"timestamp,signal,value,unit\n", "", "", false, before_value, after_value};

} // namespace tavi::tool
