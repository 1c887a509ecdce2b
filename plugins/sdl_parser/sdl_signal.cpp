#include "plugins/sdl_parser/sdl_signal.hpp"

#include <array>
#include <charconv>
#include <limits>

#include "introspection/xtypes/type_kind.hpp"

namespace sdl_parser {

namespace {

using qor::introspection::xtypes::type_kind;

constexpr uint64_t uint32_maximum = std::numeric_limits<uint32_t>::max();

struct scalar {
    type_kind kind;
    uint32_t bits;
    bool is_real = false;
};

// The stored and physical kinds that signal types exist for; names and rows go together.
constexpr std::array<std::string_view, 11> scalar_names = {"char8",  "int8",  "uint8",  "int16",   "uint16", "int32",
                                                           "uint32", "int64", "uint64", "float32", "float64"};
constexpr std::array<scalar, 11> scalars = {{{type_kind::char8, 8},
                                             {type_kind::int8, 8},
                                             {type_kind::uint8, 8},
                                             {type_kind::int16, 16},
                                             {type_kind::uint16, 16},
                                             {type_kind::int32, 32},
                                             {type_kind::uint32, 32},
                                             {type_kind::int64, 64},
                                             {type_kind::uint64, 64},
                                             {type_kind::float32, 32, true},
                                             {type_kind::float64, 64, true}}};
// In the order of the QOR_BYTE_ORDER_ and QOR_ENCODING_ values.
constexpr std::array<std::string_view, 3> byte_orders = {"little_endian", "big_endian", "inconsistent_big_endian"};
constexpr std::array<std::string_view, 4> encodings = {"unspecified", "sign_magnitude", "ones_complement",
                                                       "twos_complement"};

constexpr std::array<double, 6> identity = {0, 1, 0, 0, 0, 1};

std::array<double, 6> read_coefficients(const sdl_value& value) {
    const auto coefficients = value.find("coefficients");
    if (!coefficients) {
        std::array<double, 6> linear = identity;
        linear[1] = value.has("factor") ? value.at("factor").number() : 1.0;
        linear[2] = value.has("offset") ? value.at("offset").number() : 0.0;
        return linear;
    }
    if (value.has("factor") || value.has("offset")) {
        coefficients->reject("\"coefficients\" cannot stand beside \"factor\" or \"offset\"");
    }
    if (coefficients->size() != 6) {
        coefficients->fail(
            "an array of 6 numbers: x squared, x and constant of the numerator, then of the denominator");
    }
    std::array<double, 6> six{};
    for (size_t index = 0; index < six.size(); ++index) {
        six[index] = coefficients->at(index).number();
    }
    if (six[3] == 0 && six[4] == 0 && six[5] == 0) {
        coefficients->reject("the denominator, the last three, is 0");
    }
    return six;
}

// Bytes that one element takes, from its first byte to the last that its bits touch. In the inconsistent big endian
// order `bit` points at the lowest bit in the last byte and the value runs towards the first, but for whole bytes at
// bit 0.
uint32_t bytes_touched(const sdl_value& value, const scalar& stored, const qor_signal_node_t& signal) {
    const bool whole = signal.bit_offset == 0 && signal.bit_length == stored.bits;
    if (signal.byte_order != QOR_BYTE_ORDER_INCONSISTENT_BIG_ENDIAN || whole) {
        return (signal.bit_offset + signal.bit_length - 1) / 8 + 1;
    }
    const uint32_t last_byte = signal.bit_offset / 8;
    const uint32_t room = 8 * last_byte + 8 - signal.bit_offset % 8;
    if (signal.bit_length > room) {
        value.reject("the value of " + std::to_string(signal.bit_length) +
                     " bits runs out of its first byte: from bit " + std::to_string(signal.bit_offset) +
                     " on there are " + std::to_string(room));
    }
    return last_byte + 1;
}

std::string read_value_table(const sdl_value& values) {
    std::string table;
    if (!values.json().is_object()) {
        values.fail("an object of texts by stored value");
    }
    for (const auto& [key, element] : values.json().items()) {
        const sdl_value text = values.at(key);
        int64_t stored = 0;
        const auto [stop, error] = std::from_chars(key.data(), key.data() + key.size(), stored);
        if (error == std::errc::invalid_argument || stop != key.data() + key.size()) {
            text.reject("the key of a value table has to be an integer");
        }
        if (error != std::errc() || std::to_string(stored) != key) {
            text.reject("the key of a value table has to fit int64 and to have no leading zeros");
        }
        table += table.empty() ? "" : "\n";
        table += std::to_string(stored) + "=";
        for (const char character : text.text()) {
            table += character == '\\' ? "\\\\" : character == '\n' ? "\\n" : std::string(1, character);
        }
    }
    return table;
}

void read_layout(const sdl_value& value, uint64_t next_offset, const scalar& stored, qor_signal_node_t& signal) {
    signal.offset = static_cast<uint32_t>(value.has("at") ? value.at("at").integer(0, uint32_maximum) : next_offset);
    signal.bit_length =
        static_cast<uint32_t>(value.has("bits") ? value.at("bits").integer(1, stored.bits) : stored.bits);
    if (stored.is_real && signal.bit_length != stored.bits) {
        value.at("bits").fail(std::to_string(stored.bits) + ", since a floating value is whole");
    }
    signal.bit_offset = static_cast<uint32_t>(value.has("bit") ? value.at("bit").integer(0, 4096) : 0);
    signal.element_count = static_cast<uint32_t>(value.has("count") ? value.at("count").integer(1, uint32_maximum) : 1);
    signal.byte_order = static_cast<uint8_t>(value.has("byte_order") ? value.at("byte_order").choice(byte_orders) : 0);
    const uint32_t touched = bytes_touched(value, stored, signal);
    signal.element_size =
        static_cast<uint32_t>(value.has("size") ? value.at("size").integer(touched, uint32_maximum) : touched);
}

// Without one of them it is 0: most values that have a maximum cannot be negative.
void read_limits(const sdl_value& value, qor_signal_node_t& signal) {
    signal.minimum = value.has("minimum") ? value.at("minimum").number() : 0.0;
    signal.maximum = value.has("maximum") ? value.at("maximum").number() : 0.0;
    if (signal.minimum > signal.maximum) {
        value.at(value.has("minimum") ? "minimum" : "maximum").reject("the minimum lies above the maximum");
    }
}

} // namespace

void read_signal(const sdl_value& value, uint64_t next_offset, sdl_node& node) {
    value.check_keys({"name", "comment", "at", "bit", "bits", "count", "size", "stored", "physical", "byte_order",
                      "encoding", "factor", "offset", "coefficients", "unit", "minimum", "maximum", "values"});
    qor_signal_node_t& signal = node.record.signal;
    const scalar& stored = scalars[value.at("stored").choice(scalar_names)];
    read_layout(value, next_offset, stored, signal);
    const auto coefficients = read_coefficients(value);
    signal.numerator_x2 = coefficients[0];
    signal.numerator_x1 = coefficients[1];
    signal.numerator_x0 = coefficients[2];
    signal.denominator_x2 = coefficients[3];
    signal.denominator_x1 = coefficients[4];
    signal.denominator_x0 = coefficients[5];
    const type_kind converted = value.has("physical")      ? scalars[value.at("physical").choice(scalar_names)].kind
                                : coefficients == identity ? stored.kind
                                                           : type_kind::float64;
    signal.raw_kind = static_cast<uint16_t>(stored.kind);
    signal.converted_kind = static_cast<uint16_t>(converted);
    signal.encoding = static_cast<uint8_t>(value.has("encoding") ? value.at("encoding").choice(encodings) : 0);
    read_limits(value, signal);
    node.unit = value.has("unit") ? value.at("unit").text() : "";
    node.value_table = value.has("values") ? read_value_table(value.at("values")) : "";
}

} // namespace sdl_parser
