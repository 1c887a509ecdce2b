// Numbers as bytes, for writers of binary recordings.
#ifndef TESTS_SUPPORT_RECORDING_BYTES_HPP
#define TESTS_SUPPORT_RECORDING_BYTES_HPP

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

#include <zlib.h>

namespace tavi::test {

// `size` bytes, low byte first.
inline std::string little(std::uint64_t value, std::size_t size) {
    std::string bytes;
    for (std::size_t index = 0; index < size; ++index) {
        bytes += static_cast<char>(index < sizeof value ? value >> 8 * index : 0);
    }
    return bytes;
}

// `size` bytes, high byte first.
inline std::string big(std::uint64_t value, std::size_t size) {
    const std::string bytes = little(value, size);
    return {bytes.rbegin(), bytes.rend()};
}

// With zeros up to a multiple of `unit` bytes.
inline std::string padded(std::string bytes, std::size_t unit) {
    bytes.resize((bytes.size() + unit - 1) / unit * unit);
    return bytes;
}

inline std::string deflated(std::string_view bytes) {
    uLongf size = compressBound(static_cast<uLong>(bytes.size()));
    std::string result(size, '\0');
    if (compress(reinterpret_cast<Bytef*>(result.data()), &size, reinterpret_cast<const Bytef*>(bytes.data()),
                 static_cast<uLong>(bytes.size())) != Z_OK) {
        throw std::runtime_error("zlib cannot compress");
    }
    result.resize(size);
    return result;
}

// A CAN frame to be written.
struct frame_to_write {
    std::uint64_t time = 0; // ns
    std::uint32_t id = 0;
    std::string data = {};
    bool is_extended = false;
    bool is_fd = false;
    bool is_remote = false;
    bool is_sent = false;
    unsigned channel = 1;
    // The length that a remote frame requests.
    unsigned requested = 0;

    unsigned length() const { return is_remote ? requested : static_cast<unsigned>(data.size()); }
    unsigned code() const {
        constexpr unsigned lengths[] = {12, 16, 20, 24, 32, 48, 64};
        unsigned code = length();
        for (unsigned index = 0; index < 7; ++index) {
            code = length() == lengths[index] ? 9 + index : code;
        }
        return code;
    }
};

} // namespace tavi::test

#endif
