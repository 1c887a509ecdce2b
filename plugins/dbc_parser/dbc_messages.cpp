// Messages and signals: what a DBC says about the bits of frames.
#include <algorithm>
#include <charconv>
#include <iterator>
#include <utility>

#include "plugins/dbc_parser/dbc_names.hpp"
#include "plugins/dbc_parser/dbc_sections.hpp"

namespace dbc_parser {

namespace {

constexpr uint64_t extended_id_flag = uint64_t{1} << 31;
constexpr uint32_t highest_standard_id = 0x7FF;
constexpr uint32_t highest_extended_id = 0x1FFFFFFF;
// The longest message there is: a J1939 transport protocol message.
constexpr uint64_t longest_message = 1785;
constexpr std::string_view blanks = " \t";

// What stands before the ':' of the line. Names that no tool should have written, with blanks or brackets inside, are
// made fit for the catalogue later.
std::string_view read_name(dbc_cursor& cursor, const char* what) {
    cursor.skip_blanks();
    const auto line = cursor.rest_of_line();
    const size_t end = line.find_first_of(":\"");
    if (end == std::string_view::npos || end == 0 || line[end] != ':') {
        cursor.read_word(what);
        cursor.skip_blanks();
        cursor.fail_expected("':' after the name");
    }
    cursor.set_offset(cursor.offset() + end + 1);
    return line.substr(0, line.find_last_not_of(blanks, end - 1) + 1);
}

// Sets the id as frames have it; whether the message can be used.
bool accept_message_id(reading& reading, size_t offset, dbc_message& message) {
    const uint64_t id = message.written_id;
    if (id == independent_signals_id || message.name == independent_signals_name) {
        reading.independent_ids.insert(id);
        return false;
    }
    const bool is_extended = (id & extended_id_flag) != 0 && id <= (extended_id_flag | highest_extended_id);
    if (is_extended || id <= highest_standard_id) {
        message.frame_id = static_cast<uint32_t>(id);
        return true;
    }
    if (id <= highest_extended_id) {
        reading.warn_at(offset, label_of(message) + ": the id " + std::to_string(id) +
                                    " has more than 11 bits and is treated as a 29-bit id");
        message.frame_id = static_cast<uint32_t>(id | extended_id_flag);
        return true;
    }
    reading.warn_at(offset, label_of(message) + " is left out: the id " + std::to_string(id) + " is not a CAN id");
    return false;
}

// A message that stands in the file before, under the same id and name, goes on.
void begin_message(reading& reading, dbc_message message) {
    const dbc_message* const known = reading.file.find_message(message.written_id);
    reading.message_was_left_out = false;
    if (known != nullptr && known->name == message.name) {
        reading.warn_at(message.offset,
                        label_of(message) +
                            " is defined again; signals that the first definition lacks are added to it");
        reading.message_index = static_cast<size_t>(known - reading.file.messages.data());
        reading.message = &reading.file.messages[reading.message_index];
        reading.message->size = std::max(reading.message->size, message.size);
        return;
    }
    if (known != nullptr) {
        reading.warn_at(message.offset,
                        label_of(message) + " has the id of message " + quoted_name(known->name) + "; both are kept");
    }
    reading.message_index = reading.file.messages.size();
    reading.file.messages.push_back(std::move(message));
    reading.file.index_message(reading.message_index);
    reading.message = &reading.file.messages.back();
    reading.message->signals = std::move(reading.spare_signals);
}

// Moves the signals of a message that has the spare memory into memory of their own size. Not those of a message that
// goes on: they would be moved at each of its parts.
void end_message(reading& reading) {
    if (reading.message == nullptr || reading.spare_signals.capacity() != 0) {
        return;
    }
    std::vector<dbc_signal>& signals = reading.message->signals;
    std::vector<dbc_signal> exact(std::make_move_iterator(signals.begin()), std::make_move_iterator(signals.end()));
    signals.clear();
    reading.spare_signals = std::exchange(signals, std::move(exact));
}

// "M", "m3", "m3M" after the name; whether the word is such a mark. An "m" without a number can only be the selector.
bool take_multiplex_mark(std::string_view mark, dbc_signal& signal) {
    const bool is_multiplexed = mark.starts_with('m');
    const bool is_selector = mark.ends_with('M');
    mark.remove_prefix(is_multiplexed ? 1 : 0);
    mark.remove_suffix(is_selector ? 1 : 0);
    if (mark.empty() && (is_multiplexed || is_selector)) {
        signal.is_selector = true;
        return true;
    }
    uint64_t value = 0;
    const auto [end, error] = std::from_chars(mark.data(), mark.data() + mark.size(), value);
    if (!is_multiplexed || end != mark.data() + mark.size() || error == std::errc::invalid_argument) {
        return false;
    }
    if (error == std::errc::result_out_of_range) {
        throw statement_error(signal.offset, "the selector's value has more than 64 bits");
    }
    signal.is_selector = is_selector;
    signal.make_multiplexing().value = value;
    return true;
}

void read_signal_name(dbc_cursor& cursor, dbc_signal& signal) {
    signal.name = read_name(cursor, "the signal's name");
    const size_t blank = signal.name.find_last_of(blanks);
    if (blank != std::string_view::npos && take_multiplex_mark(signal.name.substr(blank + 1), signal)) {
        signal.name = signal.name.substr(0, signal.name.find_last_not_of(blanks, blank) + 1);
    }
}

void read_bits(dbc_cursor& cursor, dbc_signal& signal) {
    cursor.skip_white();
    const size_t offset = cursor.offset();
    const uint64_t start = cursor.read_unsigned("the start bit");
    cursor.expect('|', "'|' after the start bit");
    cursor.skip_white();
    const size_t length_offset = cursor.offset();
    const uint64_t length = cursor.read_unsigned("the number of bits");
    cursor.expect('@', "'@' after the number of bits");
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
        throw statement_error(offset,
                              "the start bit " + std::to_string(start) + " is greater than that of any message");
    }
    signal.bits = lay_out(static_cast<uint32_t>(start), static_cast<uint32_t>(length), order == '0');
    signal.is_signed = sign == '-';
}

// "(factor,offset)"
void read_conversion(dbc_cursor& cursor, dbc_signal& signal) {
    cursor.expect('(', "'(' before the factor");
    signal.factor = cursor.read_number("the factor");
    cursor.expect(',', "',' after the factor");
    signal.summand = cursor.read_number("the offset");
    cursor.expect(')', "')' after the offset");
}

// "[minimum|maximum]". Limits change no value: without them the signal is as good.
void read_limits(const reading& reading, dbc_signal& signal) {
    dbc_cursor& cursor = reading.cursor;
    cursor.skip_blanks();
    try {
        cursor.expect('[', "'[' before the limits");
        signal.minimum = cursor.read_number("the minimum");
        cursor.expect('|', "'|' after the minimum");
        signal.maximum = cursor.read_number("the maximum");
        cursor.expect(']', "']' after the maximum");
    } catch (const statement_error& fault) {
        signal.minimum = signal.maximum = 0.0;
        reading.warn_at(fault.offset,
                        label_of(*reading.message, signal.name) + ": the limits are left out: " + fault.what());
        const auto line = cursor.rest_of_line();
        const size_t unit = std::min(line.find_first_of("]\""), line.size());
        cursor.set_offset(cursor.offset() + unit + (unit < line.size() && line[unit] == ']' ? 1 : 0));
    }
}

// The unit, and the receivers, who say nothing about values: they go on in the next line behind a ','.
void read_unit(const reading& reading, dbc_signal& signal) {
    dbc_cursor& cursor = reading.cursor;
    cursor.skip_blanks();
    try {
        signal.unit = cursor.read_text("the unit", false);
    } catch (const statement_error& fault) {
        reading.warn_at(fault.offset,
                        label_of(*reading.message, signal.name) + ": the unit is left out: " + fault.what());
    }
    bool goes_on = true;
    while (goes_on && !cursor.at_end()) {
        const auto receivers = cursor.rest_of_line();
        const size_t last = receivers.find_last_not_of(blanks);
        goes_on = last != std::string_view::npos && receivers[last] == ',';
        cursor.skip_line();
        const size_t next_line = cursor.offset();
        cursor.skip_blanks();
        goes_on = goes_on && find_section(cursor.peek_word()) == nullptr;
        cursor.set_offset(next_line);
    }
}

// Whether the message has this very signal already, from an earlier part of the file.
bool is_repeated(const reading& reading, const dbc_signal& signal) {
    const dbc_signal* const known = reading.file.find_signal_of(reading.message_index, signal.name);
    return known != nullptr && known->bits == signal.bits && known->is_signed == signal.is_signed &&
           known->factor == signal.factor && known->summand == signal.summand &&
           known->multiplexing().value == signal.multiplexing().value;
}

} // namespace

