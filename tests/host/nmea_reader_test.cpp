// Sentences, their times, and what is told of lines that are none.
#include "tavi/nmea_reader.hpp"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/nmea_processor/sealed.hpp"

namespace tavi::host {
namespace {

using namespace std::string_literals;

std::string sentence(const std::string& body) {
    return nmea_processor::sealed(body) + "\r\n";
}

// Each line's outcome: "type@time" or "line:column".
std::string read(std::string_view log, std::size_t step) {
    nmea_reader reader([&](char* buffer, std::size_t room) {
        const std::size_t count = log.copy(buffer, std::min(step, room));
        log.remove_prefix(count);
        return count;
    });
    std::string result;
    nmea_sentence found;
    for (auto outcome = reader.next(found); outcome != nmea_reader::outcome::end; outcome = reader.next(found)) {
        result += outcome == nmea_reader::outcome::sentence
                      ? std::string(found.text.substr(3, 3)) + '@' + std::string(found.time)
                      : std::to_string(reader.line_number()) + ':' + std::to_string(reader.fault().column);
        result += ' ';
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
    std::string_view log = "# one\n\n#\r\n#GPGLL,1*4D\n# two $GPGLL,1*4D\n$GPGLL,1*4D\n # three";
    nmea_reader reader([&](char* buffer, std::size_t room) {
        const std::size_t count = log.copy(buffer, room);
        log.remove_prefix(count);
        return count;
    });
    nmea_sentence found;
    while (reader.next(found) != nmea_reader::outcome::end) {
    }
    EXPECT_EQ(reader.comment_lines(), 4u);
}

TEST(nmea_reader, recognises_its_logs) {
    EXPECT_EQ(nmea_reader::recognise("# (1.0)\r\n\r\n!AIVDM,1"), true);
    EXPECT_EQ(nmea_reader::recognise("1,N*47\r $GPGGA,"), true);
    EXPECT_EQ(nmea_reader::recognise("\xEF\xBB\xBF$GPGGA,"), true);
    EXPECT_EQ(nmea_reader::recognise("\\s:x,c:1*00\\$GPZDA,"), true);
    EXPECT_EQ(nmea_reader::recognise("(1.0) can0 0C0#"), false);
    EXPECT_EQ(nmea_reader::recognise("# only comments\n# $GPGGA,\r\\\r$,\r(\x10,!\x80WXYZ,"), std::nullopt);
}

} // namespace
} // namespace tavi::host
