// BLAKE2b of libb2 (RFC 7693) without a key: strong enough that two contents of one digest need not be feared.
#ifndef PLUGINS_SIGNAL_STORAGE_DIGEST_HPP
#define PLUGINS_SIGNAL_STORAGE_DIGEST_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include <blake2.h>

namespace qor::storage {

// 256 bits for a whole description, 64 for a row of it.
using digest = std::array<std::uint8_t, 32>;
using row_digest = std::uint64_t;

// The digest of bytes that come in any number of parts; it depends on their concatenation only.
class digest_builder {
public:
    // `size`  bytes of the digest, 1 to 64; digests of different sizes have nothing in common
    explicit digest_builder(std::size_t size = std::tuple_size_v<digest>) noexcept;

    void update(std::span<const std::uint8_t> bytes) noexcept;

    // Both end the message; nothing may follow it. Requires: the digest's size is that of the result.
    digest finish() noexcept;
    row_digest finish_row() noexcept; // the first byte is the lowest

private:
    alignas(std::uint64_t) blake2b_state state_; // its record is packed
};

} // namespace qor::storage

#endif
