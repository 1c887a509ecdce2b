// CSV recordings of python-can and SavvyCAN, whole and damaged.
#include <gtest/gtest.h>

#include "tests/support/mutants.hpp"
#include "tests/support/seeds.hpp"

namespace tavi::test {
namespace {

const reader_plugin& plugin() {
    static const reader_plugin instance("qor_csv_reader");
    return instance;
}

std::string read_can(const std::string& text) {
    return read_in_all_manners(plugin(), "python-can-csv", text);
}
std::string read_gvret(const std::string& text) {
    return read_in_all_manners(plugin(), "gvret-csv", text);
}

const std::string can_header = "timestamp,arbitration_id,extended,remote,error,dlc,data\n";
const std::string can_text = can_header + "1483389946.197,0xdadada,1,0,0,7,WzQyLCA5XQ==\n"
                                          "1483389946.25,0x21a,0,0,0,2,/jY=\n"
                                          "1483389946.5,0x21a,0,1,0,4,\n"
                                          "1483389947.0,0x0,0,0,1,0,\n"
                                          "1483389947.5,0x7ff,0,0,0,12,AAECAwQFBgcICQoL\n"
                                          "1483389948.5,0x1,0,0,0,0,\n";

const std::string gvret_header = "Time Stamp,ID,Extended,Dir,Bus,LEN,D1,D2,D3,D4,D5,D6,D7,D8\n";
const std::string gvret_text = gvret_header + "166064000,0000021A,false,Rx,0,8,FE,36,12,FE,69,05,07,AD,\n"
                                              "166064001,18DAF110,true,Tx,1,3,FE,6,5,00,00,00,00,00\n"
                                              "-5,0x21A,FALSE,Rx,2,1,0x36\n"
                                              "166064002,1,false,Rx,0,12,0,1,2,3,4,5,6,7,8,9,A,B,\n"
                                              "0.123456,1,false,Rx,0,0,,,,,,,,,\n";

TEST(csv_reader, reads_recordings_of_python_can) {
    EXPECT_EQ(read_can(can_text), "1483389946.197 can0 00DADADA#5B34322C20395D\n"
                                  "1483389946.25 can0 21A#FE36\n"
                                  "1483389946.5 can0 21A#R4\n"
                                  "1483389947.0 can0 000# error\n"
                                  "1483389947.5 can0 7FF#000102030405060708090A0B fd4\n"
                                  "1483389948.5 can0 001#\n"
                                  "end: unknown, absolute\nother: 1 header line\n");
    EXPECT_EQ(read_can("timestamp,arbitration_id,data\n1.5e-05,1,/jY=\n0.30000000000000004,12345678,\n"),
              "0.000015 can0 001#FE36\n0.300000000 can0 12345678#\nend: unknown, relative\nother: 1 header line\n");
}

TEST(csv_reader, reads_recordings_of_savvycan) {
    EXPECT_EQ(read_gvret(gvret_text), "166.064000 can0 21A#FE3612FE690507AD\n"
                                      "166.064001 can1 18DAF110#FE0605 tx\n"
                                      "-0.000005 can2 21A#36\n"
                                      "166.064002 can0 001#000102030405060708090A0B fd4\n"
                                      "0.123456 can0 001#\n"
                                      "end: unknown, relative\nother: 1 header line\n");
    EXPECT_EQ(read_gvret("Time Stamp,ID,Bus,D1,D2,D3\r\n1700000000000000,800,3,1,2\r\nTime Stamp,ID,Bus,D1,D2,D3\r\n"),
              "1700000000.000000 can3 00000800#0102\nend: unknown, absolute\nother: 2 header line\n");
}

TEST(csv_reader, reports_lines_that_it_cannot_read) {
    struct {
        const char *line, *fault;
    } const can_cases[] =
        {
            {"x,1,0,0,0,0,", "1 the time is not a number"},
            {"1e99,1,0,0,0,0,", "1 the time is not a number"},
            {".,1,0,0,0,0,", "1 the time is not a number"},
            {"1.0,0x1g,0,0,0,0,", "5 the id is not a hexadecimal number"},
            {"1.0,0x800,0,0,0,0,", "5 the id has more than 11 bits"},
            {"1.0,0x20000000,1,0,0,0,", "5 the id has more than 29 bits"},
            {"1.0,1,2,0,0,0,", "7 neither true nor false"},
            {"1.0,1,0,0,0,65,", "13 the data length is not a number up to 64"},
            {"1.0,1,0,0,0,2,/jY", "15 the data are not in base64"},
            {"1.0,1,0,0,0,2,/j*=", "15 the data are not in base64"},
            {"1.0,1,0,0,0,3,/jY=", "15 the line has 2 of 3 bytes"},
            {"1.0,1,0,0,0,9,AAECAwQFBgcI", "15 a frame does not have 9 bytes"},
            {"1.0,1,0,0,0,0,,x", "16 the line has more fields than there are columns"},
            {"1.0", "4 the line ends before time and id"},
        },
            gvret_cases[] = {
                {"1,1,false,Up,0,0", "11 the direction is neither Rx nor Tx"},
                {"1,1,false,Rx,256,0", "14 the bus is not a number up to 255"},
                {"1,1,false,Rx,0,1,123", "18 the data contain a field that is not a byte"},
                {"1,1,false,Rx,0,2,12", "18 the line has 1 of 2 bytes"},
                {"1,1,false,Rx,0,2", "17 the line has 0 of 2 bytes"},
            };
    const auto first = [](const std::string& text) { return text.substr(0, text.find('\n')); };
    for (const auto& [line, fault] : can_cases) {
        EXPECT_EQ(first(read_can(can_header + line)), std::string("! 2:") + fault) << line;
    }
    for (const auto& [line, fault] : gvret_cases) {
        EXPECT_EQ(first(read_gvret(gvret_header + line)), std::string("! 2:") + fault) << line;
    }
    EXPECT_EQ(read_gvret("1,2,false,Rx,0,0\n"), "! 1 the first line does not name the columns\n0.000001 can0 002#\n"
                                                "end: unknown, relative\n");
}

TEST(csv_reader, recognises_recordings_by_their_first_line) {
    EXPECT_EQ(plugin().recognised(can_text), "python-can-csv");
    EXPECT_EQ(plugin().recognised(gvret_text), "gvret-csv");
    EXPECT_EQ(plugin().recognised("\xEF\xBB\xBF" + gvret_text), "gvret-csv");
    EXPECT_EQ(plugin().recognised("timestamp,signal,value,unit\n1,a,2,\n"), "");
    EXPECT_EQ(plugin().certainty(0, "timest", false), QOR_RECORDING_NEEDS_MORE);
    EXPECT_EQ(plugin().certainty(0, "(1.0)", false), QOR_RECORDING_IS_OTHER);
}

TEST(csv_reader, reports_what_damage_makes_unreadable) {
    renew_seed("csv_fuzz", "python_can", can_text);
    renew_seed("csv_fuzz", "gvret", gvret_text);
    check_mutants(plugin(), "python-can-csv", can_text, 1000, {.overwritten_lines = true});
    check_mutants(plugin(), "gvret-csv", gvret_text, 1000, {.overwritten_lines = true});
}

} // namespace
} // namespace tavi::test
