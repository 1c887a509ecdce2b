// What each type of sentence says of the receiver, and that damaged ones say nothing.
#include "plugins/nmea_processor/receiver.hpp"

#include <gtest/gtest.h>

#include "tests/nmea_processor/receiver_values.hpp"

namespace nmea_processor {
namespace {

// Speeds of sentences that tell knots are in metres a second.
TEST(Receiver, TakesFromEachSentenceWhatItSays) {
    const std::pair<std::string, std::string> rows[] = {
        {"GNGGA,223745.00,3806.62964,N,12237.61382,W,2,12,0.54,83.1,M,-29.5,M,,0000",
         "hour=22 minute=37 second=45 latitude=38.110494 longitude=-122.626897 altitude=83.1 "
         "separation=-29.5 quality=2 used=12 hdop=0.54 "},
        {"XYGGA,,3806.62964,N,12237.61382,E,0,00,99.99,83.1,M,,,,",
         "hour=0 minute=0 second=nan latitude=nan longitude=nan altitude=nan separation=nan quality=0 used=0 "
         "hdop=99.99 "},
        {"GNRMC,223745.50,A,0130.0,S,00130.0,E,10.0,359.9,110720,,,D,V",
         "year=2020 month=7 day=11 hour=22 minute=37 second=45.5 latitude=-1.5 longitude=1.5 speed=5.14444444444444 "
         "course=359.9 "},
        {"GPRMC,000000,V,0130.0,S,00130.0,E,10.0,359.9,,,",
         "year=0 month=0 day=0 hour=0 minute=0 second=0 latitude=nan longitude=nan speed=nan course=nan "},
        {"GPRMC,000000,V,0130.0,S,00130.0,E,1.0,,010190,,,E",
         "year=1990 month=1 day=1 hour=0 minute=0 second=0 latitude=-1.5 longitude=1.5 speed=0.514444444444444 "
         "course=nan "},
        {"GPVTG,054.7,T,034.4,M,005.5,N,010.2,K,A", "speed=2.82944444444444 course=54.7 "},
        {"GPVTG,054.7,T,,M,,N,036.0,K", "speed=10 course=54.7 "},
        {"GPVTG,054.7,T,034.4,M,005.5,N,010.2,K,N", "speed=nan course=nan "},
        {"GNGSA,A,3,29,20,18,16,51,13,44,26,,,,,0.99,0.54,0.83,1", "mode=3 pdop=0.99 hdop=0.54 vdop=0.83 "},
        {"GPGSA,A,1,,,,,,,,,,,,,,,", "mode=1 pdop=nan hdop=nan vdop=nan "},
        {"GPGLL,0130.0,N,00130.0,W,010203.4,A,A", "hour=1 minute=2 second=3.4 latitude=1.5 longitude=-1.5 "},
        {"LCGLL,0130.0,N,00130.0,W,010203", "hour=1 minute=2 second=3 latitude=1.5 longitude=-1.5 "},
        {"GPGLL,0130.0,N,00130.0,W,010203.4,V,N", "hour=1 minute=2 second=3.4 latitude=nan longitude=nan "},
        {"GNZDA,223745.00,11,07,2020,00,00", "year=2020 month=7 day=11 hour=22 minute=37 second=45 "},
        {"GPGSV,1,1,00", "in_view=0 "},
        {"GPTXT,01,01,02,hello", ""},
    };
    for (const auto& [body, expected] : rows) {
        receiver receiver;
        receiver.take(sealed(body));
        EXPECT_EQ(updated_values(receiver.values()), expected) << body;
        EXPECT_EQ(value_of(receiver.values(), broken_count), 0) << body;
    }
}

TEST(Receiver, ChangesNothingForWhatCannotBe) {
    const std::string bodies[] = {"GPGGA,092750.000,9921.6802,X,99930.3372,Q,1,8,1.03,61.7,M,55.2,M,,",
                                  "GPGGA,092750.000,5321.6802,N,00630.3372,W,1,8,1.03,61.7",
                                  "GPGGA,092750.000,5321.6802,N,18000.0001,W,1,8,1.03,61.7,M,55.2,M,,",
                                  "GPGGA,092750.000,5321.6802,N,00630.3372,W,1,256,1.03,61.7,M,55.2,M,,",
                                  "GPGGA,092750.000,5321.6802,N,00630.3372,W,1,8,-1,61.7,M,55.2,M,,",
                                  "GPGGA,092750.000,5321.6802,N,00630.3372,W,1,8,1,61.7,F,55.2,M,,",
                                  "GPRMC,0927",
                                  "GPRMC,092750,B,5321.6802,N,00630.3372,W,1,8,110720,,",
                                  "GPRMC,092750,A,5321.6802,N,00630.3372,W,1,361,110720,,",
                                  "GPRMC,092750,A,5321.6802,N,00630.3372,W,-1,8,110720,,",
                                  "GPVTG,054.7,T,034.4,M,005.5,N",
                                  "GPVTG,054.7,034.4,005.5,010.2,,,,",
                                  "GPGSA,A,4,,,,,,,,,,,,,1,1,1",
                                  "GPGSA,A,3,1,2,3",
                                  "GPGLL,0130.0,N,00130.0,W",
                                  "GPZDA,223745.00,31,02,2020,,",
                                  "GPGSV,1,2,04,05,01,047,",
                                  "GPGSV,0,0,00",
                                  "GPGSV,1,1,04,05,91,047,10",
                                  "GPGSV,1,1,04,05,01,361,10",
                                  "GPGSV,1,1,04,05,01,047,100",
                                  "GPGSV,1,1,04,05,01,047,10,11,12",
                                  "GPGSV,1,1",
                                  "GPGSV"};
    receiver receiver;
    const image& values = receiver.values();
    receiver.take(sealed("GNRMC,223745.50,A,0130.0,S,00130.0,E,10.0,359.9,110720,,,D,V"));
    const auto positions = [&] {
        return std::vector(values.bytes().begin(), values.bytes().begin() + statistics_object.begin);
    };
    const auto before = positions();
    double broken = 0;
    for (const std::string& body : bodies) {
        receiver.take(sealed(body));
        EXPECT_EQ(value_of(values, broken_count), ++broken) << body;
        EXPECT_FALSE(is_updated(values, {0, statistics_object.begin})) << body;
    }
    EXPECT_EQ(positions(), before);
}

TEST(Receiver, TakesNoSentenceWithoutChecksumOnceOneCame) {
    receiver receiver;
    receiver.take("$GNZDA,223745.00,11,07,2020");
    receiver.take("$GNZDA,223746.00,11,07,2020");
    EXPECT_EQ(value_of(receiver.values(), second), 46);
    receiver.take("$GNZDA,223747.00,11,07,2020*00");
    EXPECT_EQ(value_of(receiver.values(), broken_count), 1);
    receiver.take(sealed("GNZDA,223748.00,11,07,2020"));
    receiver.take("$GNZDA,223749.00,11,07,202");
    EXPECT_EQ(value_of(receiver.values(), second), 48);
    EXPECT_EQ(value_of(receiver.values(), year), 2020);
    EXPECT_EQ(value_of(receiver.values(), broken_count), 2);
}

// Talker and type of the last sentence, counts of all, unknown and broken ones, and which of them it changed.
TEST(Receiver, CountsWhatCame) {
    receiver receiver;
    const image& values = receiver.values();
    const std::pair<std::string, const char*> steps[] = {
        {sealed("GPTXT,01"), "GPTXT 1 1 0 unknown"}, {sealed("PUBX,00"), "P-UBX 2 2 0 unknown"},
        {sealed("PGGA"), "P-GGA 3 3 0 unknown"},     {sealed("GNZDA,223745.00,11,07,2020,00,00"), "GNZDA 4 3 0 values"},
        {"$GNZDA,2237", "GNZDA 4 3 1 broken"},       {sealed("GPABCD"), "GP--- 5 4 1 unknown"},
    };
    for (const auto& [sentence, expected] : steps) {
        receiver.take(sentence);
        std::ostringstream text;
        for (size_t index = 0; index < 5; ++index) {
            const auto character = static_cast<char>(values.bytes()[last_talker.place + index]);
            text << (character == '\0' ? '-' : character);
        }
        for (const member<uint64_t>& count : {sentence_count, unknown_count, broken_count}) {
            text << ' ' << value_of(values, count);
        }
        text << (is_updated(values, {0, statistics_object.begin}) ? " values" : "")
             << (is_updated(values, {unknown_count.place, unknown_count.place + 8}) ? " unknown" : "")
             << (is_updated(values, {broken_count.place, broken_count.place + 8}) ? " broken" : "");
        EXPECT_EQ(text.str(), expected) << sentence;
    }
}

} // namespace
} // namespace nmea_processor
