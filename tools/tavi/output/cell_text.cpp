#include "tools/tavi/output/cell_text.hpp"

#include <cstdint>
#include <cstdio>

#include <nlohmann/json.hpp>

#include "qorc/text.hpp"
#include "tools/tavi/report/printable.hpp"
#include "tools/tavi/report/text_character.hpp"

namespace tavi::tool {

namespace {

// The forms of full width are read as the others where they are in use.
constexpr char32_t fullwidth_offset = 0xFEE0;

std::uint32_t ascii_of(std::uint32_t code) {
    return code > fullwidth_offset + ' ' && code <= fullwidth_offset + '~' ? code - fullwidth_offset : code;
}

// Signs and symbols beyond ASCII, such as those of degrees, are no letters.
bool can_be_computed(std::uint32_t code) {
    const bool is_foreign_letter = code >= 0xC0 && (code < 0x2000 || code >= 0x2C00);
    const auto byte = static_cast<char>(code < 0x80 ? code : 0);
    return is_foreign_letter || qor::is_digit(byte) || qor::is_letter(byte) ||
           (byte != 0 && std::string_view("([{\"'$=@").find(byte) != std::string_view::npos);
}

void append_escaped(std::string& json, std::uint32_t code) {
    char text[16];
    if (code >= 0x10000) { // two halves of a pair
        std::snprintf(text, sizeof text, "\\u%04x\\u%04x", 0xD7C0 + (code >> 10), 0xDC00 + (code & 0x3FF));
    } else {
        std::snprintf(text, sizeof text, "\\u%04x", code);
    }
    json += text;
}

} // namespace

bool runs_as_formula(std::string_view text) {
    for (bool has_sign = false; !text.empty();) {
        const text_character next = first_character(text);
        const std::uint32_t code = next.kind == character_kind::invalid ? 0 : ascii_of(next.code);
        if (code == '+' || code == '-') {
            has_sign = true;
        } else if (code != ' ') {
            return code == '=' || code == '@' || (has_sign && can_be_computed(code));
        }
        text.remove_prefix(next.length);
    }
    return false;
}

std::string csv_field(std::string_view text, const cell_rules& rules) {
    std::string cell = rules.is_for_terminal ? printable(text) : without_controls(text);
    if (rules.guards_formulas && runs_as_formula(cell)) {
        cell.insert(cell.begin(), '\'');
    }
    if (cell.find_first_of(",\"") == std::string::npos) {
        return cell;
    }
    std::string field = "\"";
    for (const char character : cell) {
        field += character == '"' ? std::string("\"\"") : std::string(1, character);
    }
    return field + '"';
}

std::string json_text(std::string_view text) {
    return escape_json(nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
}

std::string escape_json(std::string_view json) {
    std::string result;
    while (!json.empty()) {
        const text_character next = first_character(json);
        const bool is_layout = next.code == '\n' || next.code == '\t'; // between the texts
        if ((next.kind == character_kind::control && !is_layout) || next.kind == character_kind::format) {
            append_escaped(result, next.code);
        } else {
            result += json.substr(0, next.length);
        }
        json.remove_prefix(next.length);
    }
    return result;
}

} // namespace tavi::tool
