// JSON lines: an object for each value. JSON has no numbers for NaN and infinity: they are texts.
#include "tools/tavi/output/row_format.hpp"

namespace tavi::tool {

namespace {

std::string before_value(std::string_view signal, const cell_rules&) {
    return ",\"signal\":" + json_text(signal) + ",\"value\":";
}

std::string after_value(std::string_view unit, const cell_rules&) {
    return ",\"unit\":" + json_text(unit) + "}\n";
}

} // namespace

const row_format jsonl_format{"", "{\"timestamp\":", "{\"timestamp\":null", true, before_value, after_value};

} // namespace tavi::tool
