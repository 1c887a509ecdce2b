// The 64-bit key by which the tables of the extractor and the plug-ins tell sources apart: a hash of source id and
// instance. Two pairs of one hash are one source.
#ifndef QORCPP_SOURCE_KEY_HPP
#define QORCPP_SOURCE_KEY_HPP

#include <cstdint>

#include "qorc/extensibility/package.h"
#include "qorcpp/fnv.hpp"

namespace qor {

constexpr std::uint64_t combine_hashes(std::uint64_t seed, std::uint64_t hash) noexcept {
    return seed ^ (hash + 0x9e3779b9u + (seed << 6) + (seed >> 2));
}

constexpr std::uint64_t source_key(std::uint16_t source_id, std::uint32_t instance) noexcept {
    return combine_hashes(combine_hashes(0, fnv1a_integer(source_id)), fnv1a_integer(instance));
}

// Of the source that a package names. Its id is read byte by byte, low byte first, whatever the processor's own order.
inline std::uint64_t source_key_of(const qor_package_t& package) noexcept {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(&package);
    return source_key(static_cast<std::uint16_t>(bytes[0] | (bytes[1] << 8)), package.instance);
}

} // namespace qor

#endif
