// A package of format "memory": a piece of a control unit's memory as it was at one moment.
//
//      0              8        12       16
//     +--------------+--------+--------+------------ - -
//     | address      | cycle  | zero   | the bytes of memory from that address on
//     +--------------+--------+--------+------------ - -
//
// Example: 00 00 00 20 00 00 00 00  05 00 00 00  00 00 00 00  2A 00: two bytes, 2A 00, at 0x20000000 in cycle 5.
#ifndef PLUGINS_MEMORY_MATCHER_MEMORY_BLOCK_HPP
#define PLUGINS_MEMORY_MATCHER_MEMORY_BLOCK_HPP

#include <cstdint>
#include <optional>

#include "qorc/extensibility/package.h"

namespace memory_matcher {

// Bytes before the memory.
inline constexpr uint64_t block_header_size = 16;

struct memory_block {
    uint64_t address;
    uint32_t cycle;
    // Bytes of memory.
    uint64_t size;
};

// Nothing for a payload that is shorter than a header.
std::optional<memory_block> read_block(const qor_package_t& package) noexcept;

} // namespace memory_matcher

#endif
