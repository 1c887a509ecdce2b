// Unsigned integers as bytes, low byte first, on processors of either order.
#ifndef PLUGINS_SIGNAL_STORAGE_LITTLE_ENDIAN_HPP
#define PLUGINS_SIGNAL_STORAGE_LITTLE_ENDIAN_HPP

#include <cstddef>
#include <cstdint>

namespace qor::storage {

template<typename T>
constexpr T load_little_endian(const std::uint8_t* bytes) noexcept {
    T value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) {
        value = static_cast<T>(value | T{bytes[i]} << (8 * i));
    }
    return value;
}

template<typename T>
constexpr void store_little_endian(T value, std::uint8_t* bytes) noexcept {
    for (std::size_t i = 0; i < sizeof(T); ++i) {
        bytes[i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
}

} // namespace qor::storage

#endif
