#include "tools/tavi/row_writer.hpp"

#include <cmath>

#include <nlohmann/json.hpp>

namespace tavi::tool {

std::string csv_field(std::string_view text) {
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
        return std::string(text);
    }
    std::string field = "\"";
    for (const char character : text) {
        field += character == '"' ? std::string("\"\"") : std::string(1, character);
    }
    return field + '"';
}

std::string json_text(std::string_view text) {
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

void row_writer::write_header() {
    if (format_ == output_format::csv) {
        output_.write("timestamp,signal,value,unit\n");
    }
}

row_text row_writer::make_row(std::string_view signal, std::string_view unit) const {
    if (format_ == output_format::csv) {
        return {padded_text(',' + csv_field(signal) + ','), padded_text(',' + csv_field(unit) + '\n')};
    }
    return {padded_text(",\"signal\":" + json_text(signal) + ",\"value\":"),
            padded_text(",\"unit\":" + json_text(unit) + "}\n")};
}

void row_writer::set_time(std::string_view time) {
    if (format_ == output_format::csv) {
        time_.assign(time);
    } else {
        time_.assign("{\"timestamp\":", time.empty() ? std::string_view("null") : time);
    }
}

// JSON has no numbers that are none: they are texts there.
char* row_writer::write_floating(char* at, const host::record_plan& plan, const host::reading& value) const {
    if (format_ == output_format::csv || std::isfinite(value.floating_value)) {
        return plan.write_text(value, at);
    }
    *at++ = '"';
    at = plan.write_text(value, at);
    *at++ = '"';
    return at;
}

} // namespace tavi::tool
