// Dates in the header of text recordings. Each word gives a part of the date by what it looks like: "21" a day, "2026"
// a year, "02:54:29.861" a time, "Nov" a month. Days of the week come before months, and some have the name of a month
// in another language ("mar" is Tuesday and March): the last word that names a month counts.
#ifndef QOR_PLUGIN_SDK_TEXT_DATE_HPP
#define QOR_PLUGIN_SDK_TEXT_DATE_HPP

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "qor_plugin_sdk/text_fields.hpp"

namespace qor::sdk {

namespace detail {

struct month_name {
    std::string_view beginning; // without accents
    unsigned month;
};
inline constexpr month_name month_names[] = {
    {"jan", 1}, {"ene", 1},  {"gen", 1},  {"sty", 1},  {"feb", 2},  {"fev", 2},  {"lut", 2},  {"mar", 3},
    {"mae", 3}, {"mrz", 3},  {"mrt", 3},  {"maa", 3},  {"apr", 4},  {"avr", 4},  {"abr", 4},  {"kwi", 4},
    {"may", 5}, {"mai", 5},  {"mag", 5},  {"mei", 5},  {"maj", 5},  {"jun", 6},  {"juin", 6}, {"giu", 6},
    {"cze", 6}, {"jul", 7},  {"juil", 7}, {"lug", 7},  {"lip", 7},  {"aug", 8},  {"aou", 8},  {"ago", 8},
    {"sie", 8}, {"sep", 9},  {"set", 9},  {"wrz", 9},  {"oct", 10}, {"okt", 10}, {"out", 10}, {"ott", 10},
    {"pa", 10}, {"nov", 11}, {"lis", 11}, {"dec", 12}, {"dez", 12}, {"dic", 12}, {"des", 12}, {"gru", 12}};

// The letter without its accent, of Latin-1 or of the second byte of UTF-8 after 0xC3, which is 0x40 less.
inline char without_accent(unsigned char letter) noexcept {
    constexpr std::string_view plain = "aaaaaaaceeeeiiiidnooooo ouuuuy  aaaaaaaceeeeiiiidnooooo ouuuuy y";
    return letter >= 0xC0 ? plain[letter - 0xC0U] : ' ';
}

// In lower case and without accents; empty when it has anything but letters and points.
inline std::string folded(std::string_view word) {
    std::string letters;
    for (std::size_t index = 0; index < word.size(); ++index) {
        const auto byte = static_cast<unsigned char>(word[index]);
        const bool is_utf8 =
            byte == 0xC3 && index + 1 < word.size() && (static_cast<unsigned char>(word[index + 1]) & 0xC0) == 0x80;
        if (is_utf8) {
            letters += without_accent(static_cast<unsigned char>(static_cast<unsigned char>(word[++index]) + 0x40));
        } else if (byte >= 0xC0) {
            letters += without_accent(byte);
        } else if (lower(word[index]) >= 'a' && lower(word[index]) <= 'z') {
            letters += lower(word[index]);
        } else if (byte != '.' && byte < 0x80) {
            return "";
        }
    }
    return letters;
}

inline unsigned month_of(std::string_view letters) noexcept {
    for (const auto& [beginning, month] : month_names) {
        if (letters.starts_with(beginning)) {
            return month;
        }
    }
    return 0;
}

// Groups of digits, with the characters between them.
struct digit_groups {
    static constexpr std::size_t most = 5;
    std::array<std::uint32_t, most> numbers{};
    std::array<std::size_t, most> digits{};
    std::array<char, most> separators{}; // after each group, 0 at the end
    std::size_t count = 0;
};

inline std::optional<digit_groups> groups_of(std::string_view word) {
    digit_groups groups;
    const char* at = word.data();
    const char* const end = at + word.size();
    while (at != end) {
        const char* const begin = at;
        // Decimals beyond the eighth do not matter.
        const char* const limit = end - begin > 8 ? begin + 8 : end;
        if (groups.count == digit_groups::most || !read_digits(at, limit, 10, groups.numbers[groups.count])) {
            return std::nullopt;
        }
        groups.digits[groups.count] = static_cast<std::size_t>(at - begin); // of those that were read
        while (at != end && is_digit(*at)) {
            ++at;
        }
        groups.separators[groups.count++] = at != end ? *at++ : '\0';
    }
    return groups;
}

class date_reader {
public:
    // False for a word that makes the date invalid.
    bool take(std::string_view word) {
        while (word.ends_with(',') || (word.ends_with('.') && is_digit(word[0]))) {
            word.remove_suffix(1);
        }
        if (word.empty()) {
            return true;
        }
        return is_digit(word[0]) ? take_number(word) : take_name(word);
    }

