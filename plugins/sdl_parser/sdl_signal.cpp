#include "plugins/sdl_parser/sdl_signal.hpp"

#include <array>
#include <charconv>
#include <limits>

#include "introspection/xtypes/signal/scalar_kinds.hpp"
#include "qorcpp/signal_codes.hpp"
#include "qorcpp/signal_layout.hpp"

namespace sdl_parser {

namespace {

namespace xtypes = qor::introspection::xtypes;
using xtypes::type_kind;

constexpr uint64_t uint32_maximum = std::numeric_limits<uint32_t>::max();

struct scalar {
    type_kind kind;
    uint32_t bits;
    bool is_real;
};

// The stored and physical kinds that signal types exist for; names and rows go together.
constexpr auto scalar_names = std::apply([](const auto&... each) { return std::array{each.name...}; }, xtypes::scalars);
constexpr auto scalars = std::apply(
    []<typename... Types>(const xtypes::scalar<Types>&... each) {
        return std::array{scalar{each.kind, 8 * sizeof(Types), std::is_floating_point_v<Types>}...};
    },
    xtypes::scalars);

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
        coefficients->reject("\"coefficients\" cannot be combined with \"factor\" or \"offset\"");
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

// Bytes that one element takes, from its first byte to the last that its bits touch. A byte order that cannot be read
// takes as many as little endian.
uint32_t bytes_of_element(const sdl_value& value, const scalar& stored, const qor_signal_node_t& signal) {
    const qor::signal_byte_order byte_order{signal.byte_order};
    const auto layout = qor::layout_of_signal(byte_order, signal.bit_offset, signal.bit_length, stored.bits);
    if (layout.refusal == qor::layout_refusal::byte_order) {
        return static_cast<uint32_t>(qor::walked_layout(false, signal.bit_offset, signal.bit_length).end_byte());
    }
    if (!layout.is_complete()) {
        value.reject("the value of " + std::to_string(signal.bit_length) +
                     " bits does not fit into its first byte: from bit " + std::to_string(signal.bit_offset) +
                     " on there are " + std::to_string(8 * layout.byte_count - layout.shift));
    }
    return static_cast<uint32_t>(layout.end_byte());
}

// The value of a byte order or an encoding by its word; 0 without one.
template<typename Code>
uint8_t read_code(const sdl_value& value, const std::string& key) {
    constexpr auto& codes = qor::signal_codes(Code{});
    constexpr auto words =
        std::apply([](const auto&... each) { return std::array{each.word...}; }, qor::signal_codes(Code{}));
    return value.has(key) ? static_cast<uint8_t>(codes[value.at(key).choice(words)].code) : uint8_t{0};
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
    signal.byte_order = read_code<qor::signal_byte_order>(value, "byte_order");
    const uint32_t touched = bytes_of_element(value, stored, signal);
    signal.element_size =
        static_cast<uint32_t>(value.has("size") ? value.at("size").integer(touched, uint32_maximum) : touched);
}

// Without one of them it is 0: most values that have a maximum cannot be negative.
void read_limits(const sdl_value& value, qor_signal_node_t& signal) {
    signal.minimum = value.has("minimum") ? value.at("minimum").number() : 0.0;
    signal.maximum = value.has("maximum") ? value.at("maximum").number() : 0.0;
    if (signal.minimum > signal.maximum) {
        value.at(value.has("minimum") ? "minimum" : "maximum").reject("the minimum is greater than the maximum");
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
    signal.encoding = read_code<qor::signal_encoding>(value, "encoding");
    read_limits(value, signal);
    node.unit = value.has("unit") ? value.at("unit").text() : "";
    node.value_table = value.has("values") ? read_value_table(value.at("values")) : "";
}

} // namespace sdl_parser
