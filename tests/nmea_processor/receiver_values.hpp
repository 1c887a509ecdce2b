// Reads a receiver's values by their names.
#ifndef TESTS_NMEA_PROCESSOR_RECEIVER_VALUES_HPP
#define TESTS_NMEA_PROCESSOR_RECEIVER_VALUES_HPP

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
    bool updated = false;
    for (const byte_range& update : values.updates()) {
        updated = updated || update.meets(range);
    }
    return updated;
}

// The values of the view GPS, but the satellites, that the last sentence gave: "hour=22 minute=37 ".
inline std::string updated_values(const image& values) {
    std::ostringstream text;
    text.precision(15);
    const auto look = [&]<typename Value>(const char* name, member<Value> member) {
        if (is_updated(values, {member.place, member.place + sizeof(Value)})) {
            text << name << '=' << value_of(values, member) << ' ';
        }
    };
    look("year", year);
    look("month", month);
    look("day", day);
    look("hour", hour);
    look("minute", minute);
    look("second", second);
    look("latitude", latitude);
    look("longitude", longitude);
    look("altitude", altitude);
    look("separation", geoid_separation);
    look("speed", speed);
    look("course", course);
    look("quality", quality);
    look("mode", mode);
    look("used", satellites_used);
    look("in_view", satellites_in_view);
    look("pdop", position_dilution);
    look("hdop", horizontal_dilution);
    look("vdop", vertical_dilution);
    return text.str();
}

} // namespace nmea_processor

#endif
