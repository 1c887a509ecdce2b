// Pieces and fields: what is found in a run of bytes, and what counts as damaged.
#include "plugins/nmea_processor/sentence.hpp"

#include <gmock/gmock.h>

#include <cmath>
#include <optional>
#include <sstream>

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

// "GP GLL *|5321.6802|N": talker, type, a star for a checksum, fields.
std::string parts_of(const std::string& piece) {
    sentence read;
    if (!read_sentence(piece, read)) {
        return "damaged";
    }
    std::string text = std::string(read.talker) + ' ' + std::string(read.type) + (read.has_checksum ? " *" : "");
    for (const std::string_view field : read.fields) {
        text.append("|").append(field);
    }
    return text;
}

TEST(Sentence, IsTakenApart) {
    EXPECT_EQ(parts_of(sealed("GPGLL,5321.6802,N,,")), "GP GLL *|5321.6802|N||");
    EXPECT_EQ(parts_of(sealed("PUBX,00")), "P UBX *|00");
    EXPECT_EQ(parts_of("$GPGLL,1"), "GP GLL|1");
    EXPECT_EQ(parts_of("!BSVDM*4e"), "BS VDM *");
    const std::string longest(longest_sentence - 10, 'x');
    EXPECT_EQ(parts_of(sealed("GPGLL," + longest)), "GP GLL *|" + longest);
    EXPECT_EQ(parts_of(sealed("GPGLL,x" + longest)), "damaged");
    for (const char* const body : {",1", "GP LL,1", "GPGLL,\x80", "GPGLL,\t"}) {
        EXPECT_EQ(parts_of(sealed(body)), "damaged") << body;
    }
    const std::string sound = sealed("GPGLL,1");
    const std::string cut = sound.substr(0, sound.size() - 1);
    const std::string damaged[] = {"$GPGLL,1*00", "$GPGLL,1*", "$",           "$*00",         cut,
                                   cut + 'G',     sound + '1', sound + "*00", sound.substr(1)};
    for (const std::string& piece : damaged) {
        EXPECT_EQ(parts_of(piece), "damaged") << piece;
    }
}

// What `read` makes of fields with commas between them; nothing when it finds a fault.
template<typename Read>
auto read_fields(std::string_view text, Read read) {
    std::vector<std::string_view> fields;
    for (size_t comma = 0; comma != text.npos; text.remove_prefix(comma == text.npos ? 0 : comma + 1)) {
        comma = text.find(',');
        fields.push_back(text.substr(0, comma));
    }
    field_reader reader(fields);
    const auto value = read(reader);
    return reader.good() ? std::optional(value) : std::nullopt;
}

template<typename Read, typename Value>
void expect_fields(Read read, std::initializer_list<std::pair<const char*, Value>> good, const std::string& bad) {
    for (const auto& [text, expected] : good) {
        EXPECT_EQ(read_fields(text, read), std::optional(expected)) << text;
    }
    std::istringstream texts(bad);
    for (std::string text; std::getline(texts, text, ' ');) {
        EXPECT_EQ(read_fields(text, read), std::nullopt) << text;
    }
}

TEST(Field, CoordinatesAreTheNearestDoubles) {
    const auto latitude_of = [](field_reader& reader) { return reader.coordinate(0, 90, "NS"); };
    expect_fields<decltype(latitude_of), double>(latitude_of,
                                                 {{"3806.62964,N", 38.110494},
                                                  {"3806.62964,S", -38.110494},
                                                  {"9000.0000,N", 90.0},
                                                  {"0000.00000000001,N", 0.00000000001L / 60},
                                                  {"4723.28521349999999,N", 47 + 23.28521349999L / 60},
                                                  {"6,S", -0.1}},
                                                 "9000.0001,N 3860.0,N 3806.6, 3806.6 3806.6,E -806.6,N 38O6.6,N "
                                                 "3806,6,N 3806.6.6,N .6,N 123456.7,N 3806.6,NN");
    EXPECT_TRUE(std::isnan(read_fields("", latitude_of).value()));
    EXPECT_TRUE(read_fields(",N", latitude_of));
}

TEST(Field, NumbersAreDecimalAndWithinTheirBounds) {
    const auto number = [](field_reader& reader) { return reader.number(0, -100, 100); };
    expect_fields<decltype(number), double>(number, {{"-29.5", -29.5}, {"+1", 1.0}, {".5", 0.5}, {"007.", 7.0}},
                                            "nan inf 1e1 0x1 1\t - . 100.1 --1 1.2.3 +-1");
    const auto integer = [](field_reader& reader) { return reader.integer(0, 99); };
    expect_fields<decltype(integer), uint32_t>(integer, {{"08", 8}, {"", 0}}, "100 -1 1.0 99999999999 x");
}

TEST(Field, TimesAndDatesAreThoseOfACalendar) {
    const auto time = [](field_reader& reader) {
        const time_of_day read = reader.time(0);
        return read.hour * 10000 + read.minute * 100 + read.second;
    };
    expect_fields<decltype(time), double>(time, {{"223745.25", 223745.25}, {"235960.9", 235960.9}},
                                          "240000 236000 235961 22374 2237450 22:37:45 223745.x");
    EXPECT_TRUE(std::isnan(read_fields("", time).value()));
    const auto number_of = [](const date& read) { return read.year * 10000 + read.month * 100 + read.day; };
    const auto short_date = [&](field_reader& reader) { return number_of(reader.short_date(0)); };
    expect_fields<decltype(short_date), int>(short_date,
                                             {{"110720", 20200711},
                                              {"290200", 20000229},
                                              {"311279", 20791231},
                                              {"060180", 19800106},
                                              {"", 0},
                                              {"000000", 0}},
                                             "290221 001220 011320 11072020 1107_0");
    const auto long_date = [&](field_reader& reader) { return number_of(reader.long_date(0)); };
    expect_fields<decltype(long_date), int>(long_date, {{"11,07,2020", 20200711}, {",,", 0}}, "31,11,2020");
}

} // namespace
} // namespace nmea_processor
