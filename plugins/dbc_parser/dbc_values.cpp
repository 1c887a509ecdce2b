// Value tables, value types and extended multiplexing: what a DBC says about the meaning of a signal's bits.
#include <charconv>
#include <cmath>
#include <optional>

#include "plugins/dbc_parser/dbc_names.hpp"
#include "plugins/dbc_parser/dbc_sections.hpp"
#include "plugins/dbc_parser/text_encoding.hpp"

namespace dbc_parser {

namespace {

// The message and signal that a statement begins with, and their place.
struct signal_reference {
    size_t offset;
    uint64_t written_id;
    std::string_view name;

    std::string label() const { return label_of(written_id, name); }
};

signal_reference read_signal_reference(dbc_cursor& cursor) {
    cursor.skip_white();
    const size_t offset = cursor.offset();
    const uint64_t id = cursor.read_unsigned("a message's id");
    return {offset, id, cursor.read_word("a signal's name")};
}

// Tells of a signal that is not there, at the end of the file.
void miss(reading& reading, const signal_reference& signal, const char* what) {
    if (!reading.is_independent(signal.written_id) && !reading.defer()) {
        reading.warn_at(signal.offset,
                        std::string(what) + " of " + signal.label() + " is left out: the signal is not defined");
    }
}

// A stored value as the catalogue writes it; nothing for a fraction and for more than 64 bits.
std::optional<std::string> stored_value(std::string_view number) {
    number.remove_prefix(number.front() == '+' ? 1 : 0);
    const char* const end = number.data() + number.size();
    if (number.front() == '-') {
        int64_t value = 0;
        const auto result = std::from_chars(number.data(), end, value);
        if (result.ec == std::errc() && result.ptr == end) {
            return std::to_string(value);
        }
    } else {
        uint64_t value = 0;
        const auto result = std::from_chars(number.data(), end, value);
        if (result.ec == std::errc() && result.ptr == end) {
            return std::to_string(value);
        }
    }
    double value = 0;
    const auto result = std::from_chars(number.data(), end, value);
    if (result.ec != std::errc() || value != std::floor(value) || std::fabs(value) >= 9.2e18) {
        return std::nullopt;
    }
    return std::to_string(static_cast<int64_t>(value));
}

void append_entry(std::string& table, std::string_view value, std::string_view text) {
    table += table.empty() ? "" : "\n";
    table += value;
    table += '=';
    for (const char character : readable_text(text)) {
        if (character == '\\') {
            table += "\\\\";
        } else if (character == '\n') {
            table += "\\n";
        } else {
            table += character;
        }
    }
}

bool begins_number(char byte) noexcept {
    return (byte >= '0' && byte <= '9') || byte == '-' || byte == '+' || byte == '.';
}

// `number "text"` pairs up to the end of the statement, in the form of the catalogue. What stands before a fault is
// used.
template<typename Label>
std::string read_table_entries(reading& reading, const Label& label) {
    dbc_cursor& cursor = reading.cursor;
    std::string table;
    try {
        for (cursor.skip_white(); begins_number(cursor.peek()); cursor.skip_white()) {
            const size_t offset = cursor.offset();
            const auto number = cursor.read_number_text("a value or ';'");
            const auto text = cursor.read_text("a value's text", true);
            if (const auto value = stored_value(number)) {
                append_entry(table, *value, text);
            } else {
                reading.warn_at(offset, label() + ": the text of a value that is not an integer is left out");
            }
        }
        end_statement(cursor);
    } catch (const statement_error& fault) {
        reading.warn_at(fault.offset, label() + ": the rest of the value table is left out: " + fault.what());
        cursor.set_offset(reading.statement);
        skip_to_section(cursor);
    }
    return table;
}

// The table that a VAL_ names; null after a warning.
std::shared_ptr<const std::string> read_named_table(reading& reading, const signal_reference& signal) {
    dbc_cursor& cursor = reading.cursor;
    const auto name = cursor.read_word("a value table's name");
    end_statement(cursor);
    const auto found = reading.value_tables.find(name);
    if (found == reading.value_tables.end()) {
        if (!reading.defer()) {
            reading.warn_at(signal.offset, "the value table of " + signal.label() +
                                               " is left out: there is no value table " + quoted_name(name));
        }
        return nullptr;
    }
    if (found->second->size() > reading.file.room) {
        reading.warn_at(signal.offset, signal.label() + ": the value table is left out: the tables of the file's " +
                                           "signals are too long");
        return nullptr;
    }
    reading.file.room -= found->second->size();
    return found->second;
}

// "0-0, 5-7;": a range is written without blanks, but they do no harm.
void read_ranges(dbc_cursor& cursor, std::vector<value_range>& ranges) {
    do {
        const uint64_t first = cursor.read_unsigned("a selector's value");
        uint64_t last = first;
        if (cursor.accept('-')) {
            last = cursor.read_unsigned("the last value of a range");
        }
        ranges.push_back({std::min(first, last), std::max(first, last)});
    } while (cursor.accept(','));
}

} // namespace

void read_value_table(reading& reading) {
    const auto name = reading.cursor.read_word("the value table's name");
    const auto label = [&] { return "value table " + quoted_name(name); };
    reading.value_tables[name] = std::make_shared<const std::string>(read_table_entries(reading, label));
}

void read_values(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    cursor.skip_white();
    const auto word = cursor.peek_word();
    const bool has_id = !word.empty() && word.find_first_not_of("0123456789") == std::string_view::npos;
    if (!word.empty() && !has_id && !begins_number(word.front())) {
        pass_statement(reading); // an environment variable's
        return;
    }
    const signal_reference reference = read_signal_reference(cursor);
    dbc_signal* const signal = reading.file.find_signal(reference.written_id, reference.name);
    if (signal == nullptr && !reading.all_known) {
        miss(reading, reference, "the value table");
        pass_statement(reading);
        return;
    }
    cursor.skip_white();
    std::shared_ptr<const std::string> table;
    if (!cursor.at_end() && cursor.peek() != ';' && !begins_number(cursor.peek()) &&
        find_section(cursor.peek_word()) == nullptr) {
        table = read_named_table(reading, reference);
    } else {
        table = std::make_shared<const std::string>(read_table_entries(reading, [&] { return reference.label(); }));
    }
    if (signal == nullptr) {
        miss(reading, reference, "the value table");
    } else if (table != nullptr) {
        signal->value_table = std::move(table);
    }
}

void read_signal_value_type(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    const signal_reference reference = read_signal_reference(cursor);
    cursor.accept(':');
    const uint64_t type = cursor.read_unsigned("0, 1 or 2");
    end_statement(cursor);
    dbc_signal* const signal = reading.file.find_signal(reference.written_id, reference.name);
    if (signal == nullptr) {
        miss(reading, reference, "the value type");
    } else if ((type == 1 && signal->bits.bit_length == 32) || (type == 2 && signal->bits.bit_length == 64)) {
        signal->type = type == 1 ? value_type::float32 : value_type::float64;
    } else if (type != 0) {
        reading.warn_at(reference.offset, reference.label() + " stays an integer: value type " + std::to_string(type) +
                                              " does not match " + std::to_string(signal->bits.bit_length) + " bits");
    }
}

void read_extended_multiplexing(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    const signal_reference reference = read_signal_reference(cursor);
    const auto selector = cursor.read_word("a selector's name");
    std::vector<value_range> ranges;
    read_ranges(cursor, ranges);
    end_statement(cursor);
    dbc_signal* const signal = reading.file.find_signal(reference.written_id, reference.name);
    if (signal == nullptr) {
        miss(reading, reference, "the multiplexing");
        return;
    }
    dbc_multiplexing& multiplexing = signal->make_multiplexing();
    if (multiplexing.selector == selector) {
        multiplexing.ranges.insert(multiplexing.ranges.end(), ranges.begin(), ranges.end());
    } else if (multiplexing.selector.empty()) {
        multiplexing.selector = selector;
        multiplexing.ranges = std::move(ranges);
    } else {
        reading.warn_at(reference.offset,
                        reference.label() + " has a selector already, " + quoted_name(selector) + " is left out");
    }
}

} // namespace dbc_parser
