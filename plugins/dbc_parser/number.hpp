// Numbers as DBC files write them.
#ifndef PLUGINS_DBC_PARSER_NUMBER_HPP
#define PLUGINS_DBC_PARSER_NUMBER_HPP

#include <cstdint>
#include <string>
#include <string_view>

namespace qor::dbc_parser {

enum class number_fault : std::uint8_t { none, not_a_number, out_of_range };

template<typename Number>
struct number_result {
    Number value{};
    number_fault fault = number_fault::none;

    explicit operator bool() const noexcept { return fault == number_fault::none; }
};

// A whole number of up to 64 bits and its sign.
struct integer {
    std::uint64_t magnitude = 0;
    bool is_negative = false;

    bool operator==(const integer&) const = default;
};

// Decimal, with or without fraction and exponent: "1", "+5", ".25", "1.", "1.E5". Too small for a double is 0. Infinity
// and NaN are not numbers.
number_result<double> read_real(std::string_view text) noexcept;

// Decimal, hexadecimal behind "0x", or written as a real without fraction ("8.0", "1E3").
number_result<integer> read_integer(std::string_view text) noexcept;

// A whole number from 0 to `largest`; a negative one is out of range.
number_result<std::uint64_t> read_unsigned(std::string_view text, std::uint64_t largest = UINT64_MAX) noexcept;

std::string to_text(const integer& number);

} // namespace qor::dbc_parser

#endif
