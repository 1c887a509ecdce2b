// The numbers of records count up by one, so that a gap shows that records are missing:
//
//     ;$FILEVERSION=1.1
//     ;$STARTTIME=42176.7577227546           days since 1899-12-30: 2015-06-21 18:11:07.246
//          1)        48.6  Rx     09F11201  8  FF 50 7A FF 7F FF 7F FD
//          3)        62.2  Rx     09F21406  8  01 75 05 FF 7F FF FF FF     a fault: record 2 is missing
//
// A recording whose second number does not follow its first one is not checked so: its writer does not count.
#include "plugins/trc_reader/trc_recording.hpp"

#include "qor_plugin_sdk/text_date.hpp"

namespace qor::trc {

namespace {

constexpr std::string_view version_key = ";$FILEVERSION=";
constexpr std::string_view start_key = ";$STARTTIME=";
constexpr std::string_view columns_key = ";$COLUMNS=";

std::string_view trimmed(std::string_view text) noexcept {
    while (!text.empty() && sdk::is_blank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && sdk::is_blank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

// What follows `key` in a line of the header such as ";   Start time: 11.09.2002 16:00:20.682".
std::optional<std::string_view> value_of(std::string_view text, std::string_view key) noexcept {
    text = trimmed(text.substr(1));
    return text.starts_with(key) ? std::optional(trimmed(text.substr(key.size()))) : std::nullopt;
}

// Nanoseconds since 1970 of days since 1899-12-30, such as "42176.7577227546". Ten decimals are 8.64 us, so that the
// result is rounded to 10 us; to 1 us with more decimals.
std::optional<std::int64_t> nanoseconds_of_days(std::string_view text) {
    constexpr std::int64_t days_to_1970 = 25569;
    constexpr std::int64_t day = 86400;
    const char* at = text.data();
    const char* const end = at + text.size();
    std::uint32_t days = 0;
    if (!sdk::read_digits(at, end, 10, days) || days < 1 || days > 100000) {
        return std::nullopt;
    }
    std::int64_t fraction = 0; // in 10^-14 days
    int decimals = 0;
    if (at != end && (*at == '.' || *at == ',')) {
        for (++at; at != end && sdk::is_digit(*at); ++at) {
            if (decimals < 14) {
                fraction = fraction * 10 + (*at - '0');
                ++decimals;
            }
        }
    }
    if (at != end) {
        return std::nullopt;
    }
    const std::int64_t unit = decimals > 10 ? 1000 : 10000;
    for (int place = decimals; place < 14; ++place) {
        fraction *= 10;
    }
    // 10^-14 days are 0.864 ns.
    const std::int64_t nanoseconds = fraction / 1000 * 864 + fraction % 1000 * 864 / 1000;
    return (days - days_to_1970) * day * 1000000000 + (nanoseconds + unit / 2) / unit * unit;
}

// The next line without its end and blanks; nothing for one that may go on.
std::optional<std::string_view> next_line(std::string_view& text, bool is_whole) noexcept {
    const std::size_t end = text.find_first_of("\r\n");
    if (text.empty() || (end == std::string_view::npos && !is_whole)) {
        return std::nullopt;
    }
    const std::string_view line = trimmed(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}

bool is_record(std::string_view text) {
    trc_line line;
    for (const char* const version : {"1.0", "1.1", "1.2", "1.3"}) {
        read_trc_line(text, default_columns(version), line);
        if (line.what != trc_line::kind::fault) {
            return true;
        }
    }
    return false;
}

} // namespace

std::int32_t trc_recording::recognise(std::span<const std::uint8_t> beginning, bool is_whole) {
    constexpr std::int32_t is_guess = 20;
    const std::string whole = sdk::beginning_as_text(beginning);
    std::string_view text = whole;
    bool is_first = true;
    while (const auto line = next_line(text, is_whole)) {
        if (line->starts_with(version_key) || line->starts_with(columns_key)) {
            // Traces of LIN have the same header.
            return whole.find("PLIN") != std::string::npos ? QOR_RECORDING_IS_OTHER : 95;
        }
        if (line->empty() || line->starts_with(';')) {
            continue;
        }
        if (is_record(*line)) {
            return is_first ? 80 : is_guess;
        }
        is_first = false;
    }
    const bool is_possible =
        is_first && (trimmed(text).empty() || trimmed(text)[0] == ';' || sdk::is_digit(trimmed(text)[0]));
    return is_possible && !is_whole && beginning.size() < QOR_RECORDING_BEGINNING && text.size() < 1000
               ? QOR_RECORDING_NEEDS_MORE
               : QOR_RECORDING_IS_OTHER;
}

void trc_recording::read_line(const sdk::text_line& line, sdk::batch_builder& batch) {
    const std::string_view text = trimmed(line.text);
    if (const char* const control = sdk::find_control(text)) {
        return add_fault(batch, line, control, "the line contains a control character", "");
    }
    if (text[0] == ';') {
        return read_header(line, text, batch);
    }
    has_records_ = true;
    read_trc_line(text, columns_, record_);
    if (record_.what == trc_line::kind::fault) {
        return add_fault(batch, line, record_.where, record_.cause, record_.hint);
    }
    check_number(line, batch);
    if (record_.what == trc_line::kind::event) {
        return count_other(record_.event);
    }
    auto& package =
        batch.add_frame(can_channel(record_.channel), line.number,
                        {sdk::saturated_sum(start_, record_.time.nanoseconds), record_.time.decimals}, record_.frame);
    set_line(package, line);
}

void trc_recording::check_number(const sdk::text_line& line, sdk::batch_builder& batch) {
    const std::uint64_t number = record_.number;
    const bool is_next = last_number_ == 0 || number == last_number_ + 1;
    are_numbers_ascending_ = are_numbers_ascending_ && (is_next || has_followed_);
    if (!is_next && are_numbers_ascending_) {
        add_fault(batch, line, trimmed(line.text).data(),
                  "record " + std::to_string(number) + " follows record " + std::to_string(last_number_),
                  number > last_number_ ? "the records between them are missing" : "");
    }
    has_followed_ = has_followed_ || (last_number_ != 0 && is_next);
    last_number_ = number;
}

void trc_recording::read_header(const sdk::text_line& line, std::string_view text, sdk::batch_builder& batch) {
    if (has_records_) {
        return count_other("comment");
    }
    count_other("header line");
    if (text.starts_with(version_key)) {
        read_version(line, trimmed(text.substr(version_key.size())), batch);
    } else if (text.starts_with(columns_key)) {
        read_columns(line, trimmed(text.substr(columns_key.size())), batch);
    } else if (text.starts_with(start_key)) {
        const std::string_view days = trimmed(text.substr(start_key.size()));
        set_beginning(line, days, nanoseconds_of_days(days), batch);
    } else if (const auto date = value_of(text, "Start time:"); date && !properties().has_start) {
        set_beginning(line, *date, sdk::read_date(*date), batch);
    } else if (const auto producer = value_of(text, "Generated by ")) {
        set_producer(*producer);
    }
}

void trc_recording::set_beginning(const sdk::text_line& line, std::string_view text,
                                  std::optional<std::int64_t> nanoseconds, sdk::batch_builder& batch) {
    if (!nanoseconds) {
        return add_fault(batch, line, text.data(), "the start time cannot be read",
                         "times count from the beginning of the recording");
    }
    start_ = *nanoseconds;
    set_start(start_);
}

void trc_recording::read_version(const sdk::text_line& line, std::string_view version, sdk::batch_builder& batch) {
    set_version(version);
    columns_ = default_columns(version);
    constexpr std::string_view known[] = {"1.0", "1.1", "1.2", "1.3", "2.0", "2.1"};
    if (std::find(std::begin(known), std::end(known), version) == std::end(known)) {
        add_fault(batch, line, version.data(), "this version of the format is not known",
                  "versions 1.0 to 1.3, 2.0 and 2.1 are; the recording is read as 2.1");
    }
}

void trc_recording::read_columns(const sdk::text_line& line, std::string_view list, sdk::batch_builder& batch) {
    std::string letters;
    for (std::size_t at = 0; at < list.size(); at += 2) {
        letters += list[at];
        if (at + 1 < list.size() && list[at + 1] != ',') {
            letters.clear();
            break;
        }
    }
    const auto has = [&](char letter) { return letters.find(letter) != std::string::npos; };
    if (columns_.is_first_generation || !has('O') || !has('T') || !has('I') || !has('D') || !(has('l') || has('L')) ||
        letters.back() != 'D' || letters.size() > 16) {
        return add_fault(batch, line, list.data(), "the columns cannot be read",
                         "columns are letters such as N,O,T,B,I,d,R,L,D; those of the version are used");
    }
    columns_.letters = letters;
}

} // namespace qor::trc
