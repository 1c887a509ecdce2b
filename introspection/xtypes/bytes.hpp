// Values out of and into raw memory, at any address and in either byte order, on every processor.
#ifndef INTROSPECTION_XTYPES_BYTES_HPP
#define INTROSPECTION_XTYPES_BYTES_HPP

#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace qor::introspection::xtypes {

// In the processor's own byte order.
template<typename T>
T load(const std::uint8_t* source) noexcept {
    static_assert(std::is_trivially_copyable_v<T>);
    T value;
    std::memcpy(&value, source, sizeof(T));
    return value;
}

template<typename T>
void store(std::uint8_t* destination, T value) noexcept {
    static_assert(std::is_trivially_copyable_v<T>);
    std::memcpy(destination, &value, sizeof(T));
}

constexpr std::uint8_t reverse_bytes(std::uint8_t value) noexcept {
    return value;
}

constexpr std::uint16_t reverse_bytes(std::uint16_t value) noexcept {
    return static_cast<std::uint16_t>((value << 8) | (value >> 8));
}

constexpr std::uint32_t reverse_bytes(std::uint32_t value) noexcept {
    return (value << 24) | ((value << 8) & 0x00FF0000u) | ((value >> 8) & 0x0000FF00u) | (value >> 24);
}

constexpr std::uint64_t reverse_bytes(std::uint64_t value) noexcept {
    return (static_cast<std::uint64_t>(reverse_bytes(static_cast<std::uint32_t>(value))) << 32) |
           reverse_bytes(static_cast<std::uint32_t>(value >> 32));
}

// First byte least significant.
template<typename T>
T load_little(const std::uint8_t* source) noexcept {
    const T value = load<T>(source);
    return std::endian::native == std::endian::little ? value : reverse_bytes(value);
}

// First byte most significant.
template<typename T>
T load_big(const std::uint8_t* source) noexcept {
    const T value = load<T>(source);
    return std::endian::native == std::endian::little ? reverse_bytes(value) : value;
}

} // namespace qor::introspection::xtypes

#endif
