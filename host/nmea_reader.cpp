#include "host/nmea_reader.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <utility>

namespace tavi::host {

namespace {

constexpr std::size_t block_size = 65536;
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
    if (!year || !month || !day) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(*year)), std::chrono::month(*month),
                                           std::chrono::day(*day)};
    return date.ok() ? std::optional<std::int64_t>(std::chrono::sys_days(date).time_since_epoch().count())
                     : std::nullopt;
}

// Where sentences have their time of day.
struct time_field {
    std::string_view type;
    std::size_t number;
};
constexpr std::array<time_field, 8> time_fields{
    {{"RMC", 1}, {"GGA", 1}, {"GNS", 1}, {"ZDA", 1}, {"GST", 1}, {"GBS", 1}, {"GRS", 1}, {"GLL", 5}}};

} // namespace

std::optional<bool> nmea_reader::recognise(std::string_view beginning) {
    while (!beginning.empty()) {
        const std::size_t stop = beginning.find('\n');
        if (const char first = beginning.front(); first != '#' && first != '\r' && first != '\n') {
            return first == '$' || first == '!' || first == '\\';
        }
        if (stop == std::string_view::npos) {
            break;
        }
        beginning.remove_prefix(stop + 1);
    }
    return std::nullopt;
}

bool nmea_reader::next_line() {
    line_.clear();
    is_too_long_ = false;
    for (bool has_line = false;;) {
        if (begin_ == block_.size()) {
            block_.resize(block_size);
            block_.resize(source_(block_.data(), block_size));
            begin_ = 0;
            if (block_.empty()) {
                line_number_ += has_line ? 1 : 0;
                return has_line;
            }
        }
        has_line = true;
        const std::size_t stop = std::min(block_.find('\n', begin_), block_.size());
        const std::size_t room = line_limit - line_.size();
        is_too_long_ = is_too_long_ || stop - begin_ > room;
        line_.append(block_, begin_, std::min(stop - begin_, room));
        begin_ = stop;
        if (begin_ < block_.size()) {
            ++begin_;
            ++line_number_;
            return true;
        }
    }
}

nmea_reader::outcome nmea_reader::next(nmea_sentence& sentence) {
    while (next_line()) {
        if (line_.ends_with('\r')) {
            line_.pop_back();
        }
        if (!line_.empty() && line_[0] != '#') {
            return parse(sentence) ? outcome::sentence : outcome::damaged;
        }
    }
    return outcome::end;
}

bool nmea_reader::fail(std::size_t at, const char* cause, const char* hint) {
    fault_.column = at + 1;
    fault_.cause = cause;
    fault_.hint = hint;
    return false;
}

bool nmea_reader::parse(nmea_sentence& sentence) {
    const char* const form = "a sentence reads $GPGGA,...*hh";
    if (is_too_long_) {
        return fail(line_limit, "the line is longer than any sentence", form);
    }
    std::size_t begin = 0;
    if (line_[0] == '\\') {
        begin = line_.find('\\', 1);
        if (begin == std::string::npos) {
            return fail(0, "the tag block is not closed", "a tag block stands between two backslashes");
        }
        ++begin;
    }
    if (begin == line_.size() || (line_[begin] != '$' && line_[begin] != '!')) {
        return fail(begin, "expected '$' or '!'", form);
    }
    unsigned sum = 0;
    std::size_t at = begin + 1;
    for (; at < line_.size() && line_[at] != '*'; ++at) {
        if (line_[at] < ' ' || line_[at] > '~') {
            return fail(at, "a character that no sentence has", "sentences are printable ASCII");
        }
        sum ^= static_cast<unsigned char>(line_[at]);
    }
    if (at < line_.size()) {
        unsigned told = 0;
        const char* const end = line_.data() + line_.size();
        const auto [stop, failure] = std::from_chars(line_.data() + at + 1, end, told, 16);
        if (failure != std::errc() || stop != end || line_.size() - at != 3) {
            return fail(at + 1, "the checksum is no two hexadecimal digits", form);
        }
        if (told != sum) {
            return fail(at + 1, "the checksum does not fit", "a character was lost or changed on the way");
        }
    }
    sentence.text = std::string_view(line_).substr(begin);
    take_time(sentence.text);
    sentence.time = time_;
    return true;
}

void nmea_reader::take_time(std::string_view sentence) {
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
void nmea_reader::take_clock(std::string_view clock) {
    const auto hour = digits(clock, 0, 2);
    const auto minute = digits(clock, 2, 2);
    const auto second = digits(clock, 4, 2);
    const std::string_view fraction = clock.size() > 6 ? clock.substr(6) : std::string_view();
    const bool is_fraction = fraction.empty() || (fraction.size() > 1 && fraction[0] == '.' &&
                                                  fraction.find_first_not_of("0123456789", 1) == fraction.npos);
    if (!day_ || !hour || !minute || !second || *hour > 23 || *minute > 59 || *second > 60 || !is_fraction) {
        return;
    }
    const std::int64_t now = std::int64_t{*hour} * 3600 + *minute * 60 + *second;
    if (now + seconds_per_day / 2 < second_) {
        ++*day_;
    }
    second_ = now;
    time_ = std::to_string(*day_ * seconds_per_day + now);
    time_ += fraction;
}

} // namespace tavi::host
