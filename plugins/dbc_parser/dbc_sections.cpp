#include "plugins/dbc_parser/dbc_sections.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "plugins/dbc_parser/text_encoding.hpp"

namespace dbc_parser {

namespace {

constexpr uint64_t extended_id_flag = uint64_t{1} << 31;
constexpr uint32_t highest_standard_id = 0x7FF;
constexpr uint32_t highest_extended_id = 0x1FFFFFFF;
// The pseudo message that collects signals without one.
constexpr uint64_t independent_signals_id = 0xC0000000;
// The longest message there is: a J1939 transport protocol message.
constexpr uint64_t longest_message = 1785;

void pass_statement(reading& reading) {
    reading.cursor.skip_statement();
}

void pass_line(reading& reading) {
    reading.cursor.skip_line();
}

void read_version(reading& reading) {
    reading.file.version = reading.cursor.read_text("the version", true);
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

bool accept_message_id(reading& reading, size_t offset, dbc_message& message) {
    const uint64_t id = message.written_id;
    if (id == independent_signals_id) {
        return false;
    }
    if ((id & extended_id_flag) != 0 && id <= (extended_id_flag | highest_extended_id)) {
        message.frame_id = static_cast<uint32_t>(id);
        return true;
    }
    if (id <= highest_standard_id) {
        message.frame_id = static_cast<uint32_t>(id);
        return true;
    }
    if (id <= highest_extended_id) {
        reading.warn_at(offset, label_of(message) + ": the id " + std::to_string(id) +
                                    " has more than 11 bits and is taken as a 29-bit id");
        message.frame_id = static_cast<uint32_t>(id | extended_id_flag);
        return true;
    }
    reading.warn_at(offset, label_of(message) + " is left out: the id " + std::to_string(id) + " is no CAN id");
    return false;
}

void read_message(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    reading.message = nullptr;
    reading.message_was_left_out = true;
    dbc_message message;
    cursor.skip_white();
    const size_t id_offset = cursor.offset();
    message.written_id = cursor.read_unsigned("the message's id");
    cursor.skip_white();
    message.offset = cursor.offset();
    message.name = cursor.read_word("the message's name");
    cursor.expect(':', "':' behind the message's name");
    cursor.skip_white();
    const size_t size_offset = cursor.offset();
    const uint64_t size = cursor.read_unsigned("the message's length");
    cursor.skip_line(); // the transmitter says nothing about values
    if (!accept_message_id(reading, id_offset, message)) {
        return;
    }
    if (size > longest_message) {
        reading.warn_at(size_offset, label_of(message) + ": the length " + std::to_string(size) +
                                         " is beyond any message and is taken from the signals");
    } else {
        message.size = static_cast<uint32_t>(size);
    }
    const dbc_message* const known = reading.file.find_message(message.written_id);
    if (known != nullptr && known->name == message.name) {
        reading.warn_at(message.offset, label_of(message) + " is left out: it stands in the file before");
        return;
    }
    if (known != nullptr) {
        reading.warn_at(message.offset,
                        label_of(message) + " has the id of message '" + to_utf8(known->name) + "'; both are kept");
    }
    reading.message_index = reading.file.messages.size();
    reading.file.messages.push_back(std::move(message));
    reading.file.index_message(reading.message_index);
    reading.message = &reading.file.messages.back();
    reading.message_was_left_out = false;
}

// "M", "m3", "m3M" before the ':' of a signal.
void read_multiplex_mark(dbc_cursor& cursor, dbc_signal& signal) {
    const auto mark = cursor.read_word("'M', 'm' with a number, or ':'");
    std::string_view rest = mark;
    if (rest.starts_with('m')) {
        uint64_t value = 0;
        const auto [end, error] = std::from_chars(rest.data() + 1, rest.data() + rest.size(), value);
        if (error != std::errc()) {
            throw statement_error(cursor.offset() - mark.size(), "expected a number behind 'm'");
        }
        signal.multiplex_value = value;
        rest.remove_prefix(static_cast<size_t>(end - rest.data()));
    }
    if (rest == "M") {
        signal.is_selector = true;
    } else if (!rest.empty()) {
        throw statement_error(cursor.offset() - mark.size(),
                              "expected 'M', 'm' with a number, or ':', found '" + to_utf8(mark) + "'");
    }
}

void read_bits(dbc_cursor& cursor, dbc_signal& signal) {
    cursor.skip_white();
    const size_t offset = cursor.offset();
    const uint64_t start = cursor.read_unsigned("the start bit");
    cursor.expect('|', "'|' behind the start bit");
    cursor.skip_white();
    const size_t length_offset = cursor.offset();
    const uint64_t length = cursor.read_unsigned("the number of bits");
    cursor.expect('@', "'@' behind the number of bits");
    cursor.skip_white();
    const char order = cursor.peek();
    if (order != '0' && order != '1') {
        cursor.fail_expected("the byte order, 0 or 1");
    }
    cursor.set_offset(cursor.offset() + 1);
    cursor.skip_white();
    const char sign = cursor.peek();
    if (sign != '+' && sign != '-') {
        cursor.fail_expected("the sign, + or -");
    }
    cursor.set_offset(cursor.offset() + 1);
    if (length == 0 || length > 64) {
        throw statement_error(length_offset, "a signal has 1 to 64 bits, not " + std::to_string(length));
    }
    if (start >= 8 * longest_message) {
        throw statement_error(offset, "the start bit " + std::to_string(start) + " is beyond any message");
    }
    signal.bits = lay_out(static_cast<uint32_t>(start), static_cast<uint32_t>(length), order == '0');
    signal.is_signed = sign == '-';
}

// "(factor,offset) [minimum|maximum]"
void read_conversion(reading& reading, dbc_signal& signal) {
    dbc_cursor& cursor = reading.cursor;
    cursor.expect('(', "'(' before the factor");
    signal.factor = cursor.read_number("the factor");
    cursor.expect(',', "',' behind the factor");
    signal.summand = cursor.read_number("the offset");
    cursor.expect(')', "')' behind the offset");
    cursor.skip_white();
    const size_t limits = cursor.offset();
    try {
        cursor.expect('[', "'[' before the limits");
        signal.minimum = cursor.read_number("the minimum");
        cursor.expect('|', "'|' behind the minimum");
        signal.maximum = cursor.read_number("the maximum");
        cursor.expect(']', "']' behind the maximum");
    } catch (const statement_error& fault) {
        // Limits change no value: without them the signal is as good.
        signal.minimum = signal.maximum = 0.0;
        reading.warn_at(fault.offset,
                        label_of(*reading.message, signal.name) + ": the limits are left out: " + fault.what());
        cursor.set_offset(limits);
    }
}

void read_unit(reading& reading, dbc_signal& signal) {
    try {
        signal.unit = reading.cursor.read_text("the unit", false);
    } catch (const statement_error& fault) {
        reading.warn_at(fault.offset,
                        label_of(*reading.message, signal.name) + ": the unit is left out: " + fault.what());
    }
    reading.cursor.skip_line(); // the receivers say nothing about values
}

void read_signal(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    if (reading.message == nullptr) {
        if (!reading.message_was_left_out) {
            throw statement_error(cursor.offset(), "expected a message before its signals");
        }
        cursor.skip_line();
        return;
    }
    dbc_signal signal;
    cursor.skip_white();
    signal.offset = cursor.offset();
    signal.name = cursor.read_word("the signal's name");
    try {
        if (!cursor.accept(':')) {
            read_multiplex_mark(cursor, signal);
            cursor.expect(':', "':' behind the signal's name");
        }
        read_bits(cursor, signal);
        read_conversion(reading, signal);
    } catch (const statement_error& fault) {
        throw statement_error(fault.offset, label_of(*reading.message, signal.name) + ": " + fault.what());
    }
    read_unit(reading, signal);
    reading.message->signals.push_back(std::move(signal));
    reading.file.index_signal(reading.message_index, reading.message->signals.size() - 1);
}

// `"text"` pairs up to ';', in the form of the catalogue.
std::string read_table_entries(reading& reading, const std::string& label) {
    dbc_cursor& cursor = reading.cursor;
    std::string table;
    while (!cursor.accept(';')) {
        cursor.skip_white();
        const size_t offset = cursor.offset();
        const double value = cursor.read_number("a value or ';'");
        const auto text = cursor.read_text("a value's text", true);
        // Beyond 2^63 no int64 holds the value, and no fraction can be stored.
        if (value != std::floor(value) || std::fabs(value) > 9.2e18) {
            reading.warn_at(offset, label + ": the text of a value that is no integer is left out");
            continue;
        }
        table += table.empty() ? "" : "\n";
        table += std::to_string(static_cast<int64_t>(value)) + "=";
        for (const char character : to_utf8(text)) {
            if (character == '\\') {
                table += "\\\\";
            } else if (character == '\n') {
                table += "\\n";
            } else if (character != '\r') {
                table += character;
            }
        }
    }
    return table;
}

void read_value_table(reading& reading) {
    const auto name = reading.cursor.read_word("the value table's name");
    reading.value_tables[name] = read_table_entries(reading, "value table '" + to_utf8(name) + "'");
}

bool begins_number(char byte) noexcept {
    return (byte >= '0' && byte <= '9') || byte == '-' || byte == '+';
}

void read_values(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    cursor.skip_white();
    const size_t offset = cursor.offset();
    if (!begins_number(cursor.peek())) {
        cursor.skip_statement(); // an environment variable's
        return;
    }
    const uint64_t id = cursor.read_unsigned("a message's id");
    const auto name = cursor.read_word("a signal's name");
    const std::string label = "message " + std::to_string(id) + " signal '" + to_utf8(name) + "'";
    cursor.skip_white();
    std::string table;
    if (cursor.peek() != ';' && !begins_number(cursor.peek())) {
        const auto referred = cursor.read_word("a value table's name");
        cursor.expect(';', "';' behind the value table's name");
        const auto found = reading.value_tables.find(referred);
        if (found == reading.value_tables.end()) {
            reading.warn_at(offset, label + ": there is no value table '" + to_utf8(referred) + "'");
            return;
        }
        table = found->second;
    } else {
        table = read_table_entries(reading, label);
    }
    if (dbc_signal* const signal = reading.file.find_signal(id, name)) {
        signal->value_table = std::move(table);
    } else if (id != independent_signals_id) {
        reading.warn_at(offset, "the value table of " + label + " is left out: there is no such signal");
    }
}

void read_signal_value_type(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    cursor.skip_white();
    const size_t offset = cursor.offset();
    const uint64_t id = cursor.read_unsigned("a message's id");
    const auto name = cursor.read_word("a signal's name");
    cursor.accept(':');
    const uint64_t type = cursor.read_unsigned("0, 1 or 2");
    cursor.accept(';');
    const std::string label = "message " + std::to_string(id) + " signal '" + to_utf8(name) + "'";
    dbc_signal* const signal = reading.file.find_signal(id, name);
    if (signal == nullptr) {
        if (id != independent_signals_id) {
            reading.warn_at(offset, "the value type of " + label + " is left out: there is no such signal");
        }
    } else if ((type == 1 && signal->bits.bit_length == 32) || (type == 2 && signal->bits.bit_length == 64)) {
        signal->type = type == 1 ? value_type::float32 : value_type::float64;
    } else if (type != 0) {
        reading.warn_at(offset, label + " stays an integer: value type " + std::to_string(type) + " does not go with " +
                                    std::to_string(signal->bits.bit_length) + " bits");
    }
}

int64_t clamped(uint64_t value) {
    return static_cast<int64_t>(std::min(value, uint64_t{std::numeric_limits<int64_t>::max()}));
}

// "0-0, 5-7;": a range is written without blanks, but they do no harm.
void read_ranges(dbc_cursor& cursor, std::vector<value_range>& ranges) {
    do {
        const uint64_t first = cursor.read_unsigned("a selector's value");
        uint64_t last = first;
        if (cursor.accept('-')) {
            last = cursor.read_unsigned("the last value of a range");
        }
        ranges.push_back({clamped(std::min(first, last)), clamped(std::max(first, last))});
    } while (cursor.accept(','));
}

void read_extended_multiplexing(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    cursor.skip_white();
    const size_t offset = cursor.offset();
    const uint64_t id = cursor.read_unsigned("a message's id");
    const auto name = cursor.read_word("a signal's name");
    const auto selector = cursor.read_word("a selector's name");
    std::vector<value_range> ranges;
    read_ranges(cursor, ranges);
    cursor.accept(';');
    if (dbc_signal* const signal = reading.file.find_signal(id, name)) {
        signal->selector = selector;
        signal->ranges = std::move(ranges);
    } else {
        reading.warn_at(offset, "the multiplexing of message " + std::to_string(id) + " signal '" + to_utf8(name) +
                                    "' is left out: there is no such signal");
    }
}

struct section {
    std::string_view keyword;
    section_reader read;
};

constexpr section sections[] = {
    {"SG_", read_signal},
    {"BO_", read_message},
    {"VAL_", read_values},
    {"CM_", read_comment},
    {"BA_", read_attribute},
    {"SIG_VALTYPE_", read_signal_value_type},
    {"SG_MUL_VAL_", read_extended_multiplexing},
    {"VAL_TABLE_", read_value_table},
    {"BA_DEF_", read_attribute_definition},
    {"BA_DEF_DEF_", read_attribute_default},
    {"VERSION", read_version},
    {"NS_", read_new_symbols},
    {"BS_", pass_line},
    {"BU_", pass_line},
    {"BO_TX_BU_", pass_statement},
    {"EV_", pass_statement},
    {"ENVVAR_DATA_", pass_statement},
    {"EV_DATA_", pass_statement},
    {"SGTYPE_", pass_statement},
    {"SGTYPE_VAL_", pass_statement},
    {"SIG_TYPE_REF_", pass_statement},
    {"SIG_GROUP_", pass_statement},
    {"SIGTYPE_VALTYPE_", pass_statement},
    {"BA_DEF_SGTYPE_", pass_statement},
    {"BA_SGTYPE_", pass_statement},
    {"BA_DEF_REL_", pass_statement},
    {"BA_REL_", pass_statement},
    {"BA_DEF_DEF_REL_", pass_statement},
    {"BU_SG_REL_", pass_statement},
    {"BU_EV_REL_", pass_statement},
    {"BU_BO_REL_", pass_statement},
    {"CAT_DEF_", pass_statement},
    {"CAT_", pass_statement},
};

} // namespace

section_reader find_section(std::string_view keyword) noexcept {
    for (const section& section : sections) {
        if (section.keyword == keyword) {
            return section.read;
        }
    }
    return nullptr;
}

std::string label_of(const dbc_message& message) {
    return "message '" + to_utf8(message.name) + "'";
}

std::string label_of(const dbc_message& message, std::string_view signal) {
    return label_of(message) + " signal '" + to_utf8(signal) + "'";
}

} // namespace dbc_parser
