// Reads a receiver's values by their names.
#ifndef TESTS_NMEA_PROCESSOR_RECEIVER_VALUES_HPP
#define TESTS_NMEA_PROCESSOR_RECEIVER_VALUES_HPP

#include <algorithm>
#include <bit>
#include <sstream>
#include <string>

#include "plugins/nmea_processor/image.hpp"
#include "tests/nmea_processor/sealed.hpp"

namespace nmea_processor {

inline uint64_t integer_at(const image& values, size_t place, size_t size) {
    uint64_t value = 0;
    for (size_t index = 0; index < size; ++index) {
        value |= uint64_t{values.bytes()[place + index]} << (8 * index);
    }
    return value;
}

template<typename Value>
double value_of(const image& values, member<Value> member) {
    return static_cast<double>(integer_at(values, member.place, sizeof(Value)));
}
inline double value_of(const image& values, member<double> member) {
    return std::bit_cast<double>(integer_at(values, member.place, sizeof(double)));
}

inline bool is_updated(const image& values, const byte_range& range) {
    const auto& updates = values.updates();
    return std::any_of(updates.begin(), updates.end(), [&](const byte_range& update) { return update.meets(range); });
}

// The values of the view GPS, but the satellites, that the last sentence gave: "hour=22 minute=37 ".
inline std::string updated_values(const image& values) {
    std::istringstream names("year month day hour minute second latitude longitude altitude separation speed course "
                             "quality mode used in_view pdop hdop vdop");
    std::ostringstream text;
    text.precision(15);
    const auto look = [&]<typename Value>(member<Value> member) {
        std::string name;
        names >> name;
        if (is_updated(values, {member.place, member.place + sizeof(Value)})) {
            text << name << '=' << value_of(values, member) << ' ';
        }
    };
    const auto look_at_all = [&](auto... members) { (look(members), ...); };
    look_at_all(year, month, day, hour, minute, second, latitude, longitude, altitude, geoid_separation, speed, course,
                quality, mode, satellites_used, satellites_in_view, position_dilution, horizontal_dilution,
                vertical_dilution);
    return text.str();
}

} // namespace nmea_processor

#endif