    std::optional<std::int64_t> date() const {
        using namespace std::chrono;
        const auto year_number = static_cast<int>(year_ > 2200 ? 0 : year_);
        const year_month_day date{year{year_number}, month{month_}, day{day_}};
        if (!has_time_ || year_number < 1900 || month_ > 12 || day_ > 31 || !date.ok()) {
            return std::nullopt;
        }
        std::uint32_t hour = hour_;
        if (half_day_ != half_day::none) {
            if (hour == 0 || hour > 12) {
                // "13:05 PM" is written by programs that add the word to a time of 24 hours.
                hour = half_day_ == half_day::morning && hour > 12 ? 24 : hour;
            } else {
                hour = hour % 12 + (half_day_ == half_day::afternoon ? 12 : 0);
            }
        }
        if (hour > 23 || minute_ > 59 || second_ > 60) {
            return std::nullopt;
        }
        const std::int64_t seconds = (std::int64_t{hour} * 60 + minute_) * 60 + second_;
        return nanoseconds_since_1970(year_number, month_, day_, seconds * 1000000000 + nanoseconds_);
    }

private:
    enum class half_day { none, morning, afternoon };

    bool take_name(std::string_view word) {
        const std::string letters = folded(word);
        if (letters == "am" || letters == "vorm" || letters == "pm" || letters == "nachm") {
            half_day_ = letters == "am" || letters == "vorm" ? half_day::morning : half_day::afternoon;
        } else if (const unsigned month = month_of(letters); month != 0) {
            month_ = month;
        }
        return true;
    }

    bool take_number(std::string_view word) {
        // 2023-11-14T22:13:20.5Z; a difference to UTC would have to be applied.
        if (const std::size_t letter = word.find('T'); letter != std::string_view::npos) {
            std::string_view time = word.substr(letter + 1);
            time.remove_suffix(time.ends_with('Z') ? 1 : 0);
            return take_number(word.substr(0, letter)) && take_number(time);
        }
        const auto groups = groups_of(word);
        if (!groups || groups->count == 0 || groups->separators[groups->count - 1] != '\0') {
            return false;
        }
        if (groups->count == 1) {
            return take_single(groups->numbers[0], groups->digits[0]);
        }
        return groups->separators[0] == ':' ? take_time(*groups) : take_date(*groups);
    }

    bool take_single(std::uint32_t number, std::size_t digits) {
        (digits > 2 ? year_ : day_) = number;
        return digits <= 4;
    }

    // 15:06:13.191, 15:06:13, 15:06, and 15:06:13.191.5 with the digit after the milliseconds apart
    bool take_time(const digit_groups& groups) {
        const bool has_fraction = groups.count > 3;
        if ((groups.count > 2 && groups.separators[1] != ':') ||
            (has_fraction && groups.separators[2] != '.' && groups.separators[2] != ',' &&
             groups.separators[2] != ':')) {
            return false;
        }
        hour_ = groups.numbers[0];
        minute_ = groups.numbers[1];
        second_ = groups.count > 2 ? groups.numbers[2] : 0;
        nanoseconds_ = 0;
        std::int64_t unit = 1000000000;
        for (std::size_t group = 3; group < groups.count; ++group) {
            for (std::size_t digit = 0; digit < groups.digits[group]; ++digit) {
                unit /= 10;
            }
            nanoseconds_ += groups.numbers[group] * unit;
        }
        has_time_ = true;
        return true;
    }

    // 2023-11-14, 2023/11/14, 14.11.2023, 14/11/2023, 11/14/2023
    bool take_date(const digit_groups& groups) {
        const std::uint32_t first = groups.numbers[0];
        const std::uint32_t second = groups.numbers[1];
        const std::uint32_t third = groups.numbers[2];
        if (groups.count != 3 || groups.separators[0] != groups.separators[1]) {
            return false;
        }
        const bool year_first = groups.digits[0] == 4;
        const bool month_first = groups.separators[0] == '/' && second > 12;
        if (!year_first && groups.separators[0] == '/' && first <= 12 && second <= 12 && first != second) {
            return false; // day or month
        }
        year_ = year_first ? first : third;
        month_ = year_first ? second : month_first ? first : second;
        day_ = year_first ? third : month_first ? second : first;
        return true;
    }

    std::uint32_t year_ = 0;
    std::uint32_t month_ = 0;
    std::uint32_t day_ = 0;
    std::uint32_t hour_ = 0;
    std::uint32_t minute_ = 0;
    std::uint32_t second_ = 0;
    std::int64_t nanoseconds_ = 0;
    bool has_time_ = false;
    half_day half_day_ = half_day::none;
};

} // namespace detail

// Nanoseconds since 1970 of a date such as "Sat Nov 21 02:54:29.861 AM 2026", which is taken as UTC since these dates
// have no time zone. Understands
//
//   - the words in any order: day, month, year, time, "am" or "pm" (also "vorm." and "nachm."); others, such as days of
//     the week, are passed over
//   - names of months in English, German, French, Spanish, Italian, Portuguese, Dutch, Swedish and Polish, whole or
//   from
//     three letters on, in any case, UTF-8 or Latin-1
//   - 2023-11-14T22:13:20Z, 14.11.2023 22:13:20, 2023/11/14, and 11/14/2023 where the order is beyond doubt
//   - decimals of the second after a point or comma
//
// Nothing for anything else.
inline std::optional<std::int64_t> read_date(std::string_view text) {
    detail::date_reader reader;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t begin = text.find_first_not_of(" \t", at);
        if (begin == std::string_view::npos) {
            break;
        }
        at = std::min(text.find_first_of(" \t", begin), text.size());
        if (!reader.take(text.substr(begin, at - begin))) {
            return std::nullopt;
        }
    }
    return reader.date();
}

} // namespace qor::sdk

#endif
