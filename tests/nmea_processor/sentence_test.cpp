// Pieces and fields: what is found in a run of bytes, and what counts as damaged.
#include "plugins/nmea_processor/sentence.hpp"

#include <gmock/gmock.h>

#include <cmath>

#include "plugins/nmea_processor/field_reader.hpp"
#include "tests/nmea_processor/sealed.hpp"

namespace nmea_processor {
namespace {

using testing::ElementsAre;

std::vector<std::string> pieces_of(std::string_view text) {
    std::vector<std::string> pieces;
    sentence_scanner scanner(text);
    for (std::string_view piece; scanner.next(piece);) {
        pieces.emplace_back(piece);
    }
    return pieces;
}

TEST(Sentence, IsFoundInARunOfBytes) {
    EXPECT_THAT(pieces_of("\r\n# $GPZDA\n \t$A*41 \r\n\n  # more\n$B\r$C\0\0"), ElementsAre("$A*41", "$B", "$C"));
    EXPECT_THAT(pieces_of("$GPRMC,09$GPGGA,1*7F\njunk$A !B"),
                ElementsAre("$GPRMC,09", "$GPGGA,1*7F", "junk", "$A", "!B"));
    EXPECT_THAT(pieces_of("\\s:rx,c:15*2B\\$GPGLL*00\n\\s:rx\n\\a\\\n$X"), ElementsAre("$GPGLL*00", "\\s:rx", "$X"));
    EXPECT_THAT(pieces_of(std::string_view("$A\0\0\0", 5)), ElementsAre("$A"));
    EXPECT_THAT(pieces_of(""), ElementsAre());
}

TEST(Sentence, IsTakenApart) {
    sentence read;
    const std::string position = sealed("GPGLL,5321.6802,N,,");
    ASSERT_TRUE(read_sentence(position, read));
    EXPECT_EQ(read.talker, "GP");
    EXPECT_EQ(read.type, "GLL");
    EXPECT_THAT(read.fields, ElementsAre("5321.6802", "N", "", ""));
    const std::string makers_own = sealed("PUBX,00");
    ASSERT_TRUE(read_sentence(makers_own, read));
    EXPECT_EQ(read.talker, "P");
    EXPECT_EQ(read.type, "UBX");
    EXPECT_THAT(read.fields, ElementsAre("00"));
    EXPECT_TRUE(read.has_checksum);
    ASSERT_TRUE(read_sentence("$GPGLL,1", read));
    EXPECT_FALSE(read.has_checksum);
    EXPECT_THAT(read.fields, ElementsAre("1"));
    ASSERT_TRUE(read_sentence("!BSVDM*4e", read));
    EXPECT_THAT(read.fields, ElementsAre());
    ASSERT_TRUE(read_sentence(sealed("GPGLL," + std::string(longest_sentence - 10, 'x')), read));
}

TEST(Sentence, IsRefusedWhenItIsDamaged) {
    const std::string sound = sealed("GPGLL,1");
    const std::string rows[] = {"$GPGLL,1*00",
                                "$GPGLL,1*",
                                sound.substr(0, sound.size() - 1),
                                sound.substr(0, sound.size() - 1) + "G",
                                sound + "1",
                                sound + "*00",
                                "$",
                                "$*00",
                                sound.substr(1),
                                sealed(",1"),
                                sealed("GP LL,1"),
                                sealed("GPGLL,\x80"),
                                sealed("GPGLL,\t"),
                                sealed("GPGLL," + std::string(longest_sentence - 9, 'x'))};
    sentence read;
    for (const std::string& row : rows) {
        EXPECT_FALSE(read_sentence(row, read)) << row;
    }
}

// One field, or a field and those behind it, read by `read`.
template<typename Read>
auto read_fields(std::vector<std::string_view> fields, Read read) {
    field_reader reader(fields);
    const auto value = read(reader);
    return std::pair(value, reader.good());
}

TEST(Field, CoordinatesAreTheNearestDoubles) {
    const auto latitude_of = [](field_reader& reader) { return reader.coordinate(0, 90, "NS"); };
    const std::pair<std::vector<std::string_view>, double> good[] = {
        {{"3806.62964", "N"}, 38.110494},
        {{"3806.62964", "S"}, -38.110494},
        {{"9000.0000", "N"}, 90.0},
        {{"0000.00000000001", "N"}, 0.00000000001L / 60},
        {{"4723.28521349999999", "N"}, 47 + 23.28521349999L / 60},
        {{"6", "S"}, -0.1},
    };
    for (const auto& [fields, expected] : good) {
        const auto [value, sound] = read_fields(fields, latitude_of);
        EXPECT_TRUE(sound) << fields[0];
        EXPECT_EQ(value, expected) << fields[0];
    }
    EXPECT_EQ(read_fields({"", "N"}, latitude_of).second, true);
    EXPECT_TRUE(std::isnan(read_fields({"", ""}, latitude_of).first));
    const std::vector<std::string_view> bad[] = {
        {"9000.0001", "N"}, {"3860.0", "N"}, {"3806.6", ""},    {"3806.6"},  {"3806.6", "E"},   {"-806.6", "N"},
        {"38O6.6", "N"},    {"3806,6", "N"}, {"3806.6.6", "N"}, {".6", "N"}, {"123456.7", "N"}, {"3806.6", "NN"}};
    for (const auto& fields : bad) {
        EXPECT_FALSE(read_fields(fields, latitude_of).second) << fields[0];
    }
}

TEST(Field, NumbersAreDecimalAndWithinTheirBounds) {
    const auto number = [](field_reader& reader) { return reader.number(0, -100, 100); };
    for (const auto& [text, expected] : {std::pair("-29.5", -29.5), {"+1", 1.0}, {".5", 0.5}, {"007.", 7.0}}) {
        EXPECT_EQ(read_fields({text}, number), std::pair(expected, true)) << text;
    }
    for (const char* const text : {"nan", "inf", "1e1", "0x1", "1 ", "-", ".", "100.1", "--1", "1.2.3", "+-1"}) {
        EXPECT_FALSE(read_fields({text}, number).second) << text;
    }
    const auto integer = [](field_reader& reader) { return reader.integer(0, 99); };
    EXPECT_EQ(read_fields({"08"}, integer), std::pair(8u, true));
    EXPECT_EQ(read_fields({""}, integer), std::pair(0u, true));
    for (const char* const text : {"100", "-1", "1.0", "99999999999", "x"}) {
        EXPECT_FALSE(read_fields({text}, integer).second) << text;
    }
}

TEST(Field, TimesAndDatesAreThoseOfACalendar) {
    const auto time = [](field_reader& reader) {
        const time_of_day read = reader.time(0);
        return read.hour * 10000 + read.minute * 100 + read.second;
    };
    EXPECT_EQ(read_fields({"223745.25"}, time), std::pair(223745.25, true));
    EXPECT_EQ(read_fields({"235960.9"}, time), std::pair(235960.9, true));
    EXPECT_TRUE(std::isnan(read_fields({""}, time).first));
    for (const char* const text : {"240000", "236000", "235961", "22374", "2237450", "22:37:45", "223745.x"}) {
        EXPECT_FALSE(read_fields({text}, time).second) << text;
    }
    const auto number_of = [](const date& read) { return read.year * 10000 + read.month * 100 + read.day; };
    const auto short_date = [&](field_reader& reader) { return number_of(reader.short_date(0)); };
    for (const auto& [text, expected] : {std::pair("110720", 20200711),
                                         {"290200", 20000229},
                                         {"311279", 20791231},
                                         {"060180", 19800106},
                                         {"", 0},
                                         {"000000", 0}}) {
        EXPECT_EQ(read_fields({text}, short_date), std::pair(expected, true)) << text;
    }
    for (const char* const text : {"290221", "001220", "011320", "11072020", "1107 0"}) {
        EXPECT_FALSE(read_fields({text}, short_date).second) << text;
    }
    const auto long_date = [&](field_reader& reader) { return number_of(reader.long_date(0)); };
    EXPECT_EQ(read_fields({"11", "07", "2020"}, long_date), std::pair(20200711, true));
    EXPECT_EQ(read_fields({"", "", ""}, long_date), std::pair(0, true));
    EXPECT_FALSE(read_fields({"31", "11", "2020"}, long_date).second);
}

} // namespace
} // namespace nmea_processor
