#include "plugins/nmea_reader/nmea_recording.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <numeric>
#include <utility>

namespace qor::nmea_log {

namespace {

constexpr std::size_t block_size = 65536;
constexpr std::int32_t first_line_is_sentence = 95;
constexpr std::int32_t later_line_is_sentence = 40;
// From so many decimals to nanoseconds.
constexpr std::array<std::int64_t, 10> powers{1000000000, 100000000, 10000000, 1000000, 100000,
                                              10000,      1000,      100,      10,      1};
// Recorders fill up their buffers with zeros.
constexpr std::string_view blanks(" \t\0", 3);
constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF"; // of UTF-8
constexpr const char* form = "expected a sentence such as $GPGGA,...*hh";
// No clock of a receiver is older; it makes seconds that are never negative.
constexpr unsigned first_year = 1970;
constexpr std::int64_t seconds_per_day = 86400;
// Two-digit years from here on are of the last century.
constexpr unsigned first_year_of_1900 = 80;

// A number of exactly these digits.
std::optional<unsigned> digits(std::string_view text, std::size_t at, std::size_t count) {
    unsigned value = 0;
    if (at > text.size() || text.size() - at < count) {
        return std::nullopt;
    }
    const char* const end = text.data() + at + count;
    const auto [stop, failure] = std::from_chars(text.data() + at, end, value);
    return failure == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

std::string_view field(std::string_view sentence, std::size_t number) {
    for (; number > 0; --number) {
        const std::size_t comma = sentence.find(',');
        if (comma == std::string_view::npos) {
            return {};
        }
        sentence.remove_prefix(comma + 1);
    }
    return sentence.substr(0, sentence.find_first_of(",*"));
}

std::optional<std::int64_t> day_of(std::optional<unsigned> year, std::optional<unsigned> month,
                                   std::optional<unsigned> day) {
    if (!year || !month || !day || *year < first_year) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(*year)), std::chrono::month(*month),
                                           std::chrono::day(*day)};
    return date.ok() ? std::optional<std::int64_t>(std::chrono::sys_days(date).time_since_epoch().count())
                     : std::nullopt;
}

bool is_digit(char character) noexcept {
    return character >= '0' && character <= '9';
}

// Whether an address follows the first character, "$GPGGA" and the like, up to one of `ends`.
bool has_address(std::string_view sentence, std::string_view ends) {
    constexpr std::size_t shortest = 3;
    const auto is_of_address = [](char c) { return (c >= 'A' && c <= 'Z') || is_digit(c); };
    const std::size_t end = sentence.find_first_of(ends);
    return end != sentence.npos && end > shortest &&
           std::all_of(sentence.begin() + 1, sentence.begin() + static_cast<std::ptrdiff_t>(end), is_of_address);
}

// "$GPGGA," and the like: noise has '$' often, but not this after it.
bool begins_sentence(std::string_view text) {
    return (text.starts_with('$') || text.starts_with('!')) && has_address(text, ",");
}

std::size_t find_start(std::string_view line, std::size_t from) {
    return std::min(line.find_first_of("$!", from), line.size());
}

std::string_view without_blanks_behind(std::string_view text) {
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

unsigned sum_of(std::string_view content) {
    return std::accumulate(content.begin(), content.end(), 0U,
                           [](unsigned sum, char character) { return sum ^ static_cast<unsigned char>(character); });
}

// Two hexadecimal digits and nothing else.
std::optional<unsigned> checksum_of(std::string_view text) {
    unsigned value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, value, 16);
    return text.size() == 2 && failure == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

// Whether the text is a whole sentence with a checksum that fits, whatever its first character.
bool is_sealed(std::string_view text) {
    const std::size_t star = text.find('*');
    return star != text.npos && has_address(text, ",*") && checksum_of(text.substr(star + 1)) &&
           *checksum_of(text.substr(star + 1)) == sum_of(text.substr(1, star - 1));
}

// Where the comment that begins at `begin` ends: at a whole sentence, since the line end before that may have been
// lost, or with the line. At `begin` itself when it is a sentence whose first character was damaged.
std::size_t end_of_comment(std::string_view line, std::size_t begin) {
    for (std::size_t at = begin; at < line.size();) {
        const std::size_t next = find_start(line, at + 1);
        if (is_sealed(without_blanks_behind(line.substr(at, next - at)))) {
            return at;
        }
        at = next;
    }
    return line.size();
}

// Where sentences have their time of day.
struct time_field {
    std::string_view type;
    std::size_t number;
};
constexpr std::array<time_field, 8> time_fields{
    {{"RMC", 1}, {"GGA", 1}, {"GNS", 1}, {"ZDA", 1}, {"GST", 1}, {"GBS", 1}, {"GRS", 1}, {"GLL", 5}}};

} // namespace

std::int32_t nmea_recording::recognise(std::span<const std::uint8_t> bytes, bool is_whole) {
    std::string_view beginning(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    beginning.remove_prefix(beginning.starts_with(byte_order_mark) ? byte_order_mark.size() : 0);
    for (bool is_first = true; !beginning.empty();) {
        std::string_view line = beginning.substr(0, beginning.find_first_of("\r\n"));
        beginning.remove_prefix(std::min(line.size() + 1, beginning.size()));
        line.remove_prefix(std::min(line.find_first_not_of(blanks), line.size()));
        if (line.size() > 1 && line[0] == '(' && is_digit(line[1])) {
            return QOR_RECORDING_IS_OTHER;
        }
        if (line.starts_with('\\')) {
            line.remove_prefix(std::min(line.find('\\', 1), line.size() - 1) + 1);
        }
        if (begins_sentence(line)) {
            return is_first ? first_line_is_sentence : later_line_is_sentence;
        }
        is_first = is_first && (line.empty() || line.starts_with('#'));
    }
    return is_whole ? QOR_RECORDING_IS_OTHER : QOR_RECORDING_NEEDS_MORE;
}

nmea_recording::nmea_recording(sdk::recording_input input) : input_(input) {
    set_places(QOR_RECORDING_PLACES_LINES);
    set_times(QOR_RECORDING_TIMES_ABSOLUTE);
    add_source("gps", "nmea", QOR_RECORDED_RECEIVER, receiver_source_id);
}

// Whether the next line is not in the block as a whole.
bool nmea_recording::has_to_read() {
    if (begin_ < block_.size() && after_return_) {
        begin_ += block_[begin_] == '\n' ? 1 : 0;
        after_return_ = false;
    }
    return begin_ == block_.size() || block_.find_first_of("\r\n", begin_) == block_.npos;
}

bool nmea_recording::next_line() {
    line_.clear();
    is_too_long_ = false;
    line_has_end_ = false;
    for (bool has_line = false;;) {
        if (begin_ == block_.size()) {
            block_.resize(block_size);
            block_.resize(input_.read(block_.data(), block_size));
            begin_ = 0;
            if (block_.empty()) {
                line_number_ += has_line ? 1 : 0;
                return has_line;
            }
        }
        // The second half of a line end of two.
        if (std::exchange(after_return_, false) && block_[begin_] == '\n') {
            ++begin_;
            continue;
        }
        has_line = true;
        const std::size_t stop = std::min(block_.find_first_of("\r\n", begin_), block_.size());
        const std::size_t room = line_limit - line_.size();
        is_too_long_ = is_too_long_ || stop - begin_ > room;
        line_.append(block_, begin_, std::min(stop - begin_, room));
        begin_ = stop;
        if (begin_ < block_.size()) {
            line_has_end_ = true;
            after_return_ = block_[begin_] == '\r';
            ++begin_;
            ++line_number_;
            return true;
        }
    }
}

bool nmea_recording::read(sdk::batch_builder& batch) {
    while (!batch.is_full()) {
        if (at_ != line_.size()) {
            take_part(batch);
            continue;
        }
        // What there is goes out before the stream is read again: it may have to wait.
        if (!batch.empty() && has_to_read()) {
            return true;
        }
        if (!next_line()) {
            at_ = line_.size();
            return false;
        }
        if (!begin_line(batch)) {
            at_ = line_.size();
        }
    }
    return true;
}

// False when nothing of the line is left to be read.
bool nmea_recording::begin_line(sdk::batch_builder& batch) {
    if (is_too_long_) {
        fail(line_limit, "the line is longer than 4096 bytes", form);
        add_fault(batch);
        return false;
    }
    line_.resize(without_blanks_behind(line_).size());
    if (line_number_ == 1 && line_.starts_with(byte_order_mark)) {
        line_.erase(0, byte_order_mark.size());
    }
    at_ = std::min(line_.find_first_not_of(blanks), line_.size());
    if (at_ < line_.size() && line_[at_] == '#') {
        const std::size_t end = end_of_comment(line_, at_);
        if (end != at_) {
            count_other("comment line");
        }
        at_ = end;
    }
    return true;
}

void nmea_recording::add(sdk::batch_builder& batch, std::string_view sentence) {
    std::uint8_t* payload = nullptr;
    qor_recorded_package_t& package = batch.add(0, line_number_, sentence.size() + 2, payload);
    std::copy(sentence.begin(), sentence.end(), payload);
    payload[sentence.size()] = '\r';
    payload[sentence.size() + 1] = '\n';
    package.text = batch.copy(line_);
    package.text_size = static_cast<std::uint32_t>(line_.size());
    package.time = nanoseconds_;
    package.time_decimals = decimals_;
    if (!time_.empty()) {
        package.time_text = batch.copy(time_);
        package.time_text_size = static_cast<std::uint16_t>(time_.size());
    }
    package.flags = line_has_end_ ? 0 : QOR_RECORDED_UNENDED;
}

void nmea_recording::add_fault(sdk::batch_builder& batch) {
    batch.add_fault(line_number_, fault_.column, fault_.cause, fault_.hint, line_,
                    line_has_end_ ? 0 : QOR_RECORDED_UNENDED);
}

bool nmea_recording::fail(std::size_t at, const char* cause, const char* hint) {
    fault_.column = at + 1;
    fault_.cause = cause;
    fault_.hint = hint;
    return false;
}

// What is left of the line, up to where the next sentence begins: nothing else has the characters that sentences begin
// with, so what comes before one is a sentence that was cut, or noise.
void nmea_recording::take_part(sdk::batch_builder& batch) {
    std::size_t begin = at_;
    if (line_[begin] == '\\') {
        const std::size_t close = line_.find('\\', begin + 1);
        if (close == std::string::npos) {
            at_ = find_start(line_, begin);
            fail(begin, "the tag block is not closed", "expected a second backslash at the end of the tag block");
            return add_fault(batch);
        }
        begin = std::min(line_.find_first_not_of(blanks, close + 1), line_.size());
    }
    at_ = find_start(line_, begin + 1);
    const std::string_view piece = std::string_view(line_).substr(begin, at_ - begin);
    std::string_view sentence;
    parse(begin, begin + without_blanks_behind(piece).size(), sentence) ? add(batch, sentence) : add_fault(batch);
}

bool nmea_recording::parse(std::size_t begin, std::size_t end, std::string_view& sentence) {
    if (begin >= end || (line_[begin] != '$' && line_[begin] != '!')) {
        return fail(begin, "expected '$' or '!'", form);
    }
    std::size_t star = begin + 1;
    for (; star < end && line_[star] != '*'; ++star) {
        if (line_[star] < ' ' || line_[star] > '~') {
            return fail(star, "invalid character", "expected printable ASCII characters");
        }
    }
    const std::string_view line = line_;
    if (star < end) {
        const auto checksum = checksum_of(line.substr(star + 1, end - star - 1));
        if (!checksum) {
            return fail(star + 1, "the checksum is not two hexadecimal digits", form);
        }
        if (*checksum != sum_of(line.substr(begin + 1, star - begin - 1))) {
            return fail(star + 1, "the checksum does not match",
                        "a character was lost or changed during the recording");
        }
        checksums_came_ = true;
    } else if (at_ < line_.size()) {
        return fail(at_, "another sentence begins here", "the end of the sentence before it was lost");
    } else if (checksums_came_) {
        return fail(end, "the checksum is missing", "earlier sentences have one: the end of this sentence was lost");
    }
    sentence = line.substr(begin, end - begin);
    take_time(sentence);
    return true;
}

void nmea_recording::take_time(std::string_view sentence) {
    const std::string_view address = field(sentence, 0);
    // "$", two letters of the talker, three of the type.
    if (address.size() != 6 || address[0] != '$') {
        return;
    }
    const std::string_view type = address.substr(3);
    const auto* const found =
        std::find_if(time_fields.begin(), time_fields.end(), [&](const time_field& each) { return each.type == type; });
    if (found == time_fields.end()) {
        return;
    }
    std::optional<std::int64_t> day;
    if (type == "RMC") {
        const std::string_view date = field(sentence, 9);
        const auto year = digits(date, 4, 2);
        day = day_of(year ? std::optional(*year + (*year < first_year_of_1900 ? 2000 : 1900)) : year,
                     digits(date, 2, 2), digits(date, 0, 2));
    } else if (type == "ZDA") {
        day = day_of(digits(field(sentence, 4), 0, 4), digits(field(sentence, 3), 0, 2),
                     digits(field(sentence, 2), 0, 2));
    }
    if (day) {
        day_ = day;
        second_ = 0;
    } else if ((type == "RMC" && !field(sentence, 9).empty()) || (type == "ZDA" && !field(sentence, 4).empty())) {
        return; // a date that is none makes a doubtful clock
    }
    take_clock(field(sentence, found->number));
}

// "hhmmss" or "hhmmss.fff"
void nmea_recording::take_clock(std::string_view clock) {
    const auto hour = digits(clock, 0, 2);
    const auto minute = digits(clock, 2, 2);
    const auto second = digits(clock, 4, 2);
    const std::string_view fraction = clock.size() > 6 ? clock.substr(6) : std::string_view();
    const bool is_fraction = fraction.empty() || (fraction.size() > 1 && fraction[0] == '.' &&
                                                  fraction.find_first_not_of("0123456789", 1) == fraction.npos);
    if (!day_ || !hour || !minute || !second || *hour > 23 || *minute > 59 || *second > 60 || !is_fraction) {
        return;
    }
    const std::int64_t now = std::int64_t{*hour} * 3600 + std::int64_t{*minute} * 60 + *second;
    if (now + seconds_per_day / 2 < second_) {
        ++*day_;
    }
    second_ = now;
    time_ = std::to_string(*day_ * seconds_per_day + now);
    time_ += fraction;
    decimals_ = static_cast<std::uint8_t>(std::min<std::size_t>(fraction.empty() ? 0 : fraction.size() - 1, 9));
    const unsigned part = decimals_ != 0 ? digits(fraction, 1, decimals_).value_or(0) : 0;
    nanoseconds_ = (*day_ * seconds_per_day + now) * 1000000000 + std::int64_t{part} * powers[decimals_];
}

} // namespace qor::nmea_log
