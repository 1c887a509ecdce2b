// Recordings of satellite receivers, through the processor plug-in.
#include <cstdlib>

#include <gmock/gmock.h>

#include "tests/tavi/command.hpp"

namespace tavi::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const std::string sample = source_path("examples/gps/sample.nmea");

TEST(receiver, gives_values_with_the_time_of_the_sentence) {
    const workplace here;
    const auto rows = lines_of(here.tavi("decode '" + sample + "' -s GPS.Position.Altitude").out);
    ASSERT_EQ(rows.size(), 21u);
    EXPECT_EQ(rows[2], "1773567000.00,gps.GPS.Position.Altitude,519,m");
    EXPECT_EQ(rows[20], "1773567009.00,gps.GPS.Position.Altitude,528,m");
    EXPECT_THAT(lines_of(here.tavi("decode - -s 'GPS.SatelliteInView[5].Elevation' <'" + sample + "'").out),
                ElementsAre("timestamp,signal,value,unit", "1773567000.00,gps.GPS.SatelliteInView[5].Elevation,55,deg",
                            "1773567005.00,gps.GPS.SatelliteInView[5].Elevation,55,deg"));
}

TEST(receiver, gives_the_satellites_that_are_in_view) {
    const workplace here;
    here.write("x.nmea", "$GPGSV,1,1,02,05,01,047,,10,29,224,31\n$GPGSV,1,1,00\n$GPGSV,1,1,01,07,00,000,\n");
    const ended run = here.tavi("decode x.nmea -s 'GPS.*.Number' -s 'GPS.Fix.SatellitesInView'");
    EXPECT_THAT(rows_of(run.out),
                ElementsAre(",gps.GPS.Fix.SatellitesInView,2,", ",gps.GPS.SatelliteInView[0].Number,5,",
                            ",gps.GPS.SatelliteInView[1].Number,10,", ",gps.GPS.Fix.SatellitesInView,0,",
                            ",gps.GPS.Fix.SatellitesInView,1,", ",gps.GPS.SatelliteInView[0].Number,7,"));
    EXPECT_EQ(rows_of(here.tavi("decode x.nmea -s 'GPS.SatelliteInView[last()]'").out).size(), 0u);
}

TEST(receiver, tells_of_damage_and_wrong_use) {
    const workplace here;
    here.write("x.nmea", "$GPGSV,1,1,00*79\nnoise\n$GPGSV,1,1,00*78\n$GPGSV,2*4B\n");
    const ended run = here.tavi("decode x.nmea");
    EXPECT_EQ(run.code, 3);
    EXPECT_THAT(run.err, StartsWith("x.nmea:2:1: error: expected '$' or '!'\n"));
    EXPECT_THAT(run.err, HasSubstr("x.nmea:3:15: error: the checksum does not fit\n"));
    EXPECT_THAT(run.err, HasSubstr("x.nmea:4: error: the processor cannot read the sentence\n"));
    EXPECT_THAT(run.err, HasSubstr("tavi: 1 sentence read: 1 matched\n"
                                   "tavi: lost: 3 damaged lines (first: x.nmea:2)\n"));
    here.write("e.dbc", engine_dbc);
    EXPECT_EQ(here.tavi("decode x.nmea -d e.dbc").code, 2);
    EXPECT_EQ(here.tavi("decode x.nmea -d e.dbc --input candump").code, 3);
}

TEST(receiver, agrees_with_the_positions_of_a_real_log) {
    const auto data = shared_data();
    if (!data) {
        GTEST_SKIP() << "needs the folder of measurement data";
    }
    const workplace here;
    const std::string log = (*data / "nmea" / "neo_m9n.nmea").string();
    const ended run = here.tavi("decode '" + log + "' -s 'GPS.Position.L*'");
    ASSERT_EQ(run.code, 0) << run.err;
    const auto rows = lines_of(run.out);
    std::size_t row = 1;
    for (const std::string& line : lines_of(read_gzip(log + ".expected.csv.gz"))) {
        const auto fields = split(line, ',');
        if (fields[0] == "line" || fields.size() < 2 || fields.back().empty()) {
            continue;
        }
        ASSERT_LT(row + 1, rows.size());
        for (const auto& expected : {fields[fields.size() - 2], fields.back()}) {
            EXPECT_NEAR(std::atof(std::string(split(rows[row], ',')[2]).c_str()),
                        std::atof(std::string(expected).c_str()), 1e-8)
                << line;
            ++row;
        }
    }
    EXPECT_EQ(row, rows.size());
    EXPECT_GT(row, 300u);
}

} // namespace
} // namespace tavi::test
