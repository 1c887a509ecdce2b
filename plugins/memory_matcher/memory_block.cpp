#include "plugins/memory_matcher/memory_block.hpp"

namespace memory_matcher {

namespace {

uint64_t read_little_endian(const uint8_t* bytes, unsigned count) noexcept {
    uint64_t value = 0;
    for (unsigned index = 0; index < count; ++index) {
        value |= static_cast<uint64_t>(bytes[index]) << (8 * index);
    }
    return value;
}

} // namespace

std::optional<memory_block> read_block(const qor_package_t& package) noexcept {
    const uint64_t payload_size = package.payload_size;
    if (payload_size < block_header_size) {
        return std::nullopt;
    }
    const uint8_t* const payload = qor_package_payload(&package);
    return memory_block{read_little_endian(payload, 8), static_cast<uint32_t>(read_little_endian(payload + 8, 4)),
                        payload_size - block_header_size};
}

} // namespace memory_matcher
