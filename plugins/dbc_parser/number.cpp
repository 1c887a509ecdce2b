#include "plugins/dbc_parser/number.hpp"

#include <charconv>
#include <cmath>
#include <system_error>

namespace qor::dbc_parser {

namespace {

constexpr double two_to_the_64 = 18446744073709551616.0;

bool is_digit(char byte) noexcept {
    return byte >= '0' && byte <= '9';
}

// Takes the sign off the front; whether it was a minus.
bool take_sign(std::string_view& text) noexcept {
    const bool is_negative = text.starts_with('-');
    if (is_negative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    return is_negative;
}

// Whether a number that a double cannot hold is too small for it and not too large.
bool is_tiny(std::string_view text) noexcept {
    const std::size_t exponent = text.find_first_of("eE");
    return exponent != std::string_view::npos ? text.substr(exponent + 1).starts_with('-')
                                              : text.find_first_not_of('0') == text.find('.');
}

} // namespace

number_result<double> read_real(std::string_view text) noexcept {
    const bool is_negative = take_sign(text);
    if (text.empty() || !(is_digit(text.front()) || (text.size() > 1 && text.front() == '.' && is_digit(text[1])))) {
        return {0, number_fault::not_a_number};
    }
    double value = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, code] = std::from_chars(text.data(), end, value);
    if (stop != end) {
        return {0, number_fault::not_a_number};
    }
    if (code == std::errc::result_out_of_range) {
        if (!is_tiny(text)) {
            return {0, number_fault::out_of_range};
        }
        value = 0;
    }
    return {is_negative ? -value : value};
}

number_result<integer> read_integer(std::string_view text) noexcept {
    std::string_view digits = text;
    const bool is_negative = take_sign(digits);
    int base = 10;
    if (digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) {
        digits.remove_prefix(2);
        base = 16;
    }
    std::uint64_t magnitude = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, code] = std::from_chars(digits.data(), end, magnitude, base);
    if (stop == end && code == std::errc()) {
        return {{magnitude, is_negative && magnitude != 0}};
    }
    if (stop == end && code == std::errc::result_out_of_range) {
        return {{}, number_fault::out_of_range};
    }
    const number_result<double> real = read_real(text);
    if (!real || std::trunc(real.value) != real.value) {
        return {{}, real.fault == number_fault::out_of_range ? real.fault : number_fault::not_a_number};
    }
    if (std::abs(real.value) >= two_to_the_64) {
        return {{}, number_fault::out_of_range};
    }
    return {{static_cast<std::uint64_t>(std::abs(real.value)), real.value < 0}};
}

number_result<std::uint64_t> read_unsigned(std::string_view text, std::uint64_t largest) noexcept {
    const number_result<integer> number = read_integer(text);
    if (!number) {
        return {0, number.fault};
    }
    if (number.value.is_negative || number.value.magnitude > largest) {
        return {0, number_fault::out_of_range};
    }
    return {number.value.magnitude};
}

std::string to_text(const integer& number) {
    return (number.is_negative ? "-" : "") + std::to_string(number.magnitude);
}

} // namespace qor::dbc_parser
