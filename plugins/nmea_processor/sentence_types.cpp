// One function for each type of sentence. Each reads all fields first, so that a damaged sentence changes nothing. The
// tables above them name the fields by their places behind the address.
#include "plugins/nmea_processor/sentence_types.hpp"

#include <algorithm>
#include <limits>

#include "plugins/nmea_processor/field_reader.hpp"

namespace nmea_processor {

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double metres_per_second_of_knot = 1852.0 / 3600.0;
constexpr double kilometres_per_hour_of_metre_per_second = 3.6;
// Of the mode field, how the receiver found its position: versions of the standard add some.
constexpr std::string_view modes = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::string_view latitude_directions = "NS";
constexpr std::string_view longitude_directions = "EW";
constexpr uint32_t uint8_maximum = std::numeric_limits<uint8_t>::max();

uint8_t narrow(uint32_t value) noexcept {
    return static_cast<uint8_t>(value);
}

struct place {
    double latitude;
    double longitude;
};

// Two fields each. A receiver without a fix may repeat the last position that it knew: that is none.
place read_place(field_reader& fields, size_t index, bool fixed) noexcept {
    const place read{fields.coordinate(index, 90, latitude_directions),
                     fields.coordinate(index + 2, 180, longitude_directions)};
    return fixed ? read : place{nan, nan};
}

void put_time(image& values, const time_of_day& time) {
    values.put(hour, time.hour);
    values.put(minute, time.minute);
    values.put(second, time.second);
}

void put_date(image& values, const date& date) {
    values.put(year, date.year);
    values.put(month, date.month);
    values.put(day, date.day);
}

void put_place(image& values, const place& place) {
    values.put(latitude, place.latitude);
    values.put(longitude, place.longitude);
}

// Status 'A' means that the position holds, 'V' that it does not. Receivers that go on by estimate say so in the mode
// field and give 'V' when they are not sure of it.
bool is_fixed(char status, char mode) noexcept {
    constexpr std::string_view estimates = "EMS";
    return status == 'A' || (status == 'V' && mode != '\0' && estimates.find(mode) != std::string_view::npos);
}

// 0 time, 1-4 position, 5 quality, 6 satellites used, 7 horizontal dilution, 8-9 altitude, 10-11 geoid separation,
// 12 age and 13 station of differential corrections
bool read_gga(field_reader& fields, image& values) {
    const time_of_day time = fields.time(0);
    const uint32_t quality_found = fields.integer(5, 9);
    const bool fixed = quality_found != 0;
    const place place = read_place(fields, 1, fixed);
    const uint32_t used = fields.integer(6, uint8_maximum);
    const double dilution = fields.number(7, 0, infinity);
    const double height = fields.number(8, -infinity, infinity);
    const double separation = fields.number(10, -infinity, infinity);
    fields.letter(9, "M");
    fields.letter(11, "M");
    if (fields.count() < 12 || !fields.good()) {
        return false;
    }
    put_time(values, time);
    put_place(values, place);
    values.put(altitude, fixed ? height : nan);
    values.put(geoid_separation, separation);
    values.put(quality, narrow(quality_found));
    values.put(satellites_used, narrow(used));
    values.put(horizontal_dilution, dilution);
    return true;
}

// 0 time, 1 status, 2-5 position, 6 knots, 7 course, 8 date, 9-10 magnetic variation, 11 mode, 12 navigation status
bool read_rmc(field_reader& fields, image& values) {
    const time_of_day time = fields.time(0);
    const bool fixed = is_fixed(fields.letter(1, "AV"), fields.letter(11, modes));
    const place place = read_place(fields, 2, fixed);
    const double knots = fields.number(6, 0, infinity);
    const double degrees = fields.number(7, 0, 360);
    const date date = fields.short_date(8);
    if (fields.count() < 9 || !fields.good()) {
        return false;
    }
    put_date(values, date);
    put_time(values, time);
    put_place(values, place);
    values.put(speed, fixed ? knots * metres_per_second_of_knot : nan);
    values.put(course, fixed ? degrees : nan);
    return true;
}

// 0-1 true course, 2-3 magnetic course, 4-5 knots, 6-7 kilometres per hour, 8 mode
bool read_vtg(field_reader& fields, image& values) {
    const double degrees = fields.number(0, 0, 360);
    const double knots = fields.number(4, 0, infinity);
    const double kilometres = fields.number(6, 0, infinity);
    fields.letter(1, "T");
    fields.letter(3, "M");
    fields.letter(5, "N");
    fields.letter(7, "K");
    const bool fixed = fields.letter(8, modes) != 'N';
    if (fields.count() < 8 || !fields.good()) {
        return false;
    }
    const double found =
        fields.empty(4) ? kilometres / kilometres_per_hour_of_metre_per_second : knots * metres_per_second_of_knot;
    values.put(speed, fixed ? found : nan);
    values.put(course, fixed ? degrees : nan);
    return true;
}

// 0 choice of mode, 1 mode, 2-13 satellites used, 14 position, 15 horizontal, 16 vertical dilution, 17 system
bool read_gsa(field_reader& fields, image& values) {
    const uint32_t found = fields.integer(1, 3);
    const double position = fields.number(14, 0, infinity);
    const double horizontal = fields.number(15, 0, infinity);
    const double vertical = fields.number(16, 0, infinity);
    fields.letter(0, "AM");
    if (fields.count() < 17 || !fields.good()) {
        return false;
    }
    values.put(mode, narrow(found));
    values.put(position_dilution, position);
    values.put(horizontal_dilution, horizontal);
    values.put(vertical_dilution, vertical);
    return true;
}

// Receivers of one system may list all under their own talker "GN"; the numbers that the standard gives out tell then.
satellite_system system_of(std::string_view talker, uint32_t number) noexcept {
    if (talker != "GN") {
        return system_of_talker(talker);
    }
    return number <= 64 ? satellite_system::gps : number <= 99 ? satellite_system::glonass : satellite_system::unknown;
}

void put_satellites(image& values, const std::vector<satellite>& in_view) {
    std::array<uint8_t, satellite_object.size()> elements{};
    for (size_t index = 0; index < in_view.size(); ++index) {
        uint8_t* const element = elements.data() + index * satellite_object.element_size;
        const satellite& satellite = in_view[index];
        element[number_offset] = narrow(satellite.number & 0xFFu);
        element[number_offset + 1] = narrow(satellite.number >> 8u);
        element[system_offset] = static_cast<uint8_t>(satellite.system);
        element[elevation_offset] = static_cast<uint8_t>(satellite.elevation);
        element[azimuth_offset] = narrow(satellite.azimuth & 0xFFu);
        element[azimuth_offset + 1] = narrow(satellite.azimuth >> 8u);
        element[signal_strength_offset] = satellite.signal_strength;
    }
    values.put(satellites_in_view, narrow(static_cast<uint32_t>(in_view.size())));
    values.put_satellites(elements);
}

// 0 sentences in the list, 1 number of this one, 2 satellites in the list, then for each satellite number, elevation,
// azimuth and signal strength; since version 4.10 the signal stands behind them
bool read_gsv(std::string_view talker, field_reader& fields, image& values, satellite_lists& lists) {
    constexpr size_t head = 3;
    constexpr size_t each = 4;
    constexpr uint32_t most_sentences = 99;
    satellite_sentence sentence{talker, 0, fields.integer(0, most_sentences), fields.integer(1, most_sentences), {}};
    fields.integer(2, std::numeric_limits<uint32_t>::max());
    const size_t blocks = fields.count() < head ? 0 : (fields.count() - head) / each;
    const size_t behind = head + blocks * each;
    for (size_t field = head; field < behind; field += each) {
        const uint32_t number = fields.integer(field, std::numeric_limits<uint16_t>::max());
        const int32_t height = fields.signed_integer(field + 1, -90, 90);
        const uint32_t direction = fields.integer(field + 2, 360);
        const uint32_t strength = fields.integer(field + 3, 99);
        if (number != 0) {
            sentence.satellites.push_back({static_cast<uint16_t>(number), system_of(talker, number),
                                           static_cast<int8_t>(height), static_cast<uint16_t>(direction % 360),
                                           narrow(strength)});
        }
    }
    if (fields.count() == behind + 1) {
        sentence.signal = fields.hexadecimal_digit(behind);
    }
    if (fields.count() < head || fields.count() > behind + 1 || !fields.good() || sentence.sentence_number == 0 ||
        sentence.sentence_number > sentence.sentence_total) {
        return false;
    }
    if (lists.add(sentence)) {
        put_satellites(values, lists.in_view(satellite_capacity));
    }
    return true;
}

// 0-3 position, 4 time, 5 status, 6 mode; the last two came with later versions of the standard
bool read_gll(field_reader& fields, image& values) {
    const char status = fields.letter(5, "AV");
    const bool fixed = is_fixed(status, fields.letter(6, modes)) || fields.count() < 6;
    const place place = read_place(fields, 0, fixed);
    const time_of_day time = fields.time(4);
    if (fields.count() < 5 || !fields.good()) {
        return false;
    }
    put_time(values, time);
    put_place(values, place);
    return true;
}

// 0 time, 1 day, 2 month, 3 year, 4-5 the local zone
bool read_zda(field_reader& fields, image& values) {
    const time_of_day time = fields.time(0);
    const date date = fields.long_date(1);
    if (fields.count() < 4 || !fields.good()) {
        return false;
    }
    put_date(values, date);
    put_time(values, time);
    return true;
}

} // namespace

reading read_values(const sentence& sentence, image& values, satellite_lists& satellites) {
    using reader = bool (*)(field_reader&, image&);
    struct row {
        std::string_view type;
        reader read;
    };
    static constexpr row rows[] = {{"GGA", read_gga}, {"RMC", read_rmc}, {"VTG", read_vtg},
                                   {"GSA", read_gsa}, {"GLL", read_gll}, {"ZDA", read_zda}};
    if (sentence.talker.size() != 2) {
        return reading::unknown_type;
    }
    field_reader fields(sentence.fields);
    if (sentence.type == "GSV") {
        return read_gsv(sentence.talker, fields, values, satellites) ? reading::done : reading::damaged;
    }
    const auto* const found =
        std::find_if(std::begin(rows), std::end(rows), [&](const row& row) { return row.type == sentence.type; });
    if (found == std::end(rows)) {
        return reading::unknown_type;
    }
    return found->read(fields, values) ? reading::done : reading::damaged;
}

} // namespace nmea_processor
