// FNV-1a, 64-bit: the one hash of the system, for keys of tables and names of types.
#ifndef QORCPP_FNV_HPP
#define QORCPP_FNV_HPP

#include <cstdint>
#include <string_view>
#include <type_traits>

namespace qor {

// Offset basis and prime as published with the algorithm for 64 bits.
inline constexpr std::uint64_t fnv_offset_basis = 0xcbf29ce484222325u;
inline constexpr std::uint64_t fnv_prime = 0x100000001b3u;

constexpr std::uint64_t fnv1a(std::string_view bytes, std::uint64_t hash = fnv_offset_basis) noexcept {
    for (char byte : bytes) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * fnv_prime;
    }
    return hash;
}

// Over the bytes of an unsigned integer, low byte first, whatever the processor's own order.
template<typename T>
constexpr std::uint64_t fnv1a_integer(T value) noexcept {
    static_assert(std::is_unsigned_v<T>);
    std::uint64_t hash = fnv_offset_basis;
    for (unsigned i = 0; i < sizeof(T); ++i) {
        hash = (hash ^ static_cast<unsigned char>(static_cast<std::uint64_t>(value) >> (8 * i))) * fnv_prime;
    }
    return hash;
}

} // namespace qor

#endif
