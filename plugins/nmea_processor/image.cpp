#include "plugins/nmea_processor/image.hpp"

#include <algorithm>
#include <bit>
#include <limits>

namespace nmea_processor {

image::image() {
    for (const member<double> member : {second, latitude, longitude, altitude, geoid_separation, speed, course,
                                        position_dilution, horizontal_dilution, vertical_dilution}) {
        put(member, std::numeric_limits<double>::quiet_NaN());
    }
    begin_sentence();
}

void image::put(member<uint8_t> member, uint8_t value) {
    put_integer(member.place, value, sizeof(value));
}

void image::put(member<uint16_t> member, uint16_t value) {
    put_integer(member.place, value, sizeof(value));
}

void image::put(member<uint64_t> member, uint64_t value) {
    put_integer(member.place, value, sizeof(value));
}

void image::put(member<double> member, double value) {
    put_integer(member.place, std::bit_cast<uint64_t>(value), sizeof(value));
}

void image::put_satellites(std::span<const uint8_t> elements) {
    std::copy(elements.begin(), elements.end(), bytes_.begin() + satellite_object.begin);
    note(satellite_object.begin, satellite_object.size());
}

void image::put_integer(size_t place, uint64_t value, size_t size) {
    for (size_t index = 0; index < size; ++index) {
        bytes_[place + index] = static_cast<uint8_t>(value >> (8 * index));
    }
    note(place, size);
}

// Values are put in the order of the layout mostly, so that a sentence leaves few ranges.
void image::note(size_t place, size_t size) {
    if (!updates_.empty() && updates_.back().end == place) {
        updates_.back().end += size;
    } else {
        updates_.push_back({place, place + size});
    }
}

} // namespace nmea_processor
