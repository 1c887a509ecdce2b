#include "plugins/signal_storage/digest.hpp"

#include "plugins/signal_storage/little_endian.hpp"

namespace qor::storage {

// libb2 reports an error for sizes that BLAKE2b does not have, and for nothing else.
digest_builder::digest_builder(std::size_t size) noexcept {
    blake2b_init(&state_, size);
}

void digest_builder::update(std::span<const std::uint8_t> bytes) noexcept {
    blake2b_update(&state_, bytes.data(), bytes.size());
}

digest digest_builder::finish() noexcept {
    digest result;
    blake2b_final(&state_, result.data(), result.size());
    return result;
}

row_digest digest_builder::finish_row() noexcept {
    std::array<std::uint8_t, sizeof(row_digest)> bytes;
    blake2b_final(&state_, bytes.data(), bytes.size());
    return load_little_endian<row_digest>(bytes.data());
}

} // namespace qor::storage
