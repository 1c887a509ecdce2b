// Fields of text lines, read without allocations: for recordings of CAN frames in columns.
#ifndef QOR_PLUGIN_SDK_TEXT_FIELDS_HPP
#define QOR_PLUGIN_SDK_TEXT_FIELDS_HPP

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

namespace qor::sdk {

inline bool is_blank(char character) noexcept {
    return character == ' ' || character == '\t';
}

inline bool is_digit(char character) noexcept {
    return character >= '0' && character <= '9';
}

inline char lower(char character) noexcept {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

// Whether the words are equal but for the case of ASCII letters. `lower_case` has none in upper case.
inline bool is_word(std::string_view word, std::string_view lower_case) noexcept {
    if (word.size() != lower_case.size()) {
        return false;
    }
    for (std::size_t index = 0; index < word.size(); ++index) {
        if (lower(word[index]) != lower_case[index]) {
            return false;
        }
    }
    return true;
}

inline constexpr std::array<std::uint8_t, 256> hexadecimal_values = [] {
    std::array<std::uint8_t, 256> values{};
    values.fill(255);
    for (std::uint8_t digit = 0; digit < 10; ++digit) {
        values[static_cast<std::size_t>('0' + digit)] = digit;
    }
    for (std::uint8_t digit = 0; digit < 6; ++digit) {
        values[static_cast<std::size_t>('A' + digit)] = static_cast<std::uint8_t>(10 + digit);
        values[static_cast<std::size_t>('a' + digit)] = static_cast<std::uint8_t>(10 + digit);
    }
    return values;
}();

// 0 to 15, or 255 for a character that is not a hexadecimal digit.
inline std::uint8_t hexadecimal_value(char character) noexcept {
    return hexadecimal_values[static_cast<unsigned char>(character)];
}

// The first control character but a tab, or byte 0xFF, which no text has and unwritten memory does; null for none.
inline const char* find_control(std::string_view text) noexcept {
    const auto is_control = [](char character) {
        const auto byte = static_cast<unsigned char>(character);
        return (byte < 0x20 && byte != '\t') || byte == 0xFF;
    };
    // Eight at a time: the high bit of a byte of `suspects` is set for 0xFF and for what is below 0x20, also for tabs.
    const char* at = text.data();
    const char* const end = at + text.size();
    for (; end - at >= 8; at += 8) {
        constexpr std::uint64_t ones = 0x0101010101010101;
        std::uint64_t bytes = 0;
        std::memcpy(&bytes, at, sizeof bytes);
        const std::uint64_t below = (bytes - ones * 0x20) & ~bytes;
        const std::uint64_t full = (~bytes - ones) & bytes;
        const std::uint64_t suspects = (below | full) & ones * 0x80;
        if (suspects != 0 && std::any_of(at, at + 8, is_control)) {
            break;
        }
    }
    const char* const found = std::find_if(at, end, is_control);
    return found != end ? found : nullptr;
}

// A number with a fixed number of decimals: "-12.5" is value -125 of 1 decimal.
struct fixed_decimal {
    std::int64_t value = 0;
    std::uint8_t decimals = 0;
};

// A decimal number: a minus where there is one, digits, and where there is a point or comma, decimals after it. No more
// than `most_digits` before and `most_decimals` after it are read, 18 together at most; what follows is left at `at`.
// False, with any `at`, when digits are missing.
inline bool read_decimal(const char*& at, const char* end, int most_digits, std::uint8_t most_decimals,
                         fixed_decimal& number) noexcept {
    const bool is_negative = at != end && *at == '-';
    at += is_negative ? 1 : 0;
    const char* const digits = at;
    std::int64_t value = 0;
    for (; at != end && is_digit(*at) && at - digits < most_digits; ++at) {
        value = value * 10 + (*at - '0');
    }
    bool is_number = at != digits;
    std::uint8_t decimals = 0;
    if (is_number && at != end && (*at == '.' || *at == ',')) {
        for (++at; at != end && is_digit(*at) && decimals < most_decimals; ++at, ++decimals) {
            value = value * 10 + (*at - '0');
        }
        is_number = decimals != 0;
    }
    number = {is_negative ? -value : value, decimals};
    return is_number;
}

// Digits to the base 10 or 16, eight at most. Nothing, with `at` unchanged, when there are none or more.
inline bool read_digits(const char*& at, const char* end, unsigned base, std::uint32_t& number) noexcept {
    const char* const begin = at;
    std::uint32_t value = 0;
    const char* here = begin;
    for (; here != end && hexadecimal_value(*here) < base; ++here) {
        if (here - begin == 8) {
            return false;
        }
        value = value * base + hexadecimal_value(*here);
    }
    if (here == begin) {
        return false;
    }
    at = here;
    number = value;
    return true;
}

// Bytes of two hexadecimal digits each, after blanks, with a blank or the end after each; up to `bytes.size()` of them.
// Returns how many there are; `at` is after the last one.
inline std::size_t read_hexadecimal_bytes(const char*& at, const char* end, std::span<std::uint8_t> bytes) noexcept {
    std::size_t count = 0;
    while (count < bytes.size()) {
        const char* here = at;
        while (here != end && is_blank(*here)) {
            ++here;
        }
        if (end - here < 2 || here == at || (end - here > 2 && !is_blank(here[2]))) {
            break;
        }
        const unsigned high = hexadecimal_value(here[0]);
        const unsigned low = hexadecimal_value(here[1]);
        if ((high | low) > 15) {
            break;
        }
        bytes[count++] = static_cast<std::uint8_t>(high << 4 | low);
        at = here + 2;
    }
    return count;
}

// The sum, or the number of 64 bits that is nearest to it.
inline std::int64_t saturated_sum(std::int64_t left, std::int64_t right) noexcept {
    if (right > 0 && left > INT64_MAX - right) {
        return INT64_MAX;
    }
    if (right < 0 && left < INT64_MIN - right) {
        return INT64_MIN;
    }
    return left + right;
}

// Nanoseconds from 1970 to a time of a day, all in the same time zone. Requires: a valid date from 1900 to 2200.
inline std::int64_t nanoseconds_since_1970(int year, unsigned month, unsigned day,
                                           std::int64_t nanoseconds_of_day) noexcept {
    const std::chrono::sys_days date{std::chrono::year{year} / std::chrono::month{month} / std::chrono::day{day}};
    return date.time_since_epoch().count() * (std::int64_t{86400} * 1000000000) + nanoseconds_of_day;
}

// The beginning of a recording as text in one byte a character: without a byte order mark, UTF-16 narrowed.
inline std::string beginning_as_text(std::span<const std::uint8_t> beginning) {
    const std::string text(beginning.begin(), beginning.end());
    if (text.starts_with("\xEF\xBB\xBF")) {
        return text.substr(3);
    }
    const bool is_little = text.starts_with("\xFF\xFE");
    if (!is_little && !text.starts_with("\xFE\xFF")) {
        return text;
    }
    std::string narrow;
    for (std::size_t at = 2; at + 1 < text.size(); at += 2) {
        const char low = text[at + (is_little ? 0 : 1)];
        narrow += text[at + (is_little ? 1 : 0)] == '\0' ? low : '?';
    }
    return narrow;
}

} // namespace qor::sdk

#endif
