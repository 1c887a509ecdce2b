// The 64-bit key by which every table of sources is looked up: a hash of source id and instance. Two pairs of one hash
// are one source.
#ifndef QOR_TAVI_EXTRACTOR_SOURCE_KEY_HPP
#define QOR_TAVI_EXTRACTOR_SOURCE_KEY_HPP

#include <cstdint>

#include "qorcpp/fnv.hpp"

namespace qor::tavi::detail {

constexpr std::uint64_t combine_hashes(std::uint64_t seed, std::uint64_t hash) noexcept {
    return seed ^ (hash + 0x9e3779b9u + (seed << 6) + (seed >> 2));
}

constexpr std::uint64_t source_key(std::uint16_t source_id, std::uint32_t instance) noexcept {
    return combine_hashes(combine_hashes(0, fnv1a_integer(source_id)), fnv1a_integer(instance));
}

} // namespace qor::tavi::detail

#endif
