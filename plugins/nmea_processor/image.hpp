// The receiver's values as the bytes that records are cut from, and what of them the last sentence gave.
#ifndef PLUGINS_NMEA_PROCESSOR_IMAGE_HPP
#define PLUGINS_NMEA_PROCESSOR_IMAGE_HPP

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "plugins/nmea_processor/layout.hpp"

namespace nmea_processor {

// Bytes of the image: from `begin` to before `end`.
struct byte_range {
    size_t begin;
    size_t end;

    constexpr bool meets(const byte_range& other) const noexcept { return begin < other.end && other.begin < end; }
};

class image {
public:
    // Nothing told yet: floating values are NaN, all others 0.
    image();

    std::span<const uint8_t> bytes() const noexcept { return bytes_; }

    // Each put counts as an update, also with the value that stood there: the receiver said it anew.
    void put(member<uint8_t> member, uint8_t value);
    void put(member<uint16_t> member, uint16_t value);
    void put(member<uint64_t> member, uint64_t value);
    void put(member<double> member, double value);
    template<size_t Size>
    void put(member<std::array<char, Size>> member, const std::array<char, Size>& text) {
        for (size_t index = 0; index < Size; ++index) {
            bytes_[member.place + index] = static_cast<uint8_t>(text[index]);
        }
        note(member.place, Size);
    }

    // Replaces all elements of SatelliteInView. Requires: elements.size() == satellite_object.size().
    void put_satellites(std::span<const uint8_t> elements);

    // What was put since begin_sentence, in no particular order.
    std::span<const byte_range> updates() const noexcept { return updates_; }
    void begin_sentence() noexcept { updates_.clear(); }

private:
    void put_integer(size_t place, uint64_t value, size_t size);
    void note(size_t place, size_t size);

    std::array<uint8_t, image_size> bytes_{};
    std::vector<byte_range> updates_;
};

} // namespace nmea_processor

#endif
