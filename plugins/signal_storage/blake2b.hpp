// BLAKE2b with a digest of 256 bits, without key (RFC 7693): strong enough that two contents of one digest need not be
// feared, and faster than the bytes come from a disk.
#ifndef PLUGINS_SIGNAL_STORAGE_BLAKE2B_HPP
#define PLUGINS_SIGNAL_STORAGE_BLAKE2B_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qor::storage {

using digest = std::array<std::uint8_t, 32>;

// The bytes may come in any number of pieces; the digest depends on their concatenation only.
class blake2b {
public:
    blake2b() noexcept;

    void update(std::span<const std::uint8_t> bytes) noexcept;

    // Ends the message; nothing may follow it.
    digest finish() noexcept;

private:
    static constexpr std::size_t block_size = 128;

    void compress(const std::uint8_t* block, bool last) noexcept;

    std::array<std::uint64_t, 8> state_;
    std::array<std::uint8_t, block_size> buffer_{};
    std::size_t buffered_ = 0;
    // Messages of 2^64 bytes and more do not occur: the high word of the specified counter stays 0.
    std::uint64_t counter_ = 0;
};

} // namespace qor::storage

#endif
