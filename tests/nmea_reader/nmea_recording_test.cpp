// Sentences, their times, and what is told of lines that are none.
#include "plugins/nmea_reader/nmea_recording.hpp"

#include <gtest/gtest.h>

#include "tests/nmea_processor/sealed.hpp"
#include "tests/support/recorded.hpp"

namespace qor::nmea_log {
namespace {

using namespace std::string_literals;

std::string sentence(const std::string& body) {
    return nmea_processor::sealed(body) + "\r\n";
}

// Each line's outcome: "type@time" or "line:column".
std::string read(std::string_view log, std::size_t step) {
    tavi::test::memory_stream stream(log, step);
    nmea_recording recording{sdk::recording_input(*stream.stream())};
    std::string result;
    sdk::batch_builder builder;
    for (bool has_more = true; has_more;) {
        builder.begin(1); // so that packages and faults come in order
        has_more = recording.read(builder);
        const qor_recording_batch_t batch = builder.batch(!has_more);
        for (std::size_t index = 0; index < batch.fault_count; ++index) {
            result +=
                std::to_string(batch.faults[index].place) + ':' + std::to_string(batch.faults[index].column) + ' ';
        }
        for (std::size_t index = 0; index < batch.package_count; ++index) {
            const qor_recorded_package_t& package = batch.packages[index];
            const std::string_view payload(reinterpret_cast<const char*>(package.payload),
                                           static_cast<std::size_t>(package.payload_size));
            EXPECT_TRUE(payload.ends_with("\r\n"));
            result += std::string(payload.substr(3, 3)) + '@' + std::string(package.time_text, package.time_text_size);
            EXPECT_TRUE(package.time_text == nullptr ||
                        package.time / 1000000000 ==
                            std::stoll(std::string(package.time_text, package.time_text_size)));
            result += ' ';
        }
    }
    return result;
}

TEST(nmea_reader, gives_each_sentence_its_time) {
    const std::string log = "# comment\n\n" + sentence("GPGGA,235958.50,,,,,0,,,,,,,,") +
                            sentence("GNRMC,235959.00,A,,,,,,,110720,,,D") + sentence("GPGSV,1,1,00") +
                            sentence("GPGLL,,,,,000000.25,A,A") + sentence("GNRMC,000000.25,A,,,,,,,120720,,,D") +
                            sentence("GPZDA,010203,29,02,2024,00,00") + sentence("GPGGA,250000,,,,,0,,,,,,,,") +
                            sentence("GPRMC,000001,A,,,,,,,310299,,,D") + sentence("GPRMC,000001,A,,,,,,,311299,,,D") +
                            sentence("GPZDA,010203,01,01,0000,00,00") + "\\s:a*00\\" + sentence("GPTXT,tagged");
    for (const std::size_t step : {1U, 7U, 5000U}) {
        EXPECT_EQ(read(log, step),
                  "GGA@ RMC@1594511999.00 GSV@1594511999.00 GLL@1594512000.25 RMC@1594512000.25 ZDA@1709168523 "
                  "GGA@1709168523 RMC@1709168523 RMC@946598401 ZDA@946598401 TXT@946598401 ");
    }
}

TEST(nmea_reader, tells_where_a_line_is_damaged) {
    const std::pair<std::string, const char*> cases[] = {
        {"noise", "1:1 "},
        {"$GPGLL,1*00\n", "1:10 "},
        {"\n#\n$GPGLL,1*5", "3:10 "},
        {"$GPGLL,\xFF*00", "1:8 "},
        {"$GPGLL,1*0x1", "1:10 "},
        {"\\s:a $GPGLL", "1:1 GLL@ "},
        {"\\s:a\\GPGLL", "1:6 "},
        {"\\\\", "1:3 "},
        {'$' + std::string(100000, 'a') + "\n$GPTXT", "1:4097 TXT@ "},
        {"$GPRMC,2\r$GPGLL,1*4D\r\n\n$GPTXT,cut", "RMC@ GLL@ 4:11 "},
        {"$GPRMC,2$GPGLL,1*4D!AIVDM*57\0 \n \t"s, "1:9 GLL@ VDM@ "},
        {"\xB5\x62 $GPGLL,1*4D", "1:1 GLL@ "},
        // Comments, and what is none.
        {"# $GPGLL,1*4D", "GLL@ "},
        {" #boot $GPRMC$GPGLL,1*4D \0 $GPRMC,2"s, "GLL@ 1:36 "},
        {"#GPGLL,1*4D\n#GPGLL,1*4E\n#GPGLL,1", "1:1 "},
        {"# $GPGLL,1*4E\n# $GPGLL,1\n# like $GPGLL,1*4D, say\n# $*00\n#", ""},
        {"\xEF\xBB\xBF$GPGLL,1*4D\n\xEF\xBB\xBF$GPGLL,1*4D", "GLL@ 2:1 GLL@ "},
    };
    for (const auto& [log, result] : cases) {
        EXPECT_EQ(read(log, 3), result) << log.substr(0, 50);
    }
}

TEST(nmea_reader, counts_comment_lines) {
    tavi::test::memory_stream stream("# one\n\n#\r\n#GPGLL,1*4D\n# two $GPGLL,1*4D\n$GPGLL,1*4D\n # three");
    nmea_recording recording{sdk::recording_input(*stream.stream())};
    sdk::batch_builder builder;
    do {
        builder.begin(1000);
    } while (recording.read(builder));
    ASSERT_EQ(recording.other_records().size(), 1u);
    EXPECT_EQ(recording.other_records()[0].kind, std::string("comment line"));
    EXPECT_EQ(recording.other_records()[0].count, 4u);
}

TEST(nmea_reader, recognises_its_logs) {
    const auto certainty = [](std::string_view text) {
        return nmea_recording::recognise({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}, false);
    };
    EXPECT_EQ(certainty("# (1.0)\r\n\r\n!AIVDM,1"), 95);
    EXPECT_EQ(certainty("1,N*47\r $GPGGA,"), 40);
    EXPECT_EQ(certainty("\xEF\xBB\xBF$GPGGA,"), 95);
    EXPECT_EQ(certainty("\\s:x,c:1*00\\$GPZDA,"), 95);
    EXPECT_EQ(certainty("(1.0) can0 0C0#"), QOR_RECORDING_IS_OTHER);
    EXPECT_EQ(certainty("# only comments\n# $GPGGA,\r\\\r$,\r(\x10,!\x80WXYZ,"), QOR_RECORDING_NEEDS_MORE);
}

} // namespace
} // namespace qor::nmea_log
