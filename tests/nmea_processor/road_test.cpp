// The whole road of a GPS log: the source's own descriptions, the parser, the storage, the processor, and values by
// their names, which tells whether the image is laid out as the descriptions say.
#include <gmock/gmock.h>

#include "tests/nmea_processor/sealed.hpp"
#include "tests/support/decoded_text.hpp"

namespace tavi::test {
namespace {

using testing::ElementsAre;

constexpr std::uint16_t receiver_source = 0x23F;

std::string line(const char* body) {
    return nmea_processor::sealed(body) + "\r\n";
}

const std::string epoch = line("GNRMC,223745.00,A,3806.62964,N,12237.61382,W,0.040,45.5,110720,,,D,V") +
                          line("GNGGA,223745.00,3806.62964,N,12237.61382,W,2,12,0.54,83.1,M,-29.5,M,,0000") +
                          line("GNGSA,A,3,29,20,18,16,51,13,44,26,,,,,0.99,0.54,0.83,1") +
                          line("GPGSV,1,1,04,05,01,047,,10,29,224,,13,22,062,23,15,40,094,17,1") + "$GNRMC,2237\r\n" +
                          line("GNGST,223745.00,228650,2.5,2.4,126,0.98,1.0,3.1");

class NmeaRoad : public testing::Test {
protected:
    NmeaRoad() {
        extractor.register_source(receiver_source, 0, "gps", {});
        package.set_source(receiver_source, 0);
        package.set_format("nmea");
    }

    std::vector<std::string> after(const char* url) {
        extractor.subscribe(url);
        auto lines = decoded_text(extractor, build_package(package, epoch));
        extractor.unsubscribe_all();
        return lines;
    }

    host::extractor extractor;
    host::package_builder package;
};

TEST_F(NmeaRoad, GivesEachObjectByItsNames) {
    EXPECT_TRUE(extractor.has_data_processor(build_package(package, "")));
    const std::string position = "gps.GPS.Position: Latitude=38.110494 deg, Longitude=-122.626897 deg, ";
    const auto positions = after("gps.GPS.Position");
    EXPECT_THAT(positions, ElementsAre(position + "Altitude=NaN m, GeoidSeparation=NaN m",
                                       position + "Altitude=83.1 m, GeoidSeparation=-29.5 m"));
    EXPECT_THAT(after("gps.GPS.Time"),
                ElementsAre("gps.GPS.Time: Year=2020 a, Month=7, Day=11 d, Hour=22 h, Minute=37 min, Second=45 s",
                            "gps.GPS.Time: Year=2020 a, Month=7, Day=11 d, Hour=22 h, Minute=37 min, Second=45 s"));
    EXPECT_THAT(after("gps.GPS.Velocity"),
                ElementsAre("gps.GPS.Velocity: Speed=0.020577777777777778 m/s, Course=45.5 deg"));
    EXPECT_EQ(after("gps.GPS.Fix").back(),
              "gps.GPS.Fix: Quality=2, Mode=3, SatellitesUsed=12, SatellitesInView=4, PositionDilution=0.99, "
              "HorizontalDilution=0.54, VerticalDilution=0.83");
    // Each of the calls above processed the package once.
    EXPECT_EQ(after("gps.NMEA.Statistics").back(),
              "gps.NMEA.Statistics: Sentences=25, Broken=5, Unknown=5, LastTalker[0]=71, LastTalker[1]=78, "
              "LastType[0]=71, LastType[1]=83, LastType[2]=84");
}

TEST_F(NmeaRoad, GivesElementsAndSingleSignals) {
    EXPECT_THAT(after("gps.GPS.SatelliteInView[3].SignalStrength"),
                ElementsAre("gps.GPS.SatelliteInView[3].SignalStrength: 17 dBHz"));
    EXPECT_THAT(after("gps.GPS.SatelliteInView[2]"),
                ElementsAre("gps.GPS.SatelliteInView[2]: Number=13, System=1, Elevation=22 deg, Azimuth=62 deg, "
                            "SignalStrength=23 dBHz"));
    EXPECT_THAT(after("gps.GPS.SatelliteInView[last()]"),
                ElementsAre("gps.GPS.SatelliteInView[last()]: Number=0, System=0, Elevation=0 deg, Azimuth=0 deg, "
                            "SignalStrength=0 dBHz"));
    EXPECT_THAT(after("gps.GPS.Fix.VerticalDilution"), ElementsAre("gps.GPS.Fix.VerticalDilution: 0.83"));
    EXPECT_THAT(after("gps.NMEA.Statistics.LastTalker[0]"), testing::SizeIs(5));
}

TEST_F(NmeaRoad, ServesAllSubscriptionsOfAPackage) {
    for (const char* const url : {"gps.GPS.Fix.Mode", "gps.GPS.Position.Latitude", "gps.NMEA.Statistics.Broken"}) {
        extractor.subscribe(url);
    }
    EXPECT_THAT(decoded_text(extractor, build_package(package, epoch)),
                ElementsAre("gps.GPS.Fix.Mode: 3", "gps.GPS.Position.Latitude: 38.110494 deg",
                            "gps.GPS.Position.Latitude: 38.110494 deg", "gps.NMEA.Statistics.Broken: 1"));
    EXPECT_THAT(decoded_text(extractor, build_package(package, "$GNRMC,2237\n")),
                ElementsAre("gps.NMEA.Statistics.Broken: 2"));
    EXPECT_THAT(decoded_text(extractor, build_package(package, "")), ElementsAre());
}

} // namespace
} // namespace tavi::test
