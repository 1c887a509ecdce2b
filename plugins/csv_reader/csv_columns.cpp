#include "plugins/csv_reader/csv_columns.hpp"

#include <algorithm>

#include "qor_plugin_sdk/text_fields.hpp"

namespace qor::csv {

namespace {

struct column_name {
    std::string_view name; // in lower case
    column meaning;
};
constexpr column_name names[] = {
    {"timestamp", column::time}, {"time stamp", column::time},   {"arbitration_id", column::id},
    {"id", column::id},          {"extended", column::extended}, {"remote", column::remote},
    {"error", column::error},    {"dir", column::direction},     {"bus", column::bus},
    {"channel", column::bus},    {"len", column::length},        {"dlc", column::length},
    {"data", column::data}};

column column_of(std::string_view name) noexcept {
    for (const column_name& known : names) {
        if (sdk::is_word(name, known.name)) {
            return known.meaning;
        }
    }
    const bool is_byte = name.size() > 1 && sdk::lower(name[0]) == 'd' &&
                         std::all_of(name.begin() + 1, name.end(), [](char digit) { return sdk::is_digit(digit); });
    return is_byte ? column::byte : column::other;
}

} // namespace

std::string_view next_field(std::string_view& text) noexcept {
    const std::size_t end = text.find(',');
    std::string_view field = text.substr(0, end);
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    while (!field.empty() && sdk::is_blank(field.front())) {
        field.remove_prefix(1);
    }
    while (!field.empty() && sdk::is_blank(field.back())) {
        field.remove_suffix(1);
    }
    if (field.size() > 1 && field.front() == '"' && field.back() == '"') {
        field = field.substr(1, field.size() - 2);
    }
    return field;
}

std::optional<std::vector<column>> columns_of(std::string_view line, dialect dialect) {
    std::vector<column> columns;
    while (line.data() != nullptr) {
        columns.push_back(column_of(next_field(line)));
    }
    const auto has = [&](column column) { return std::find(columns.begin(), columns.end(), column) != columns.end(); };
    const column data = dialect == dialect::python_can ? column::data : column::byte;
    return has(column::time) && has(column::id) && has(data) ? std::optional(columns) : std::nullopt;
}

std::vector<column> default_columns(dialect dialect) {
    return *columns_of(dialect == dialect::python_can ? "timestamp,arbitration_id,extended,remote,error,dlc,data"
                                                      : "Time Stamp,ID,Extended,Dir,Bus,LEN,D1,D2,D3,D4,D5,D6,D7,D8",
                       dialect);
}

} // namespace qor::csv
