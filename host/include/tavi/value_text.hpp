// Numbers as text.
//
// A double is written in the fewest digits that read back as the same number: without exponent from 1e-4 up to 1e16
// ("5000", "0.1", "-0"), else with one ("1e-05", "1.5e+300"). Not a number is "NaN", the infinities are "Infinity" and
// "-Infinity". A float is written as the double that it is, so that a reader of doubles gets exactly the value.
#ifndef TAVI_VALUE_TEXT_HPP
#define TAVI_VALUE_TEXT_HPP

#include <cstddef>
#include <cstdint>
#include <string>

namespace tavi::host {

// Room that each of the functions below needs at most.
inline constexpr std::size_t value_text_room = 32;

// `decimals` is a hint: how many digits behind the point are usually enough. It changes the speed, never the text.
inline constexpr std::uint8_t no_decimals_hint = 255;

// Write to `out`, which has room for value_text_room bytes, and return the place behind the text. No terminator.
char* write_value(char* out, double value, std::uint8_t decimals = no_decimals_hint) noexcept;
char* write_value(char* out, std::int64_t value) noexcept;
char* write_value(char* out, std::uint64_t value) noexcept;

// How many digits behind the point `factor * n + offset` has for whole n, when that is at most 9; no_decimals_hint
// otherwise.
std::uint8_t decimals_of(double factor, double offset) noexcept;

template<typename Number>
std::string value_text(Number value) {
    char text[value_text_room];
    return std::string(text, write_value(text, value));
}

} // namespace tavi::host

#endif
