#include "introspection/xtypes/signal/signal_operations.hpp"

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include "introspection/xtypes/signal/conversion.hpp"
#include "qorcpp/signal_layout.hpp"

namespace qor::introspection::xtypes {

namespace {

// A number that is not in the list has no part in the name.
template<typename Code>
std::string_view name_part_of(Code code) noexcept {
    const auto* const row = find_signal_code(code);
    return row != nullptr ? row->name_part : std::string_view();
}

// As printf does with "%f", but with a point in every locale.
void append_fixed(std::string& text, double value) {
    char buffer[400]; // the largest double has 309 digits before the point
    const auto [end, error] = std::to_chars(buffer, buffer + sizeof(buffer), value, std::chars_format::fixed, 6);
    text.append(buffer, end);
}

// Bytes, but bits for the reals: these take longer signals than they can hold.
std::uint64_t storage_size(type_kind raw_kind) {
    switch (raw_kind) {
    case type_kind::float32:
    case type_kind::float64:
    case type_kind::float128:
        return 8 * primitive_size(raw_kind);
    default:
        break;
    }
    if (has_flag(raw_kind, signal_flag)) {
        throw std::invalid_argument("the specified type kind does not represent a primitive type");
    }
    return primitive_size(raw_kind);
}

} // namespace

std::string signal_type_name(std::string_view converted_name, std::string_view raw_name,
                             const signal_parameters& signal) {
    std::string text = "signal_";
    text.append(converted_name).append("_").append(raw_name);
    text.append(name_part_of(signal.byte_order)).append(name_part_of(signal.encoding));
    text.append("_").append(std::to_string(signal.bit_offset));
    text.append("_").append(std::to_string(signal.bit_length));
    const signal_coefficients& c = signal.coefficients;
    for (double coefficient :
         {c.numerator_x2, c.numerator_x1, c.numerator_x0, c.denominator_x2, c.denominator_x1, c.denominator_x0}) {
        text.append("_");
        append_fixed(text, coefficient);
    }
    if (!signal.signal_suffix.empty()) {
        text.append("_").append(signal.signal_suffix);
    }
    return text;
}

signal_parameters checked_signal(signal_parameters signal) {
    signal.conversion = conversion_of(signal.coefficients);
    if (signal.bit_length > 8 * storage_size(signal.raw_kind)) {
        throw std::invalid_argument("the specified underlying primitive type cannot store the specified bit length of "
                                    "the signal");
    }
    return signal;
}

std::uint64_t signal_instance_size(const signal_parameters& signal) noexcept {
    return bytes_touched(signal.bit_offset, signal.bit_length);
}

bool is_plain_signal(type_kind kind, const signal_parameters& signal) {
    if (find_signal_code(signal.encoding) == nullptr || !is_twos_complement(signal.encoding)) {
        return false;
    }
    if (signal.conversion != signal_conversion::identity || signal.bit_offset != 0) {
        return false;
    }
    const bool little = signal.byte_order == signal_byte_order::little_endian;
    return (little && signal.bit_length == 8 * primitive_size(kind)) ||
           ((little || signal.byte_order == signal_byte_order::inconsistent_big_endian) && signal.bit_length == 8);
}

std::uint32_t signal_compatibility(const signal_type_base& self, const dynamic_type& other) {
    if (other.kind() == type_kind::alias || other.kind() == type_kind::structure) {
        return other.compatibility(self);
    }
    if (!has_flag(other.kind(), primitive_flag) && !has_flag(other.kind(), signal_flag)) {
        return compatibility_flag::incompatible;
    }
    if (other.kind() == self.kind()) {
        return 0;
    }
    std::uint32_t flags = self.instance_size() != other.instance_size() ? compatibility_flag::instance_size : 0;
    if (has_flag(self.kind(), unsigned_flag) != has_flag(other.kind(), unsigned_flag)) {
        flags |= compatibility_flag::signedness;
    }
    if (has_flag(other.kind(), signal_flag)) {
        const auto* const signal = dynamic_cast<const signal_type_base*>(&other);
        if (signal == nullptr || !signal->is_plain() || !self.is_plain()) {
            flags |= compatibility_flag::needs_decoding;
        }
    }
    return flags;
}

void store_signal_bits(std::uint64_t bits, std::uint32_t bit_length, std::size_t raw_size,
                       std::uint8_t* destination) noexcept {
    const std::size_t count = std::min<std::size_t>((std::size_t{bit_length} + 7) / 8, raw_size);
    for (std::size_t i = 0; i < count; ++i) {
        destination[i] = static_cast<std::uint8_t>(bits >> (8 * i));
    }
}

} // namespace qor::introspection::xtypes
