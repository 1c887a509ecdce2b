// The sections of a DBC, one reader each. A reader begins behind the section's keyword and throws statement_error where
// it cannot go on.
#ifndef PLUGINS_DBC_PARSER_DBC_SECTIONS_HPP
#define PLUGINS_DBC_PARSER_DBC_SECTIONS_HPP

#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "plugins/dbc_parser/dbc_cursor.hpp"
#include "plugins/dbc_parser/dbc_model.hpp"

namespace dbc_parser {

// The pseudo message that collects signals without a message, and the id that it mostly has.
inline constexpr std::string_view independent_signals_name = "VECTOR__INDEPENDENT_SIG_MSG";
inline constexpr uint64_t independent_signals_id = 0xC0000000;

// What the readers share while a file is read.
struct reading {
    reading(dbc_cursor& cursor, dbc_file& file, const warning_sink& warn) : cursor(cursor), file(file), warn(warn) {}

    dbc_cursor& cursor;
    dbc_file& file;
    const warning_sink& warn;

    // Where the statement at hand begins.
    size_t statement = 0;
    // Statements about messages and signals that had not been met. They are read again at the end, when all are known.
    std::vector<size_t> deferred;
    bool all_known = false;

    // The message that SG_ lines belong to; null when there is none, or when it was left out.
    dbc_message* message = nullptr;
    size_t message_index = 0;
    // Empty, with room for the signals of a message: those of a file then take no more than they need, without gaps.
    std::vector<dbc_signal> spare_signals;
    // The last message was left out: so are its signals, without a word.
    bool message_was_left_out = false;
    // The signal that an SG_ line is about; empty until its name is read.
    std::string_view signal_name;

    // VAL_TABLE_ entries by name, in the form of the catalogue.
    std::unordered_map<std::string_view, std::shared_ptr<const std::string>> value_tables;
    // BA_DEF_ enumerations and BA_DEF_DEF_ values by attribute name.
    std::unordered_map<std::string_view, std::vector<std::string_view>> enumerations;
    std::unordered_map<std::string_view, std::string_view> defaults;

    // Other ids that the pseudo message has in the file.
    std::set<uint64_t> independent_ids;

    // Whether an id is that of the pseudo message: what the file says of its signals is passed over.
    bool is_independent(uint64_t written_id) const {
        return written_id == independent_signals_id || independent_ids.contains(written_id);
    }

    void warn_at(size_t offset, const std::string& cause) const { warn(offset, cause); }

    // Whether a statement about something unknown is to be left for later.
    bool defer() {
        if (!all_known) {
            deferred.push_back(statement);
        }
        return !all_known;
    }
};

using section_reader = void (*)(reading& reading);

// The reader of a keyword, null for a keyword that is no DBC's. Sections that say nothing about values have a reader
// that passes over them.
section_reader find_section(std::string_view keyword) noexcept;

// "message 'M'", "message 'M' signal 'S'", "message 100 signal 'S'", for messages.
std::string label_of(const dbc_message& message);
std::string label_of(const dbc_message& message, std::string_view signal);
std::string label_of(uint64_t written_id, std::string_view signal);

// To the next line that begins with a known keyword, or to the end.
void skip_to_section(dbc_cursor& cursor);
// The ';' behind a statement, which may be missing where another section begins.
void end_statement(dbc_cursor& cursor);
// Behind the statement's ';', or to the line that begins another section: for statements that are of no use.
void pass_statement(reading& reading);

// CM_, BA_DEF_, BA_DEF_DEF_, BA_; in dbc_attributes.cpp.
void read_comment(reading& reading);
void read_attribute_definition(reading& reading);
void read_attribute_default(reading& reading);
void read_attribute(reading& reading);

// BO_, SG_; in dbc_messages.cpp.
void read_message(reading& reading);
void read_signal(reading& reading);

// VAL_TABLE_, VAL_, SIG_VALTYPE_, SG_MUL_VAL_; in dbc_values.cpp.
void read_value_table(reading& reading);
void read_values(reading& reading);
void read_signal_value_type(reading& reading);
void read_extended_multiplexing(reading& reading);

// Once all is read: marks the messages that VFrameFormat or ProtocolType call J1939, see parameter_groups.hpp.
void mark_parameter_groups(const reading& reading);

} // namespace dbc_parser

#endif
