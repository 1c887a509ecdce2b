#include "tavi/value_text.hpp"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

namespace tavi::host {

namespace {

// Powers of ten that are exact; more decimals than nine are left to the general way.
constexpr double powers_of_ten[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
constexpr std::uint8_t most_decimals = 9;

// Whole numbers up to here, and their quotients by the powers above, are told apart by fifteen digits: a number of
// fifteen digits or fewer that gives a double back is the shortest that does.
constexpr double fifteen_digits = 999'999'999'999'999.0;

// Two digits at a time.
constexpr char digit_pairs[] = "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
                               "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
                               "8081828384858687888990919293949596979899";

char* write_text(char* out, std::string_view text) noexcept {
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

// `digits / 10^decimals` without zeros at the end. Requires: digits > 0, decimals <= most_decimals.
char* write_decimal(char* out, std::uint64_t digits, unsigned decimals) noexcept {
    while (decimals > 0 && digits % 10 == 0) {
        digits /= 10;
        --decimals;
    }
    char reversed[32];
    char* const end = reversed + sizeof reversed;
    char* at = end;
    while (digits >= 100) {
        at -= 2;
        std::memcpy(at, digit_pairs + 2 * (digits % 100), 2);
        digits /= 100;
    }
    if (digits >= 10) {
        at -= 2;
        std::memcpy(at, digit_pairs + 2 * digits, 2);
    } else {
        *--at = static_cast<char>('0' + digits);
    }
    while (static_cast<unsigned>(end - at) <= decimals) {
        *--at = '0';
    }
    const auto whole = static_cast<std::size_t>(end - at) - decimals;
    std::memcpy(out, at, whole);
    out += whole;
    if (decimals > 0) {
        *out++ = '.';
        std::memcpy(out, at + whole, decimals);
        out += decimals;
    }
    return out;
}

// Writes a positive number that has at most `decimals` digits behind the point; null when it has more or is too large.
char* write_exact(char* out, double value, std::uint8_t decimals) noexcept {
    const double scaled = value * powers_of_ten[decimals];
    if (!(scaled >= 1 && scaled <= fifteen_digits)) {
        return nullptr;
    }
    auto digits = static_cast<std::uint64_t>(scaled);
    digits += scaled - static_cast<double>(digits) >= 0.5 ? 1 : 0;
    // Both are exact, so the quotient is the double that lies nearest to the text.
    if (static_cast<double>(digits) / powers_of_ten[decimals] != value || digits > 999'999'999'999'999) {
        return nullptr;
    }
    return write_decimal(out, digits, decimals);
}

char* write_general(char* out, double magnitude) noexcept {
    const bool plain = magnitude == 0 || (magnitude >= 1e-4 && magnitude < 1e16);
    const auto format = plain ? std::chars_format::fixed : std::chars_format::scientific;
    return std::to_chars(out, out + value_text_room - 1, magnitude, format).ptr;
}

} // namespace

char* write_value(char* out, double value, std::uint8_t decimals) noexcept {
    if (!std::isfinite(value)) {
        return write_text(out, std::isnan(value) ? "NaN" : value > 0 ? "Infinity" : "-Infinity");
    }
    if (std::signbit(value)) {
        *out++ = '-';
        value = -value;
    }
    if (value == 0) {
        *out++ = '0';
        return out;
    }
    if (value >= 1e-4) {
        if (char* const end = write_exact(out, value, decimals <= most_decimals ? decimals : 0)) {
            return end;
        }
    }
    return write_general(out, value);
}

char* write_value(char* out, std::int64_t value) noexcept {
    return std::to_chars(out, out + value_text_room, value).ptr;
}

char* write_value(char* out, std::uint64_t value) noexcept {
    return std::to_chars(out, out + value_text_room, value).ptr;
}

std::uint8_t decimals_of(double factor, double offset) noexcept {
    for (std::uint8_t decimals = 0; decimals <= most_decimals; ++decimals) {
        const auto has_no_more = [&](double number) {
            const double scaled = std::abs(number) * powers_of_ten[decimals];
            return scaled <= fifteen_digits && std::round(scaled) / powers_of_ten[decimals] == std::abs(number);
        };
        if (has_no_more(factor) && has_no_more(offset)) {
            return decimals;
        }
    }
    return no_decimals_hint;
}

} // namespace tavi::host