void read_message(reading& reading) {
    dbc_cursor& cursor = reading.cursor;
    end_message(reading);
    reading.message = nullptr;
    reading.message_was_left_out = true;
    dbc_message message;
    cursor.skip_white();
    const size_t id_offset = cursor.offset();
    message.written_id = cursor.read_unsigned("the message's id");
    cursor.skip_blanks();
    message.offset = cursor.offset();
    message.name = read_name(cursor, "the message's name");
    cursor.skip_white();
    const size_t size_offset = cursor.offset();
    const uint64_t size = cursor.read_unsigned("the message's length");
    cursor.skip_line(); // the transmitter says nothing about values
    if (!accept_message_id(reading, id_offset, message)) {
        return;
    }
    if (size > longest_message) {
        reading.warn_at(size_offset, label_of(message) + ": the length " + std::to_string(size) +
                                         " is greater than 1785; the length that the signals need is used");
    } else {
        message.size = static_cast<uint32_t>(size);
    }
    begin_message(reading, std::move(message));
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
    cursor.skip_blanks();
    signal.offset = cursor.offset();
    reading.signal_name = cursor.peek_word();
    read_signal_name(cursor, signal);
    reading.signal_name = signal.name;
    read_bits(cursor, signal);
    read_conversion(cursor, signal);
    read_limits(reading, signal);
    read_unit(reading, signal);
    if (!is_repeated(reading, signal)) {
        reading.message->signals.push_back(std::move(signal));
        reading.file.index_signal(reading.message_index, reading.message->signals.size() - 1);
    }
}

} // namespace dbc_parser
