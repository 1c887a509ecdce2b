// The list of satellites in view, as it is put together from what receivers send.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "plugins/nmea_processor/receiver.hpp"
#include "tests/nmea_processor/receiver_values.hpp"

namespace nmea_processor {
namespace {

// "number/system/strength" of each, for example "5/1/0 66/2/40".
std::string in_view(const image& values) {
    std::string text;
    const auto count = static_cast<size_t>(value_of(values, satellites_in_view));
    for (size_t index = 0; index < satellite_capacity; ++index) {
        const size_t element = satellite_object.begin + index * satellite_object.element_size;
        if (index < count) {
            text += (text.empty() ? "" : " ") + std::to_string(integer_at(values, element + number_offset, 2)) + "/" +
                    std::to_string(integer_at(values, element + system_offset, 1)) + "/" +
                    std::to_string(integer_at(values, element + signal_strength_offset, 1));
        } else if (integer_at(values, element, satellite_object.element_size) != 0) {
            text += " rest";
        }
    }
    return text;
}

std::string after(const std::vector<std::string>& bodies) {
    receiver receiver;
    for (const std::string& body : bodies) {
        receiver.take(sealed(body));
    }
    EXPECT_EQ(value_of(receiver.values(), broken_count), 0);
    return in_view(receiver.values());
}

const std::string gps_one = "GPGSV,2,1,05,05,01,047,,10,29,224,31,13,22,062,23,15,40,094,";
const std::string gps_two = "GPGSV,2,2,05,16,25,306,30";
const std::string glonass = "GLGSV,1,1,02,66,09,027,,67,56,054,40";

TEST(Satellites, AreListedWhenTheLastSentenceCame) {
    receiver receiver;
    receiver.take(sealed(gps_one));
    EXPECT_TRUE(updated_values(receiver.values()).empty());
    receiver.take(sealed(gps_two));
    EXPECT_TRUE(is_updated(receiver.values(), {satellite_object.end() - 1, satellite_object.end()}));
    EXPECT_EQ(in_view(receiver.values()), "5/1/0 10/1/31 13/1/23 15/1/0 16/1/30");
    const size_t second_satellite = satellite_object.begin + satellite_object.element_size;
    EXPECT_EQ(integer_at(receiver.values(), second_satellite + elevation_offset, 1), 29u);
    EXPECT_EQ(integer_at(receiver.values(), second_satellite + azimuth_offset, 2), 224u);
    receiver.take(sealed("GPGSV,1,1,01,300,-05,360,12"));
    EXPECT_EQ(in_view(receiver.values()), "300/1/12");
    EXPECT_EQ(integer_at(receiver.values(), satellite_object.begin + elevation_offset, 1), 0xFBu);
    EXPECT_EQ(integer_at(receiver.values(), satellite_object.begin + azimuth_offset, 2), 0u);
}

TEST(Satellites, OfAllSystemsAndSignalsAreMerged) {
    const std::pair<std::vector<std::string>, std::string> rows[] = {
        // In the order of the receiver, which a renewed list does not change.
        {{gps_one, gps_two, glonass, "GPGSV,1,1,01,07,10,010,20"}, "7/1/20 66/2/0 67/2/40"},
        {{glonass, "GAGSV,1,1,01,03,44,149,40,7", "GBGSV,1,1,01,03,44,149,41,1", "GQGSV,1,1,01,03,44,149,42,1",
          "GIGSV,1,1,01,03,44,149,43,1", "ZZGSV,1,1,01,03,44,149,44,1"},
         "66/2/0 67/2/40 3/3/40 3/4/41 3/5/42 3/6/43 3/0/44"},
        {{"GNGSV,1,1,03,32,10,010,20,66,20,020,30,150,30,030,40"}, "32/1/20 66/2/30 150/0/40"},
        // Two signals of one satellite.
        {{"GPGSV,1,1,02,05,01,047,20,10,29,224,31,1", "GPGSV,1,1,03,05,01,047,25,10,29,224,30,11,30,225,9,6"},
         "5/1/25 10/1/31 11/1/9"},
        // Empty places, and an empty list with a signal.
        {{"GPGSV,1,1,01,05,01,047,20,,,,,,,,,,,,"}, "5/1/20"},
        {{glonass, "GLGSV,1,1,00,1", "GPGSV,1,1,01,05,01,047,20"}, "66/2/0 67/2/40 5/1/20"},
        {{glonass, "GLGSV,1,1,00"}, ""},
        // A lost sentence: the list stays as it was.
        {{glonass, gps_one, gps_two, "GPGSV,3,1,01,07,10,010,20", "GPGSV,3,3,01,08,10,010,20"},
         "66/2/0 67/2/40 5/1/0 10/1/31 13/1/23 15/1/0 16/1/30"},
        // Two lists that come at the same time.
        {{gps_one, "GLGSV,2,1,02,66,09,027,", gps_two, "GLGSV,2,2,02,67,56,054,40"},
         "5/1/0 10/1/31 13/1/23 15/1/0 16/1/30 66/2/0 67/2/40"},
        // A list that the receiver gave up, after a round without it.
        {{glonass, gps_one, gps_two, gps_one, gps_two}, "66/2/0 67/2/40 5/1/0 10/1/31 13/1/23 15/1/0 16/1/30"},
        {{glonass, gps_one, gps_two, gps_one, gps_two, gps_one, gps_two}, "5/1/0 10/1/31 13/1/23 15/1/0 16/1/30"},
    };
    for (const auto& [bodies, expected] : rows) {
        EXPECT_EQ(after(bodies), expected) << bodies.back();
    }
}

TEST(Satellites, BeyondTheArrayAreLeftOut) {
    std::vector<std::string> bodies;
    for (int number = 0; number < 100; ++number) {
        const char talker[] = {static_cast<char>('A' + number / 26), static_cast<char>('A' + number % 26), '\0'};
        bodies.push_back(talker + std::string("GSV,1,1,80"));
        for (int place = 0; place < 4; ++place) {
            bodies.back() += ',' + std::to_string(4 * number + place + 1) + ",10,010,20";
        }
    }
    const std::string text = after(bodies);
    EXPECT_EQ(std::count(text.begin(), text.end(), ' '), 63);
    EXPECT_EQ(text.find("rest"), std::string::npos);
}

} // namespace
} // namespace nmea_processor
