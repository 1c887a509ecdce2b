#include "tests/dbc_parser/plain_decoder.hpp"

#include <bit>
#include <sstream>

#include "introspection/xtypes/type_kind.hpp"

namespace {

using qor::introspection::xtypes::type_kind;

// The bits one by one, lowest first.
std::optional<uint64_t> read_bits(const frame_bytes& frame, size_t byte_offset, size_t bit_offset, size_t bit_length,
                                  unsigned byte_order) {
    size_t byte = byte_offset + bit_offset / 8;
    size_t bit = bit_offset % 8;
    uint64_t value = 0;
    for (size_t index = 0; index < bit_length; ++index) {
        if (byte >= frame.size()) {
            return std::nullopt;
        }
        value |= uint64_t{(frame[byte] >> bit) & 1u} << index;
        if (++bit == 8) {
            bit = 0;
            byte_order == 2 ? --byte : ++byte;
        }
    }
    return value;
}

uint64_t extend_sign(uint64_t value, size_t bit_length) {
    const uint64_t sign = uint64_t{1} << (bit_length - 1);
    return (value ^ sign) - sign;
}

// "0:4:4:0:0:S1=0,2-5"
bool condition_holds(const std::string& condition, const frame_bytes& frame) {
    std::istringstream text(condition);
    size_t byte_offset = 0, bit_offset = 0, bit_length = 0;
    unsigned byte_order = 0, is_signed = 0;
    char colon = 0;
    text >> byte_offset >> colon >> bit_offset >> colon >> bit_length >> colon >> byte_order >> colon >> is_signed;
    std::string range;
    std::getline(text, range, '=');
    const auto bits = read_bits(frame, byte_offset, bit_offset, bit_length, byte_order);
    while (bits && std::getline(text, range, ',')) {
        const size_t dash = range.find('-', 1);
        const std::string last = dash == std::string::npos ? range : range.substr(dash + 1);
        if (is_signed != 0) {
            const auto value = static_cast<int64_t>(extend_sign(*bits, bit_length));
            if (value >= std::stoll(range) && value <= std::stoll(last)) {
                return true;
            }
        } else if (*bits >= std::stoull(range) && *bits <= std::stoull(last)) {
            return true;
        }
    }
    return false;
}

bool is_there(const recorded_node& node, const frame_bytes& frame) {
    std::istringstream conditions(node.presence);
    std::string condition;
    while (std::getline(conditions, condition, '&')) {
        if (!condition_holds(condition, frame)) {
            return false;
        }
    }
    return true;
}

} // namespace

std::optional<decoded_value> decode_plainly(const recorded_node& node, const frame_bytes& frame) {
    const qor_signal_node_t& signal = node.record.signal;
    const auto bits = read_bits(frame, signal.offset, signal.bit_offset, signal.bit_length, signal.byte_order);
    if (!bits || !is_there(node, frame)) {
        return std::nullopt;
    }
    const auto convert = [&](double raw) { return raw * signal.numerator_x1 + signal.numerator_x0; };
    const bool is_identity = signal.raw_kind == signal.converted_kind;
    const auto kind = static_cast<type_kind>(signal.raw_kind);
    if (kind == type_kind::float32 || kind == type_kind::float64) {
        const double raw = kind == type_kind::float32 ? std::bit_cast<float>(static_cast<uint32_t>(*bits))
                                                      : std::bit_cast<double>(*bits);
        return decoded_value{is_identity ? raw : convert(raw), ""};
    }
    if (qor::introspection::xtypes::has_flag(kind, qor::introspection::xtypes::unsigned_flag)) {
        const auto raw = static_cast<double>(*bits);
        return decoded_value{is_identity ? raw : convert(raw), std::to_string(*bits)};
    }
    const auto stored = static_cast<int64_t>(extend_sign(*bits, signal.bit_length));
    const auto raw = static_cast<double>(stored);
    return decoded_value{is_identity ? raw : convert(raw), std::to_string(stored)};
}
