// The blocks of recordings in pcapng:
//
//     type u32, length u32, body padded to 4 bytes, length u32
//
// A section header shows the byte order of its section; interface blocks describe the interfaces that packets name.
#ifndef PCAP_READER_PCAPNG_BLOCKS_HPP
#define PCAP_READER_PCAPNG_BLOCKS_HPP

#include <optional>
#include <string>

#include "plugins/pcap_reader/can_packet.hpp"

namespace tavi::pcap {

enum block_type : std::uint32_t {
    interface_block = 1,
    old_packet = 2,
    simple_packet = 3,
    enhanced_packet = 6,
    section_header = 0x0A0D0D0A, // the same in either byte order
};

inline constexpr std::uint32_t byte_order_magic = 0x1A2B3C4D;
inline constexpr std::size_t block_header_size = 8;
inline constexpr std::size_t block_frame_size = 12; // with the length at the end
// Limit of a block that is read, far above all use. Larger blocks of other types are passed over.
inline constexpr std::uint32_t largest_held = std::uint32_t{1} << 20;

struct block {
    std::uint32_t type = 0;
    std::uint32_t length = 0; // 0 for a damaged one
    number_reader numbers;

    // Whether the length at the end agrees. Requires: the whole block in `bytes`.
    bool is_closed(std::span<const std::uint8_t> bytes) const noexcept {
        return numbers.load<std::uint32_t>(bytes, length - 4) == length;
    }
};

// The header of a block; `numbers` is that of the section. Section headers have their own.
block read_block(std::span<const std::uint8_t> header, number_reader numbers) noexcept;

// Whether blocks of that type are described here.
bool is_known(std::uint32_t type) noexcept;

// What blocks without packets are counted as.
std::string block_name(std::uint32_t type);

constexpr std::size_t with_padding(std::size_t size) noexcept {
    return (size + 3) / 4 * 4;
}

// Calls use(code, value) for each option. False when the options do not end where they should.
template<typename Use>
bool for_each_option(std::span<const std::uint8_t> options, number_reader numbers, Use use) {
    while (options.size() >= 4) {
        const auto code = numbers.load<std::uint16_t>(options, 0);
        const auto size = numbers.load<std::uint16_t>(options, 2);
        if (code == 0) {
            return size == 0 && options.size() == 4;
        }
        if (with_padding(size) > options.size() - 4) {
            return false;
        }
        use(code, options.subspan(4, size));
        options = options.subspan(4 + with_padding(size));
    }
    return options.empty();
}

// What the times of an interface mean.
struct time_scale {
    // Units of a second: 10 or 2 to the power of `exponent`.
    bool is_binary = false;
    std::uint8_t exponent = 6;
    std::int64_t offset = 0; // seconds

    // Nothing for a time beyond 64 bits of nanoseconds.
    std::optional<qor::sdk::recorded_time> nanoseconds(std::uint64_t time) const noexcept;
};

} // namespace tavi::pcap

#endif
