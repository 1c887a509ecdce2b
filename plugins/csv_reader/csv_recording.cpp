// Fields are read by the columns of the first line, and what they say together is checked afterwards:
//
//     Time Stamp,ID,Extended,Dir,Bus,LEN,D1,D2,D3,D4,D5,D6,D7,D8
//     166064000,0000021A,false,Rx,0,3,FE,36,5,00,00,00,00,00,
//
// is the frame 21A with the data FE 36 05 on bus 0 at 166.064000 s: bytes may have one digit, those beyond LEN do not
// count, and a comma may follow the last one. Times of 1973 and later, in seconds, are taken as counted from 1970.
#include "plugins/csv_reader/csv_recording.hpp"

namespace qor::csv {

namespace {

constexpr std::int64_t least_absolute_time = std::int64_t{100000000} * 1000000000;
constexpr const char* time_cause = "the time is not a number";

// Digits with a point, and an exponent as in 1.5e-05. A number without a point is multiplied by 10^-`places`.
bool read_decimal(std::string_view text, int places, sdk::recorded_time& time) noexcept {
    const bool is_negative = text.starts_with('-');
    text.remove_prefix(is_negative ? 1 : 0);
    std::int64_t value = 0;
    int scale = 0; // of `value`, in decimals
    int digits = 0;
    bool has_point = false;
    std::size_t at = 0;
    for (; at < text.size() && (sdk::is_digit(text[at]) || (text[at] == '.' && !has_point)); ++at) {
        if (text[at] == '.') {
            has_point = true;
        } else if (digits < 18) {
            value = value * 10 + (text[at] - '0');
            digits += value != 0 ? 1 : 0;
            scale += has_point ? 1 : 0;
        } else if (!has_point) {
            return false;
        }
    }
    if (at == 0 || (at == 1 && has_point)) {
        return false;
    }
    int exponent = 0;
    if (at < text.size()) {
        const char* const begin = text.data() + at + (text.substr(at).starts_with("e+") ? 2 : 1);
        const char* const end = text.data() + text.size();
        const auto [stop, failure] = std::from_chars(begin, end, exponent);
        if (text[at] != 'e' || failure != std::errc() || stop != end || exponent < -30 || exponent > 18) {
            return false;
        }
    }
    scale += (has_point || exponent != 0 ? 0 : places) - exponent;
    const int decimals = scale < 0 ? 0 : scale > 9 ? 9 : scale;
    for (; scale > 9; --scale) {
        value /= 10;
    }
    for (; scale < 9; ++scale) {
        if (value > INT64_MAX / 10) {
            return false;
        }
        value *= 10;
    }
    time = {is_negative ? -value : value, static_cast<std::uint8_t>(decimals)};
    return true;
}

bool read_whole(std::string_view field, unsigned base, std::uint32_t& number) noexcept {
    if (base == 16 && (field.starts_with("0x") || field.starts_with("0X"))) {
        field.remove_prefix(2);
    }
    const char* at = field.data();
    const char* const end = at + field.size();
    return sdk::read_digits(at, end, base, number) && at == end;
}

std::optional<bool> read_truth(std::string_view field) noexcept {
    if (field == "1" || sdk::is_word(field, "true")) {
        return true;
    }
    return field == "0" || sdk::is_word(field, "false") ? std::optional(false) : std::nullopt;
}

std::uint32_t base64_value(char character) noexcept {
    constexpr std::string_view characters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    return static_cast<std::uint32_t>(std::min(characters.find(character), std::size_t{64}));
}

} // namespace

std::int32_t csv_recording::recognise(std::span<const std::uint8_t> beginning, bool is_whole, dialect dialect) {
    constexpr std::size_t longest_header = 1000;
    const std::string text = sdk::beginning_as_text(beginning);
    const std::size_t begin = text.find_first_not_of("\r\n");
    const std::size_t end = text.find_first_of("\r\n", begin);
    if (begin == std::string::npos || (end == std::string::npos && !is_whole)) {
        const bool is_possible =
            begin == std::string::npos || (sdk::lower(text[begin]) == 't' && text.size() < longest_header);
        return is_possible && !is_whole && beginning.size() < QOR_RECORDING_BEGINNING ? QOR_RECORDING_NEEDS_MORE
                                                                                      : QOR_RECORDING_IS_OTHER;
    }
    return columns_of(std::string_view(text).substr(begin, end - begin), dialect) ? 95 : QOR_RECORDING_IS_OTHER;
}

void csv_recording::read_line(const sdk::text_line& line, sdk::batch_builder& batch) {
    if (const char* const control = sdk::find_control(line.text)) {
        return add_fault(batch, line, control, "the line contains a control character", "");
    }
    if (!has_lines_) {
        has_lines_ = true;
        if (auto columns = columns_of(line.text, dialect_)) {
            columns_ = std::move(*columns);
            header_ = line.text;
            return count_other("header line");
        }
        add_fault(batch, line, nullptr, "the first line does not name the columns", "the usual columns are assumed");
    }
    if (line.text == header_) {
        return count_other("header line"); // of a recording that was joined to this one
    }
    read_record(line, batch);
}

void csv_recording::read_record(const sdk::text_line& line, sdk::batch_builder& batch) {
    record record;
    std::string_view rest = line.text;
    const char* const end = rest.data() + rest.size();
    for (std::size_t index = 0; rest.data() != nullptr; ++index) {
        const std::string_view field = next_field(rest);
        // More bytes than the first line has columns for, or an empty field after the last comma.
        const bool is_beyond = index >= columns_.size();
        if (is_beyond && columns_.back() != column::byte && !field.empty()) {
            return add_fault(batch, line, field.data(), "the line has more fields than there are columns", "");
        }
        const column column = !is_beyond ? columns_[index] : field.empty() ? column::other : column::byte;
        if (const fault found = read_field(column, field, record); found.cause != nullptr) {
            return add_fault(batch, line, field.data(), found.cause, found.hint);
        }
    }
    if (record.time.decimals == QOR_RECORDED_WITHOUT_TIME || record.id_place == nullptr) {
        return add_fault(batch, line, end, "the line ends before time and id", "");
    }
    if (check(line, record, batch)) {
        add(line, record, batch);
    }
}

csv_recording::fault csv_recording::read_field(column column, std::string_view field, record& record) {
    const auto truth = [&](auto& value) -> fault {
        const auto found = read_truth(field);
        value = found.value_or(false);
        return found ? fault{} : fault{"neither true nor false", "values are true and false, or 1 and 0"};
    };
    switch (column) {
    case column::time:
        return read_decimal(field, dialect_ == dialect::gvret ? 6 : 0, record.time)
                   ? fault{}
                   : fault{time_cause,
                           dialect_ == dialect::gvret ? "times are whole microseconds" : "times are seconds"};
    case column::id:
        record.id_place = field.data();
        return read_whole(field, 16, record.id) ? fault{} : fault{"the id is not a hexadecimal number", ""};
    case column::extended:
        return truth(record.is_extended);
    case column::remote:
        return truth(record.is_remote);
    case column::error:
        return truth(record.is_error);
    case column::direction:
        record.is_sent = sdk::is_word(field, "tx");
        return record.is_sent || sdk::is_word(field, "rx") ? fault{} : fault{"the direction is neither Rx nor Tx", ""};
    case column::bus:
        return read_whole(field, 10, record.bus) && record.bus <= 255 ? fault{}
                                                                      : fault{"the bus is not a number up to 255", ""};
    case column::length:
        record.length = 0;
        return read_whole(field, 10, *record.length) && *record.length <= can_max_data_size
                   ? fault{}
                   : fault{"the data length is not a number up to 64", ""};
    case column::data:
        return read_base64(field, record);
    case column::byte:
        return read_byte(field, record);
    case column::other:
        break;
    }
    return {};
}

csv_recording::fault csv_recording::read_byte(std::string_view field, record& record) {
    record.data_place = field.data();
    if (record.length && record.bytes >= *record.length) {
        return {}; // what is beyond the length does not count
    }
    if (field.empty()) {
        return {};
    }
    std::uint32_t byte = 0;
    if (!read_whole(field, 16, byte) || byte > 255) {
        return {"the data contain a field that is not a byte", "bytes are one or two hexadecimal digits"};
    }
    if (record.bytes == data_.size()) {
        return {"the line has more than 64 bytes", ""};
    }
    data_[record.bytes++] = static_cast<std::uint8_t>(byte);
    return {};
}

csv_recording::fault csv_recording::read_base64(std::string_view field, record& record) {
    constexpr fault not_base64{"the data are not in base64", ""};
    record.data_place = field.data();
    if (field.size() % 4 != 0 || field.size() > (can_max_data_size + 2) / 3 * 4) {
        return not_base64;
    }
    while (field.ends_with('=')) {
        field.remove_suffix(1);
    }
    std::uint32_t bits = 0;
    for (std::size_t index = 0; index < field.size(); ++index) {
        const std::uint32_t value = base64_value(field[index]);
        if (value > 63) {
            return not_base64;
        }
        bits = bits << 6 | value;
        if (index % 4 != 0 && record.bytes < data_.size()) {
            data_[record.bytes++] = static_cast<std::uint8_t>(bits >> (6 - index % 4 * 2));
        }
    }
    return field.size() % 4 == 1 ? not_base64 : fault{};
}

bool csv_recording::check(const sdk::text_line& line, record& record, sdk::batch_builder& batch) const {
    const bool is_extended = record.is_extended.value_or(record.id > 0x7FF);
    if (record.id > (is_extended ? can_id_mask : 0x7FFU)) {
        add_fault(batch, line, record.id_place,
                  is_extended ? "the id has more than 29 bits" : "the id has more than 11 bits", "");
        return false;
    }
    record.is_extended = is_extended;
    const std::size_t length = record.length.value_or(static_cast<std::uint32_t>(record.bytes));
    if (record.is_remote || record.is_error) {
        record.length = static_cast<std::uint32_t>(std::min<std::size_t>(length, 8));
        return true;
    }
    const char* const place = record.data_place != nullptr ? record.data_place : line.text.data() + line.text.size();
    if (record.bytes != length) {
        add_fault(batch, line, place,
                  "the line has " + std::to_string(record.bytes) + " of " + std::to_string(length) + " bytes", "");
        return false;
    }
    std::uint8_t code = 0;
    while (code < 15 && sdk::can_length(code, true) < length) {
        ++code;
    }
    if (sdk::can_length(code, true) != length) {
        add_fault(batch, line, place, "a frame does not have " + std::to_string(length) + " bytes",
                  "CAN FD frames have 0 to 8, 12, 16, 20, 24, 32, 48 or 64 bytes");
        return false;
    }
    record.length = static_cast<std::uint32_t>(length);
    return true;
}

void csv_recording::add(const sdk::text_line& line, const record& record, sdk::batch_builder& batch) {
    sdk::recorded_frame frame;
    if (record.is_error) {
        frame.id = can_error_bit;
    } else {
        frame.id = record.id | (*record.is_extended ? can_extended_bit : 0) | (record.is_remote ? can_remote_bit : 0);
        frame.length = static_cast<std::uint8_t>(*record.length);
        frame.fd_flags = *record.length > 8 ? sdk::can_fd_format : std::uint8_t{0};
        frame.data = {data_.data(), record.is_remote ? 0 : *record.length};
    }
    frame.flags = record.is_sent ? QOR_RECORDED_TRANSMITTED : 0;
    if (!has_frames_) {
        has_frames_ = true;
        set_times(record.time.nanoseconds >= least_absolute_time ? QOR_RECORDING_TIMES_ABSOLUTE
                                                                 : QOR_RECORDING_TIMES_RELATIVE);
    }
    const std::size_t source = can_channel(record.bus);
    if (!filter_.excludes(source, frame.id)) {
        set_line(batch.add_frame(source, line.number, record.time, frame), line);
    }
}

} // namespace qor::csv
