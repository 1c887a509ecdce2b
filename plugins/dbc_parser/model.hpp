// What a DBC says, as its parser found it: messages with their signals, and the sections that speak of them by id and
// name. All texts are views into the text that was read.
#ifndef PLUGINS_DBC_PARSER_MODEL_HPP
#define PLUGINS_DBC_PARSER_MODEL_HPP

#include <cstdint>
#include <limits>
#include <string_view>
#include <vector>

#include "plugins/dbc_parser/diagnostics.hpp"
#include "plugins/dbc_parser/number.hpp"

namespace qor::dbc_parser {

// No element of a table.
inline constexpr std::uint32_t no_index = std::numeric_limits<std::uint32_t>::max();

// A row of elements in one of the description's tables.
struct table_range {
    std::uint32_t first = 0;
    std::uint32_t count = 0;
};

enum class value_type : std::uint8_t { integer, float32, float64 };

struct signal {
    std::string_view name;
    place at;
    // Number of the section, in the order of the text.
    std::uint32_t order = 0;
    // As written: for Motorola the most significant bit, else the least significant one; bit n is bit n mod 8 of byte
    // n / 8.
    std::uint32_t start_bit = 0;
    std::uint32_t bit_length = 0;
    bool is_motorola = false;
    bool is_signed = false;
    bool is_selector = false;
    bool is_multiplexed = false;
    // Of a multiplexed signal, the selector's value.
    std::uint64_t selected_by = 0;
    double factor = 1;
    double offset = 0;
    double minimum = 0;
    double maximum = 0;
    std::string_view unit;

    // What other sections say of it.
    value_type type = value_type::integer;
    bool is_left_out = false;
    std::string_view long_name;
    std::string_view comment;
    table_range values;
    // First of its list in description::selections and ::attributes.
    std::uint32_t selection = no_index;
    std::uint32_t attribute = no_index;
};

struct message {
    std::string_view name;
    place at;
    std::uint32_t order = 0;
    // As written, with bit 31 for 29-bit ids.
    std::uint32_t id = 0;
    std::uint64_t size = 0;
    std::vector<signal> signals;

    // Holds signals of no message, or was joined to an earlier one.
    bool is_left_out = false;
    std::string_view long_name;
    std::string_view comment;
    std::string_view frame_format;
    std::uint32_t attribute = no_index;
};

// The message, or signal of a message, that a section speaks of.
struct target {
    std::uint32_t message_id = 0;
    std::string_view signal;
    bool is_signal = false;
    place at;
    std::uint32_t order = 0;
};

struct comment {
    target of;
    std::string_view text;
};

struct value_entry {
    integer value;
    std::string_view text;
};

// VAL_: with entries of its own, or with the name of a table.
struct value_use {
    target of;
    table_range entries;
    std::string_view table;
};

struct named_table {
    std::string_view name;
    table_range entries;
};

struct type_use {
    target of;
    value_type type = value_type::integer;
};

// Values of a selector, first to last.
struct value_range {
    std::uint64_t first = 0;
    std::uint64_t last = 0;

    bool operator==(const value_range&) const = default;
};

// SG_MUL_VAL_: the selector's values under which a signal is there.
struct selection {
    target of;
    std::string_view selector;
    table_range ranges;
    std::uint32_t next = no_index;
};

struct attribute {
    // Not looked at for an attribute of the network.
    target of;
    std::string_view name;
    std::string_view value;
    bool is_number = false;
    std::uint32_t next = no_index;
};

struct attribute_definition {
    std::string_view name;
    // Of an ENUM; none for other types.
    table_range enumerators;
};

struct attribute_default {
    std::string_view name;
    std::string_view value;
};

struct description {
    std::string_view version;
    std::vector<std::string_view> comments;
    std::vector<message> messages;

    std::vector<comment> target_comments;
    std::vector<value_use> value_uses;
    std::vector<type_use> type_uses;
    std::vector<selection> selections;
    std::vector<attribute> attributes;
    std::vector<attribute> network_attributes;
    std::vector<attribute_definition> attribute_definitions;
    std::vector<attribute_default> attribute_defaults;
    std::vector<named_table> named_tables;

    // What the ranges above lie in.
    std::vector<value_entry> value_entries;
    std::vector<value_range> value_ranges;
    std::vector<std::string_view> enumerators;
};

} // namespace qor::dbc_parser

#endif
