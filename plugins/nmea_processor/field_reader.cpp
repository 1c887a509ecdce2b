#include "plugins/nmea_processor/field_reader.hpp"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <limits>
#include <optional>

#include "qorc/text.hpp"

namespace nmea_processor {

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

bool all_digits(std::string_view text) noexcept {
    return std::all_of(text.begin(), text.end(), qor::is_digit);
}

template<typename Integer>
std::optional<Integer> read_integer(std::string_view text, int base = 10) noexcept {
    Integer value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, base);
    return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

std::optional<double> read_number(std::string_view text) noexcept {
    // The signs here, since from_chars knows only one; and it takes words such as "inf".
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    if (text.find_first_not_of(".0123456789") != std::string_view::npos) {
        return std::nullopt;
    }
    double value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value, std::chars_format::fixed);
    return error == std::errc() && stop == end ? std::optional(negative ? -value : value) : std::nullopt;
}

// Two digits; the caller checked that they are.
uint32_t pair_at(std::string_view digits, size_t index) noexcept {
    return static_cast<uint32_t>(10 * (digits[index] - '0') + (digits[index + 1] - '0'));
}

// The degrees of "dddmm.mmmm" without direction. Numerator and denominator are whole numbers below 2^53, so that the
// division is the only step that rounds.
std::optional<double> read_degrees(std::string_view text) noexcept {
    constexpr size_t most_digits = 11;
    const size_t point = std::min(text.find('.'), text.size());
    const auto whole = read_integer<uint32_t>(text.substr(0, point));
    const std::string_view fraction = text.substr(std::min(point + 1, text.size()));
    if (point > 5 || !whole || !all_digits(fraction) || *whole % 100 >= 60) {
        return std::nullopt;
    }
    uint64_t minutes = uint64_t{*whole / 100} * 60 + *whole % 100;
    uint64_t scale = 60;
    for (const char digit : fraction.substr(0, most_digits)) {
        minutes = 10 * minutes + static_cast<uint64_t>(digit - '0');
        scale *= 10;
    }
    return static_cast<double>(minutes) / static_cast<double>(scale);
}

} // namespace

double field_reader::number(size_t index, double minimum, double maximum) noexcept {
    if (empty(index)) {
        return nan;
    }
    const auto value = read_number(text(index));
    if (!value || *value < minimum || *value > maximum) {
        fail();
        return nan;
    }
    return *value;
}

uint32_t field_reader::integer(size_t index, uint32_t maximum) noexcept {
    if (empty(index)) {
        return 0;
    }
    const auto value = read_integer<uint32_t>(text(index));
    if (!value || *value > maximum) {
        fail();
        return 0;
    }
    return *value;
}

int32_t field_reader::signed_integer(size_t index, int32_t minimum, int32_t maximum) noexcept {
    if (empty(index)) {
        return 0;
    }
    const auto value = read_integer<int32_t>(text(index));
    if (!value || *value < minimum || *value > maximum) {
        fail();
        return 0;
    }
    return *value;
}

uint8_t field_reader::hexadecimal_digit(size_t index) noexcept {
    if (empty(index)) {
        return 0;
    }
    const auto value = read_integer<uint8_t>(text(index), 16);
    if (!value || text(index).size() != 1) {
        fail();
        return 0;
    }
    return *value;
}

char field_reader::letter(size_t index, std::string_view choices) noexcept {
    if (empty(index)) {
        return '\0';
    }
    if (text(index).size() != 1 || choices.find(text(index).front()) == std::string_view::npos) {
        fail();
        return '\0';
    }
    return text(index).front();
}

double field_reader::coordinate(size_t index, uint32_t maximum_degrees, std::string_view directions) noexcept {
    const char direction = letter(index + 1, directions);
    if (empty(index)) {
        return nan;
    }
    const auto degrees = read_degrees(text(index));
    if (!degrees || *degrees > maximum_degrees || direction == '\0') {
        fail();
        return nan;
    }
    return direction == directions.front() ? *degrees : -*degrees;
}

time_of_day field_reader::time(size_t index) noexcept {
    constexpr size_t digits = 6;
    const std::string_view field = text(index);
    if (field.empty()) {
        return {0, 0, nan};
    }
    if (field.size() < digits || !all_digits(field.substr(0, digits))) {
        fail();
        return {0, 0, nan};
    }
    const auto seconds = read_number(field.substr(4));
    const uint32_t hours = pair_at(field, 0);
    const uint32_t minutes = pair_at(field, 2);
    if (!seconds || hours > 23 || minutes > 59 || *seconds >= 61 || (field.size() > digits && field[digits] != '.')) {
        fail();
        return {0, 0, nan};
    }
    return {static_cast<uint8_t>(hours), static_cast<uint8_t>(minutes), *seconds};
}

date field_reader::checked(uint32_t year, uint32_t month, uint32_t day) noexcept {
    if (month == 0 && day == 0) {
        return {0, 0, 0};
    }
    const std::chrono::year_month_day when{std::chrono::year(static_cast<int>(year)), std::chrono::month(month),
                                           std::chrono::day(day)};
    if (year > 9999 || !when.ok()) {
        fail();
        return {0, 0, 0};
    }
    return {static_cast<uint16_t>(year), static_cast<uint8_t>(month), static_cast<uint8_t>(day)};
}

date field_reader::short_date(size_t index) noexcept {
    const std::string_view field = text(index);
    if (field.empty()) {
        return {0, 0, 0};
    }
    if (field.size() != 6 || !all_digits(field)) {
        fail();
        return {0, 0, 0};
    }
    const uint32_t year = pair_at(field, 4);
    return checked(year + (year >= 80 ? 1900 : 2000), pair_at(field, 2), pair_at(field, 0));
}

date field_reader::long_date(size_t index) noexcept {
    const uint32_t day = integer(index, 31);
    const uint32_t month = integer(index + 1, 12);
    return checked(integer(index + 2, 9999), month, day);
}

} // namespace nmea_processor
