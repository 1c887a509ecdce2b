// ASC recordings of all dialects, whole and damaged, and real ones.
#include <gtest/gtest.h>

#include "qor_plugin_sdk/text_date.hpp"
#include "tests/support/mutants.hpp"
#include "tests/support/real_recordings.hpp"
#include "tests/support/seeds.hpp"

namespace tavi::test {
namespace {

const reader_plugin& plugin() {
    static const reader_plugin instance("qor_asc_reader");
    return instance;
}

std::string read(const std::string& text) {
    return read_in_all_manners(plugin(), "asc", text);
}

// Frames and events of all kinds in one trigger block.
const std::string hexadecimal = "date Sam Sep 30 15:06:13.191 2017\r\n"
                                "base hex  timestamps absolute\r\n"
                                "internal events logged\r\n"
                                "// version 9.0.0\r\n"
                                "Begin Triggerblock Sam Sep 30 15:06:13.191 2017\r\n"
                                "   0.000000 Start of measurement\r\n"
                                "   0.015991 CAN 1 Status:chip status error passive - TxErr: 132 RxErr: 0\r\n"
                                "   0.075600 0  59E\tRx   d 8 00 00 00 00 18 0E 00 00 \r\n"
                                "   0.1 1  21A             Tx   d 2 FE 36 Length = 240000 BitCount = 124 ID = 538\r\n"
                                "   0,2 1  21A  EngineData TxRq d 1 FE\r\n"
                                "   0.2 2  18DAF110x       Rx   d 9 01 02 03 04 05 06 07 08 TE // comment\r\n"
                                "   0.3 1  EngineData      Rx   d 1 FE ID = 291x\r\n"
                                "   0.4 1  64              Rx   r\r\n"
                                "   0.4 1  64x             Tx   r 4 Length = 100\r\n"
                                "   0.5 1  Statistic: D 0 R 0 XD 0 XR 0 E 0 O 0 B 0.00%\r\n"
                                "   2.501000 1 ErrorFrame\r\n"
                                "   2.501010 2 ErrorFrame ECC: 10100010\r\n"
                                "   2.6 Li 3C Rx 8 00 00 00 00 00 00 00 00 checksum = 0 header time = 0\r\n"
                                "   2.7 1 J1939TP FEE3p 6 0 0 - Rx d 3 A0 0F A6\r\n"
                                "   2.8 SV: 2 0 1 ::A::B = 5\r\n"
                                "   2.9 Speed := 7\r\n"
                                "End TriggerBlock\r\n";

TEST(asc_reader, reads_every_kind_of_classic_line) {
    EXPECT_EQ(read(hexadecimal), "1506783973.266600 can0 59E#00000000180E0000\n"
                                 "1506783973.2 can1 21A#FE36 tx\n"
                                 "1506783973.3 can2 18DAF110#0102030405060708\n"
                                 "1506783973.4 can1 00000123#FE\n"
                                 "1506783973.5 can1 064#R0\n"
                                 "1506783973.5 can1 00000064#R4 tx\n"
                                 "1506783975.692000 can1 000# error\n"
                                 "1506783975.692010 can2 000# error\n"
                                 "end: unknown, absolute from 1506783973.191000000, version 9.0.0\n"
                                 "other: 3 header line, 1 comment, 2 trigger block mark, 1 measurement event, "
                                 "1 chip status, 1 transmit request, 1 statistics, 1 LIN event, 1 J1939 event, "
                                 "1 system variable, 1 environment variable\n");
}

TEST(asc_reader, reads_decimal_numbers_and_relative_times) {
    EXPECT_EQ(read("base dec timestamps relative no internal events logged\n"
                   "0.5 1 256 Rx d 3 0 16 255\n"
                   "0.5 1 Statistic: D 0\n"
                   "1.25 1 536870911x Rx d 12 1 2 3 4 5 6 7 8\n"),
              "0.5 can1 100#0010FF\n"
              "2.25 can1 1FFFFFFF#0102030405060708\n"
              "end: unknown, relative\nother: 1 header line, 1 statistics\n");
}

const std::string fd_lines =
    "base hex  timestamps absolute\n"
    "1.0 CANFD   2 Rx        761                                   1 0 9 12 01 02 03 04 05 06 07 08 09 0A 0B 0C"
    "        0    0     3000        0        0        0        0        0\n"
    "1.1 CANFD   1 Tx   18DAF110x  Wheel_Speed                     0 1 2  2 aa bb 108000  138   305040 b0013400\n"
    "1.2 CANFD   1 Rx        84                                    0 0 3 3 01 02 03 164031 86 200000 4fbf\n"
    "1.3 CANFD   1 Rx        84                                    0 0 3 0 0 0 10 0\n"
    "1.4 CANFD   1 Rx   ErrorFrame  Not Acknowledge error, dominant error flag  fffe c7 31ca\n"
    "1.5 CANFD   1 Rx        85                                    0 0 12 12 00 00 00 00 00 00 00 00 00 00 00 FF\n";

TEST(asc_reader, reads_can_fd_lines_and_classic_frames_in_them) {
    EXPECT_EQ(read(fd_lines), "1.0 can2 761#0102030405060708090A0B0C fd5\n"
                              "1.1 can1 18DAF110#AABB fd6 tx\n"
                              "1.2 can1 084#010203\n"
                              "1.3 can1 084#R3\n"
                              "1.4 can1 000# error\n"
                              "1.5 can1 085#0000000000000000000000FF fd4\n"
                              "end: unknown, relative\nother: 1 header line\n");
}

TEST(asc_reader, reports_lines_that_it_cannot_read) {
    struct {
        const char *line, *fault;
    } const cases[] = {
        {"1.0", "1:4 the line ends after its time"},
        {"1.x 1 1 Rx d 0", "1:1 the time is not SECONDS.FRACTION"},
        {"1. 1 1 Rx d 0", "1:1 the time is not SECONDS.FRACTION"},
        {"1.0 256 1 Rx d 0", "1:5 the channel is larger than 255"},
        {"1.0 1", "1:6 the line ends after its channel"},
        {"1.0 1 800 Rx d 0", "1:7 the id has more than 11 bits"},
        {"1.0 1 20000000x Rx d 0", "1:7 the id has more than 29 bits"},
        {"1.0 1 123", "1:10 the line ends before its direction"},
        {"1.0 1 123 Name Up d 0", "1:16 the direction is not Rx, Tx or TxRq"},
        {"1.0 1 Name Up d 0", "1:7 neither an id nor an event"},
        {"1.0 1 Name Rx d 0", "1:18 the message has a name and no id"},
        {"1.0 1 123 Rx x 0", "1:14 neither d for data nor r for a remote frame"},
        {"1.0 1 123 Rx d 10 00", "1:16 the data length is not a number from 0 to 15"},
        {"1.0 1 123 Rx d 2 11", "1:20 the line ends after 1 of 2 bytes"},
        {"1.0 1 123 Rx d 2 11 2", "1:21 the data contain a word that is not a byte"},
        {"1.0 1 123 Rx d 1 11 22", "1:21 the frame is followed by something that does not belong to it"},
        {"1.0 1 123 Rx d 1 11 AB", "1:21 the frame is followed by something that does not belong to it"},
        {"1.0 1 123 Rx d 1 11 Rx d", "1:21 the frame is followed by something that does not belong to it"},
        {"1.0 1 123 Rx d 1 11 ID = 292", "1:26 the field ID differs from the id of the line"},
        {"1.0 CANFD 1 Rx", "1:15 the id is not a hexadecimal number"},
        {"1.0 CANFD 1 Rx 123 2 0 8 8", "1:20 the flag of the bit rate switch is not 0 or 1"},
        {"1.0 CANFD 1 Rx 123 1 0 9 8", "1:27 the line ends after 0 of 8 bytes"},
        {"1.0 CANFD 1 Rx 123 1 0 8 0", "1:27 the frame has no data"},
        {"1.0 1 Err\x01", "1:10 the line contains a control character"},
        {"1.0 CANFD 1 Rx 123 1 0 9 13 00", "1:26 the data length does not agree with the DLC"},
        {"1.0 Startle", "1:5 neither a frame nor a known event"},
        {"1.0 Start of", "1:5 neither a frame nor a known event"},
        {"base 10 timestamps absolute", "1:1 the base is neither hex nor dec"},
        {"date yesterday", "1:6 the date cannot be read"},
    };
    for (const auto& [line, fault] : cases) {
        const std::string text = read(line);
        EXPECT_EQ(text.substr(0, text.find('\n')), std::string("! ") + fault) << line;
    }
    EXPECT_EQ(read("Begin Triggerblock\n1.0 1 123 Rx d 0\nnot ASC\n"),
              "1.0 can1 123#\n! 3:1 neither a frame nor an event\n! 1 the trigger block that begins here has no end\n"
              "end: contradicted, relative\nother: 1 trigger block mark\n");
}

TEST(asc_reader, takes_the_beginning_from_the_date_or_from_the_start_of_measurement) {
    const std::string frame = "1.5 1 1 Rx d 0\n";
    const std::string block = "Begin Triggerblock Thu Jan 01 12:02:46.0 AM 1970\n";
    const auto first_time = [&](const std::string& header) {
        const std::string text = read(header + frame);
        return text.substr(0, text.find(' '));
    };
    EXPECT_EQ(first_time("date Thu Jan 01 00:01:00 1970\n"), "61.5");
    EXPECT_EQ(first_time("date Thu Jan 01 00:01:00 1970\n" + block), "61.5");
    EXPECT_EQ(first_time("date Thu Jan 01 00:01:00 1970\n" + block + "0.000 Start of measurement\n"), "167.5");
    EXPECT_EQ(first_time("date Thu Jan 01 00:01:00 1970\n" + block + "100 Start of measurement\n"), "67.5");
    EXPECT_EQ(first_time(block), "167.5");
    EXPECT_EQ(first_time("base hex timestamps absolute\n"), "1.5");
}

TEST(dates, are_read_in_many_languages_and_forms) {
    const auto expect = [](const char* text, std::optional<std::int64_t> milliseconds) {
        EXPECT_EQ(qor::sdk::read_date(text), milliseconds ? std::optional(*milliseconds * 1000000) : std::nullopt)
            << text;
    };
    constexpr std::int64_t march = 1520610973191; // 2018-03-09 15:56:13.191
    for (const char* const text :
         {"Fri Mar 9 15:56:13.191 2018", "Fre M\xC3\xA4r 9 15:56:13,191 2018", "Fr M\xE4r 09 03:56:13.191 nachm. 2018",
          "Fri Mar 9 03:56:13.191 pm 2018", "Fri Mar 09 03:56:13.191 PM 2018", "FRI MAR 9 15:56:13.191 PM 2018",
          "ven. mars 9 15:56:13.191 2018", "mar mar. 9 15:56:13.191 2018", "Fri, 09 Mar 2018 15:56:13.191 GMT",
          "2018-03-09T15:56:13.191Z", "2018-03-09 15:56:13.191", "09.03.2018 15:56:13.191", "2018/03/09 15:56:13.191",
          "09.03.2018 15:56:13.191.0"}) {
        expect(text, march);
    }
    expect("Thu Jan 01 12:00:00.5 AM 1970", 500);
    expect("Sam Dez 31 23:59:59 2022", 1672531199000);
    expect("03/20/2018 00:00", 1521504000000);
    for (const char* const text : {"", "Fri Mar 9 2018", "Fri Mar 32 15:56:13 2018", "Fri Foo 9 15:56:13 2018",
                                   "Fri Mar 9 25:56:13 2018", "Fri Mar 9 13:56:13 AM 2018", "03/09/2018 15:56:13",
                                   "Fri Mar 9 15:56:13 20188", "Feb 30 2018 00:00", "12 12 12", "2018-03-09T", "9T"}) {
        expect(text, std::nullopt);
    }
}

TEST(asc_reader, recognises_recordings_by_their_lines) {
    const auto certainty = [](const std::string& text, bool is_whole) { return plugin().certainty(0, text, is_whole); };
    for (const std::string& text : {hexadecimal, fd_lines, std::string("1.0 1 123 Rx d 1 11\n"),
                                    std::string("\xFF\xFE"
                                                "b\0a\0s\0e\0 \0d\0e\0c\0\n\0",
                                                20)}) {
        EXPECT_GE(certainty(text, false), QOR_RECORDING_IS_LIKELY) << text;
    }
    for (const char* const text : {"", "date Sam", "1.0 1 12", "// com"}) {
        EXPECT_EQ(certainty(text, false), QOR_RECORDING_NEEDS_MORE) << text;
    }
    for (const char* const text :
         {"(1.0) can0 123#11\n", "VERSION \"\"\n", "date,time\n1,2\n", ";$FILEVERSION=1.1\n"}) {
        EXPECT_EQ(certainty(text, false), QOR_RECORDING_IS_OTHER) << text;
    }
    EXPECT_EQ(certainty("half of a line\n1.0 1 123 Rx d 1 11\n", false), 20);
}

TEST(asc_reader, reports_what_damage_makes_unreadable) {
    renew_seed("asc_fuzz", "classic", hexadecimal);
    renew_seed("asc_fuzz", "fd", fd_lines);
    check_mutants(plugin(), "asc", hexadecimal, 1000, {.overwritten_lines = true});
    check_mutants(plugin(), "asc", fd_lines, 1000, {.overwritten_lines = true});
}

// The frames of a candump log, with channels from 1 and times from which so many microseconds are taken.
std::vector<std::string> logged_frames(const std::string& path, long long early) {
    std::vector<std::string> frames;
    for (const std::string& line : lines_of(content_of(path))) {
        const std::size_t channel = line.find("can") + 3;
        const std::size_t mark = line.find('#');
        const bool is_fd = line[mark + 1] == '#';
        std::string time = line.substr(1, line.find(')') - 1);
        time = std::to_string(std::stoll(time.erase(time.find('.'), 1)) - early);
        frames.push_back(time.insert(time.size() - 6, ".") + " can" + std::to_string(line[channel] - '0' + 1) +
                         line.substr(channel + 1, mark - channel) + line.substr(mark + (is_fd ? 3 : 1)) +
                         (is_fd ? " fd" : ""));
    }
    return frames;
}

TEST(asc_reader, gives_the_frames_of_real_recordings) {
    const auto folder = real_recordings();
    if (!folder) {
        GTEST_SKIP() << "needs the folder of measurement data (TAVI_SHARED_DATA)";
    }
    for (const std::string name : {"model_s", "synthetic_canfd"}) {
        std::string others;
        const auto frames = read_frames(plugin().read("asc", content_of(*folder + "/" + name + ".asc")), others);
        // The converter wrote the start of the second one in milliseconds.
        EXPECT_EQ(frames, logged_frames(*folder + "/" + name + ".log", name == "model_s" ? 0 : 181));
        EXPECT_EQ(others, std::string("end: unknown, absolute from ") + (name == "model_s" ? "166" : "1700000000") +
                              ".000000000\nother: 3 header line, 2 trigger block mark, 1 measurement event\n");
    }
    const std::string path = *folder + "/kona_bms_precharge.asc";
    std::string others;
    auto expected = listed_frames(path + ".frames.csv.gz");
    for (std::string& frame : expected) {
        frame.insert(frame.find(' ') + 1, "can");
    }
    std::string text = content_of(path);
    EXPECT_EQ(read_frames(plugin().read("asc", text.substr(text.find('\n'))), others), expected);
    EXPECT_EQ(others, "end: unknown, relative\nother: 1 header line, 2 trigger block mark\n");
    text = plugin().read("asc", text);
    EXPECT_EQ(text.substr(0, text.find('\n')), "1699478514.075600 can0 59E#00000000180E0000");
}

} // namespace
} // namespace tavi::test
