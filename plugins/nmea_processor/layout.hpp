// Where each value of the receiver lies in the image of bytes that records are cut from.
//
// The objects stand one behind the other, each laid out as its description says: view GPS as the built-in description
// "gps-sdl", view NMEA as statistics_description.hpp. All values are little endian and packed.
#ifndef PLUGINS_NMEA_PROCESSOR_LAYOUT_HPP
#define PLUGINS_NMEA_PROCESSOR_LAYOUT_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace nmea_processor {

struct object_layout {
    std::string_view view;
    std::string_view name;
    uint64_t address;
    uint32_t element_count;
    uint32_t element_size;
    // The object's first byte in the image.
    size_t begin;

    constexpr size_t size() const noexcept { return size_t{element_count} * element_size; }
    constexpr size_t end() const noexcept { return begin + size(); }
};

inline constexpr object_layout time_object{"GPS", "Time", 0x1000, 1, 14, 0};
inline constexpr object_layout position_object{"GPS", "Position", 0x2000, 1, 32, time_object.end()};
inline constexpr object_layout velocity_object{"GPS", "Velocity", 0x3000, 1, 16, position_object.end()};
inline constexpr object_layout fix_object{"GPS", "Fix", 0x4000, 1, 28, velocity_object.end()};
inline constexpr object_layout satellite_object{"GPS", "SatelliteInView", 0x5000, 64, 7, fix_object.end()};
inline constexpr object_layout statistics_object{"NMEA", "Statistics", 0x6000, 1, 29, satellite_object.end()};

inline constexpr size_t image_size = statistics_object.end();
inline constexpr size_t satellite_capacity = satellite_object.element_count;

// The object of that name and place; null when the image has none.
const object_layout* find_object(std::string_view view, std::string_view name, uint64_t address, uint32_t element_count,
                                 uint32_t element_size) noexcept;

// A value in the image.
template<typename Value>
struct member {
    size_t place;
};

inline constexpr member<uint16_t> year{time_object.begin};
inline constexpr member<uint8_t> month{time_object.begin + 2};
inline constexpr member<uint8_t> day{time_object.begin + 3};
inline constexpr member<uint8_t> hour{time_object.begin + 4};
inline constexpr member<uint8_t> minute{time_object.begin + 5};
inline constexpr member<double> second{time_object.begin + 6};

inline constexpr member<double> latitude{position_object.begin};
inline constexpr member<double> longitude{position_object.begin + 8};
inline constexpr member<double> altitude{position_object.begin + 16};
inline constexpr member<double> geoid_separation{position_object.begin + 24};

inline constexpr member<double> speed{velocity_object.begin};
inline constexpr member<double> course{velocity_object.begin + 8};

inline constexpr member<uint8_t> quality{fix_object.begin};
inline constexpr member<uint8_t> mode{fix_object.begin + 1};
inline constexpr member<uint8_t> satellites_used{fix_object.begin + 2};
inline constexpr member<uint8_t> satellites_in_view{fix_object.begin + 3};
inline constexpr member<double> position_dilution{fix_object.begin + 4};
inline constexpr member<double> horizontal_dilution{fix_object.begin + 12};
inline constexpr member<double> vertical_dilution{fix_object.begin + 20};

// Of one element of SatelliteInView, from its own first byte.
inline constexpr size_t number_offset = 0;
inline constexpr size_t system_offset = 2;
inline constexpr size_t elevation_offset = 3;
inline constexpr size_t azimuth_offset = 4;
inline constexpr size_t signal_strength_offset = 6;

inline constexpr member<uint64_t> sentence_count{statistics_object.begin};
inline constexpr member<uint64_t> broken_count{statistics_object.begin + 8};
inline constexpr member<uint64_t> unknown_count{statistics_object.begin + 16};
inline constexpr member<std::array<char, 2>> last_talker{statistics_object.begin + 24};
inline constexpr member<std::array<char, 3>> last_type{statistics_object.begin + 26};

} // namespace nmea_processor

#endif
