#include "plugins/dbc_parser/dbc_sections.hpp"

#include <algorithm>
#include <array>

#include "plugins/dbc_parser/dbc_names.hpp"

namespace dbc_parser {

namespace {

void pass_line(reading& reading) {
    reading.cursor.skip_line();
}

void read_version(reading& reading) {
    reading.file.version = reading.cursor.read_text("the version", false);
}

// The list of keywords that a file uses: lines of a single word each, none of which begins a section here.
void read_new_symbols(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    cursor.skip_line();
    for (;;) {
        const size_t line = cursor.offset();
        cursor.skip_blanks();
        const auto word = cursor.peek_word();
        const size_t behind = cursor.offset() + word.size();
        cursor.set_offset(behind);
        cursor.skip_blanks();
        const char next = cursor.peek();
        if (cursor.at_end() || (next != '\n' && next != '\r')) {
            cursor.set_offset(line);
            return;
        }
        cursor.skip_line();
    }
}

// Names on the line, and on the lines behind it up to one that begins a section.
void pass_nodes(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    cursor.expect(':', "':' after BU_");
    for (cursor.skip_white(); !cursor.at_end() && find_section(cursor.peek_word()) == nullptr; cursor.skip_white()) {
        const auto word = cursor.peek_word();
        if (word.empty() && cursor.peek() != ',' && cursor.peek() != ';') {
            return;
        }
        cursor.set_offset(cursor.offset() + std::max<size_t>(word.size(), 1));
    }
}

struct section {
    std::string_view keyword;
    section_reader read;
};

constexpr std::array<section, 33> sections = {{
    {"BA_", read_attribute},
    {"BA_DEF_", read_attribute_definition},
    {"BA_DEF_DEF_", read_attribute_default},
    {"BA_DEF_DEF_REL_", pass_statement},
    {"BA_DEF_REL_", pass_statement},
    {"BA_DEF_SGTYPE_", pass_statement},
    {"BA_REL_", pass_statement},
    {"BA_SGTYPE_", pass_statement},
    {"BO_", read_message},
    {"BO_TX_BU_", pass_statement},
    {"BS_", pass_line},
    {"BU_", pass_nodes},
    {"BU_BO_REL_", pass_statement},
    {"BU_EV_REL_", pass_statement},
    {"BU_SG_REL_", pass_statement},
    {"CAT_", pass_statement},
    {"CAT_DEF_", pass_statement},
    {"CM_", read_comment},
    {"ENVVAR_DATA_", pass_statement},
    {"EV_", pass_statement},
    {"EV_DATA_", pass_statement},
    {"NS_", read_new_symbols},
    {"SGTYPE_", pass_statement},
    {"SGTYPE_VAL_", pass_statement},
    {"SG_", read_signal},
    {"SG_MUL_VAL_", read_extended_multiplexing},
    {"SIGTYPE_VALTYPE_", pass_statement},
    {"SIG_GROUP_", pass_statement},
    {"SIG_TYPE_REF_", pass_statement},
    {"SIG_VALTYPE_", read_signal_value_type},
    {"VAL_", read_values},
    {"VAL_TABLE_", read_value_table},
    {"VERSION", read_version},
}};

constexpr bool by_keyword(const section& left, const section& right) noexcept {
    return left.keyword < right.keyword;
}

static_assert(std::is_sorted(sections.begin(), sections.end(), by_keyword));

} // namespace

section_reader find_section(std::string_view keyword) noexcept {
    const auto found = std::lower_bound(sections.begin(), sections.end(), section{keyword, nullptr}, by_keyword);
    return found != sections.end() && found->keyword == keyword ? found->read : nullptr;
}

std::string label_of(const dbc_message& message) {
    return "message " + quoted_name(message.name);
}

std::string label_of(const dbc_message& message, std::string_view signal) {
    return label_of(message) + " signal " + quoted_name(signal);
}

std::string label_of(uint64_t written_id, std::string_view signal) {
    return "message " + std::to_string(written_id) + " signal " + quoted_name(signal);
}

void skip_to_section(dbc_cursor& cursor) {
    do {
        cursor.skip_line();
        cursor.skip_blanks();
    } while (!cursor.at_end() && find_section(cursor.peek_word()) == nullptr);
}

void end_statement(dbc_cursor& cursor) {
    if (!cursor.accept(';') && !cursor.at_end() && find_section(cursor.peek_word()) == nullptr) {
        cursor.fail_expected("';' at the end");
    }
}

void pass_statement(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    while (!cursor.at_end()) {
        const char byte = cursor.peek();
        if (byte == '\n' || byte == '\r') {
            cursor.skip_line();
            cursor.skip_blanks();
            if (find_section(cursor.peek_word()) != nullptr) {
                return;
            }
        } else if (byte == '"') {
            cursor.skip_line_text();
        } else {
            cursor.set_offset(cursor.offset() + 1);
            if (byte == ';') {
                return;
            }
        }
    }
}

} // namespace dbc_parser
