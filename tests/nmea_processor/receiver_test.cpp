// What sentences say of the receiver.
#include "plugins/nmea_processor/receiver.hpp"

#include <gtest/gtest.h>

#include <bit>
#include <optional>
#include <sstream>

#include "tests/nmea_processor/sealed.hpp"
#include "tests/support/page.hpp"

namespace nmea_processor {
namespace {

uint64_t integer_at(const image& values, size_t place, size_t size) {
    uint64_t value = 0;
    for (size_t index = 0; index < size; ++index) {
        value |= uint64_t{values.bytes()[place + index]} << (8 * index);
    }
    return value;
}

bool is_updated(const image& values, const byte_range& range) {
    const auto& updates = values.updates();
    return std::any_of(updates.begin(), updates.end(), [&](const byte_range& update) { return update.meets(range); });
}

// NUMBER/SYSTEM/ELEVATION/AZIMUTH/STRENGTH of each, a blank before it.
std::string satellites_of(const image& values) {
    std::ostringstream text;
    for (size_t index = 0; index < satellite_capacity; ++index) {
        const size_t element = satellite_object.begin + index * satellite_object.element_size;
        if (index < integer_at(values, satellites_in_view.place, 1)) {
            const auto at = [&](size_t offset, size_t size) { return integer_at(values, element + offset, size); };
            text << ' ' << at(number_offset, 2) << '/' << at(system_offset, 1) << '/'
                 << int{static_cast<int8_t>(at(elevation_offset, 1))} << '/' << at(azimuth_offset, 2) << '/'
                 << at(signal_strength_offset, 1);
        } else if (integer_at(values, element, satellite_object.element_size) != 0) {
            text << " rest";
        }
    }
    return text.str();
}

// The page's line for the last sentence.
std::string taken(const image& values) {
    std::ostringstream text;
    text.precision(15);
    text << "    " << integer_at(values, sentence_count.place, 8) << ' ';
    for (size_t index = 0; index < 5; ++index) {
        const auto character = static_cast<char>(values.bytes()[last_talker.place + index]);
        text << (character == '\0' ? '-' : character);
    }
    std::istringstream names("year month day hour minute second latitude longitude altitude separation speed course "
                             "quality mode used in_view pdop hdop vdop unknown broken");
    const auto look = [&]<typename Value>(member<Value> member) {
        std::string name;
        names >> name;
        const uint64_t bits = integer_at(values, member.place, sizeof(Value));
        if (is_updated(values, {member.place, member.place + sizeof(Value)})) {
            text << ' ' << name << '='
                 << (std::is_same_v<Value, double> ? std::bit_cast<double>(bits) : static_cast<double>(bits));
        }
    };
    const auto look_at_all = [&](auto... members) { (look(members), ...); };
    look_at_all(year, month, day, hour, minute, second, latitude, longitude, altitude, geoid_separation, speed, course,
                quality, mode, satellites_used, satellites_in_view, position_dilution, horizontal_dilution,
                vertical_dilution, unknown_count, broken_count);
    if (is_updated(values, {satellite_object.begin, satellite_object.end()})) {
        text << ':' << satellites_of(values);
    }
    return text.str();
}

TEST(Receiver, TakesFromSentencesWhatThePageShows) {
    std::optional<receiver> sender;
    tavi::test::expect_page_of_lines(
        "tests/nmea_processor/sentences.md", "nmea", [](const std::string& line) { return line.starts_with('$'); },
        [&](const std::string& line, bool is_first) {
            if (is_first) {
                sender.emplace();
            }
            sender->take(line);
            return taken(sender->values());
        });
}

TEST(Receiver, LeavesOutSatellitesBeyondTheArray) {
    receiver receiver;
    for (int number = 0; number < 100; ++number) {
        const char talker[] = {static_cast<char>('A' + number / 26), static_cast<char>('A' + number % 26), '\0'};
        std::string body = talker + std::string("GSV,1,1,80");
        for (int place = 0; place < 4; ++place) {
            body += ',' + std::to_string(4 * number + place + 1) + ",10,010,20";
        }
        receiver.take(sealed(body));
    }
    const std::string text = satellites_of(receiver.values());
    EXPECT_EQ(std::count(text.begin(), text.end(), ' '), 64);
    EXPECT_EQ(text.find("rest"), std::string::npos);
}

} // namespace
} // namespace nmea_processor
