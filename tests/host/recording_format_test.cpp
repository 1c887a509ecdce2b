#include "tavi/recording_format.hpp"

#include <random>
#include <string>

#include <gtest/gtest.h>

namespace tavi::host {
namespace {

using namespace std::literals;

std::string name_of(const recording_format* format) {
    return format != nullptr ? std::string(format->name) : "";
}

TEST(recording_format, is_recognised_by_its_signature) {
    const std::pair<std::string, std::string_view> cases[] = {
        {"\x1F\x8B\x08\x00"s, "a file compressed by gzip"},
        {"\x28\xB5\x2F\xFD\x04"s, "a file compressed by zstd"},
        {"\x5A\x2A\x4D\x18\x04\x00"s, "a file compressed by zstd"},
        {"\x04\x22\x4D\x18\x64"s, "a file compressed by lz4"},
        {"\xFD\x37\x7A\x58\x5A\x00\x00"s, "a file compressed by xz"},
        {"BZh91AY&SY\x01"s, "a file compressed by bzip2"},
        {"PK\x03\x04\x14"s, "a ZIP archive"},
        {"7z\xBC\xAF\x27\x1C\x00"s, "a 7z archive"},
        {"drive.log" + std::string(248, '\0') + "ustar", "a tar archive"},
        {"LOGG\x90\x00"s, "a BLF log"},
        {"MDF     4.10    "s, "an MDF recording"},
        {"UnFinMF 4.11    "s, "an MDF recording that was not closed by its logger"},
        {"\xD4\xC3\xB2\xA1\x02\x00"s, "a network capture (pcap)"},
        {"\xA1\xB2\x3C\x4D\x00\x02"s, "a network capture (pcap)"},
        {"\x0A\x0D\x0D\x0A\x1C\x00\x00\x00\x4D\x3C\x2B\x1A"s, "a network capture (pcapng)"},
        {"SQLite format 3\0\x10"s, "an SQLite database"},
        {"\xFF\xFE(\0"s, "text in UTF-16"},
        {"\xFF\xFE\0\0(\0\0\0"s, "text in UTF-32"},
        {"(\0001\0.\0000\0)\0"s, "text in UTF-16"},
        {"\0(\0001\0.\0000\0)"s, "text in UTF-16"},
        {"\x7F"
         "ELF\x02\x01"s,
         "a program or library (ELF)"},
        {"date Mon Nov 20 02:54:29.861 am 2023\r\nbase hex"s, "an ASC log"},
        {"date Wed, 08 Nov 2023 21:21:54 GMT\r\n"s, "an ASC log"},
        {"\nbase dec  timestamps relative\n"s, "an ASC log"},
        {";$FILEVERSION=1.1\r\n;$STARTTIME=42176.7\r\n"s, "a TRC log"},
        {";##########################\n;   C:\\x.trc\n"s, "a TRC log"},
        {"  can0  0C0   [2]  04 00\n"s, "the screen output of candump"},
        {" (1436509052.249713)  vcan0  18FEF100  [8]  01 02\n"s, "the screen output of candump"},
        {" (000.000000)  can0  RX - -  0C0  [16]  04 00\n"s, "the screen output of candump"},
        {"VERSION \"1.0\"\n\nNS_ :\n"s, "a description (DBC)"},
        {"\xEF\xBB\xBF\r\nBO_ 192 E: 2 X\n"s, "a description (DBC)"},
        {"timestamp,signal,value,unit\n1.0,can0.CAN.E.S,2,rpm\n"s, "the output of tavi decode"},
        {"{\"timestamp\":1.5,\"signal\":"s, "the output of tavi decode"},
        {"{\n  \"sdl\": 1, \"views\": []}"s, "JSON"},
        {"<?xml version=\"1.0\"?>\n"s, "XML"},
        {":10010000214601360121470136007EFE09D2190140\n"s, "a memory image in Intel HEX"},
        {"S00600004844521B\n"s, "a memory image in S-records"},
    };
    for (const auto& [beginning, name] : cases) {
        EXPECT_EQ(name_of(recognise_signature(beginning)), name);
        EXPECT_EQ(name_of(recognise_content(beginning)), name);
    }
}

TEST(recording_format, without_a_signature_is_recognised_by_its_content) {
    std::mt19937 random(8);
    std::string noise(4096, '\0');
    for (char& byte : noise) {
        byte = static_cast<char>(random());
    }
    const std::pair<std::string, std::string_view> cases[] = {
        {"time,id,data\n1.0,192,0400\n2.0,193,00\n"s, "a table (CSV)"},
        {"Time;Id\n1.0"s, "a table (CSV)"},
        {"a\tb\r\n1\t2\r\n3"s, "a table (CSV)"},
        {noise, "binary data"},
        {std::string(4096, '\0'), "binary data"},
    };
    for (const auto& [beginning, name] : cases) {
        EXPECT_EQ(name_of(recognise_content(beginning)), name);
        EXPECT_EQ(name_of(recognise_signature(beginning)), "");
    }
}

TEST(recording_format, of_readable_recordings_is_not_another) {
    const std::string cases[] = {
        ""s,
        " "s,
        "("s,
        "(1436509052.249713) can0 0C0#1122\n(1436509052.249713) can0 0C0#1122\n"s,
        " (1.0) can0 123##1AABBCCDD\n"s,
        "$GPGGA,223745.00,3806.62964,N*44\n$GPGSV,1,1,00*79\n"s,
        "\\s:rx1,c:1594507065*2B\\$GPGSV,1,1,00*65\n"s,
    };
    for (const std::string& beginning : cases) {
        EXPECT_EQ(name_of(recognise_signature(beginning)), "") << beginning;
    }
}

TEST(recording_format, of_a_damaged_beginning_is_unknown) {
    for (const char* const beginning :
         {"# a comment, with a comma\n# and one without\n", "noise\n", "noise, noise\n", "date of the drive\n",
          "x\xB0y\n", "S1\n", ":\n", "{\n", "can0 0C0 [2\n", "LOG"}) {
        EXPECT_EQ(name_of(recognise_content(beginning)), "") << beginning;
    }
}

} // namespace
} // namespace tavi::host
