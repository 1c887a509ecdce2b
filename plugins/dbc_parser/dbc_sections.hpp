// The sections of a DBC, one reader each. A reader begins behind the section's keyword and throws statement_error where
// it cannot go on.
#ifndef PLUGINS_DBC_PARSER_DBC_SECTIONS_HPP
#define PLUGINS_DBC_PARSER_DBC_SECTIONS_HPP

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "plugins/dbc_parser/dbc_cursor.hpp"
#include "plugins/dbc_parser/dbc_model.hpp"

namespace dbc_parser {

// What the readers share while a file is read.
struct reading {
    reading(dbc_cursor& cursor, dbc_file& file, const warning_sink& warn) : cursor(cursor), file(file), warn(warn) {}

    dbc_cursor& cursor;
    dbc_file& file;
    const warning_sink& warn;

    // The message that SG_ lines belong to; null when there is none, or when it was left out.
    dbc_message* message = nullptr;
    size_t message_index = 0;
    // The last message was left out: so are its signals, without a word.
    bool message_was_left_out = false;

    // VAL_TABLE_ entries by name, in the form of the catalogue.
    std::unordered_map<std::string_view, std::string> value_tables;
    // BA_DEF_ enumerations and BA_DEF_DEF_ values by attribute name.
    std::unordered_map<std::string_view, std::vector<std::string_view>> enumerations;
    std::unordered_map<std::string_view, std::string_view> defaults;

    void warn_at(size_t offset, const std::string& cause) const { warn(offset, cause); }
};

using section_reader = void (*)(reading& reading);

// The reader of a keyword, null for a keyword that is no DBC's. Sections that say nothing about values have a reader
// that passes over them.
section_reader find_section(std::string_view keyword) noexcept;

// "message 'M'", "message 'M' signal 'S'", for messages.
std::string label_of(const dbc_message& message);
std::string label_of(const dbc_message& message, std::string_view signal);

// CM_, BA_DEF_, BA_DEF_DEF_, BA_; in dbc_attributes.cpp.
void read_comment(reading& reading);
void read_attribute_definition(reading& reading);
void read_attribute_default(reading& reading);
void read_attribute(reading& reading);

// Once all is read: marks the messages that VFrameFormat or ProtocolType call J1939.
void mark_parameter_groups(const reading& reading);

} // namespace dbc_parser

#endif
