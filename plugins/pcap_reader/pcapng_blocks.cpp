#include "plugins/pcap_reader/pcapng_blocks.hpp"

#include <algorithm>

namespace tavi::pcap {

using qor::sdk::byte_order;

namespace {

constexpr std::uint32_t largest_block = std::uint32_t{16} << 20;

struct named_block {
    std::uint32_t type;
    const char* name;
};

constexpr named_block other_blocks[] = {
    {4, "name resolution"},     {5, "interface statistics"}, {9, "system journal entry"},
    {10, "decryption secrets"}, {0xBAD, "custom block"},     {0x40000BAD, "custom block"},
};

bool has_content(std::uint32_t type) noexcept {
    return type == section_header || type == interface_block || type == old_packet || type == simple_packet ||
           type == enhanced_packet;
}

const named_block* find_other(std::uint32_t type) noexcept {
    const auto* const found = std::find_if(std::begin(other_blocks), std::end(other_blocks),
                                           [&](const named_block& other) { return other.type == type; });
    return found != std::end(other_blocks) ? found : nullptr;
}

} // namespace

block read_block(std::span<const std::uint8_t> header, number_reader numbers) noexcept {
    if (header.size() < block_frame_size) {
        return {};
    }
    const auto type = numbers.load<std::uint32_t>(header, 0);
    if (type == section_header) {
        numbers.order = qor::sdk::load<std::uint32_t>(header, 8, byte_order::little) == byte_order_magic
                            ? byte_order::little
                            : byte_order::big;
        if (numbers.load<std::uint32_t>(header, 8) != byte_order_magic) {
            return {};
        }
    }
    const auto length = numbers.load<std::uint32_t>(header, 4);
    const bool is_valid =
        length >= block_frame_size && length % 4 == 0 && length <= (has_content(type) ? largest_held : largest_block);
    return {type, is_valid ? length : 0, numbers};
}

bool is_known(std::uint32_t type) noexcept {
    return has_content(type) || find_other(type) != nullptr;
}

std::string block_name(std::uint32_t type) {
    const named_block* const known = find_other(type);
    return known != nullptr ? known->name : "block type " + std::to_string(type);
}

std::optional<qor::sdk::recorded_time> time_scale::nanoseconds(std::uint64_t time) const noexcept {
    constexpr std::uint64_t second = 1000000000;
    std::uint64_t seconds = 0;
    std::uint64_t rest = 0; // ns
    if (is_binary) {
        seconds = exponent < 64 ? time >> exponent : 0;
        const std::uint64_t fraction = exponent == 0   ? 0
                                       : exponent < 64 ? time << (64 - exponent) >> (64 - exponent)
                                                       : 0;
        rest = exponent <= 34 ? fraction * second >> exponent : (fraction >> (exponent - 34)) * second >> 34;
    } else {
        std::uint64_t units = 1;
        for (int power = 0; power < exponent; ++power) {
            units *= 10;
        }
        seconds = time / units;
        rest = units <= second ? time % units * (second / units) : time % units / (units / second);
    }
    constexpr std::int64_t most = INT64_MAX / 1000000000 - 1;
    if (seconds > static_cast<std::uint64_t>(most) || offset > most - static_cast<std::int64_t>(seconds) ||
        offset < -most) {
        return std::nullopt;
    }
    return qor::sdk::recorded_time{(static_cast<std::int64_t>(seconds) + offset) * static_cast<std::int64_t>(second) +
                                       static_cast<std::int64_t>(rest),
                                   is_binary ? std::uint8_t{9} : std::min(exponent, std::uint8_t{9})};
}

} // namespace tavi::pcap
