// Values of a sentence's fields. A field that is empty or behind the end has no value: NaN, or 0. One that holds what
// cannot be there makes the whole sentence damaged; reading goes on then, and good() tells.
#ifndef PLUGINS_NMEA_PROCESSOR_FIELD_READER_HPP
#define PLUGINS_NMEA_PROCESSOR_FIELD_READER_HPP

#include <cstdint>
#include <span>
#include <string_view>

namespace nmea_processor {

struct time_of_day {
    uint8_t hour;
    uint8_t minute;
    // NaN when there is no time; 60 and a fraction in a leap second.
    double second;
};

// All 0 when there is no date, which receivers also write as zeros.
struct date {
    uint16_t year;
    uint8_t month;
    uint8_t day;
};

class field_reader {
public:
    // The fields must outlive the object.
    explicit field_reader(std::span<const std::string_view> fields) noexcept : fields_(fields) {}

    // Whether all that was read could be there.
    bool good() const noexcept { return good_; }
    // To be called for a fault that only the reader's user sees.
    void fail() noexcept { good_ = false; }

    size_t count() const noexcept { return fields_.size(); }
    bool empty(size_t index) const noexcept { return text(index).empty(); }

    // A decimal number with or without sign and fraction.
    double number(size_t index, double minimum, double maximum) noexcept;
    uint32_t integer(size_t index, uint32_t maximum) noexcept;
    int32_t signed_integer(size_t index, int32_t minimum, int32_t maximum) noexcept;
    uint8_t hexadecimal_digit(size_t index) noexcept;
    // A single character out of `choices`; zero when the field is empty.
    char letter(size_t index, std::string_view choices) noexcept;

    // Degrees and minutes (dddmm.mmmm) with the direction in the next field, as degrees: the double that is nearest to
    // what the digits say, up to 11 of them behind the point. `directions`: the positive, then the negative one.
    double coordinate(size_t index, uint32_t maximum_degrees, std::string_view directions) noexcept;

    // hhmmss with or without a fraction.
    time_of_day time(size_t index) noexcept;
    // ddmmyy: 80 to 99 are years of the 20th century, as satellite navigation began in 1980.
    date short_date(size_t index) noexcept;
    // Day, month and year with four digits, each a field.
    date long_date(size_t index) noexcept;

private:
    std::string_view text(size_t index) const noexcept {
        return index < fields_.size() ? fields_[index] : std::string_view();
    }
    date checked(uint32_t year, uint32_t month, uint32_t day) noexcept;

    std::span<const std::string_view> fields_;
    bool good_ = true;
};

} // namespace nmea_processor

#endif
