// Pieces and fields: what is found in a run of bytes, and what counts as damaged.
#include "plugins/nmea_processor/sentence.hpp"

#include <gmock/gmock.h>

#include <sstream>

#include "plugins/nmea_processor/field_reader.hpp"
#include "tavi/value_text.hpp"
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
    EXPECT_THAT(pieces_of("# boot $B$GPGLL,1*4D $B\n#GPGLL,1*4D\n#GPGLL,1*4E\n# $GPGLL,1*4D!\n# $GPGLL,1\n#$*00"),
                ElementsAre("$GPGLL,1*4D", "$B", "#GPGLL,1*4D", "$GPGLL,1*4D", "!"));
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

// A table "FIELDS=VALUE FIELDS=VALUE" of what `read` makes of fields with commas between them, with "-" for a fault.
template<typename Read>
void expect_fields(const std::string& table, Read read) {
    std::istringstream rows(table);
    std::string found;
    for (std::string text, expected; std::getline(rows, text, '=') && std::getline(rows, expected, ' ');) {
        std::vector<std::string_view> fields;
        for (size_t begin = 0, end = 0; end != text.npos; begin = end + 1) {
            end = text.find(',', begin);
            fields.push_back(std::string_view(text).substr(begin, end - begin));
        }
        field_reader reader(fields);
        const double value = read(reader);
        found += (found.empty() ? "" : " ") + text + '=' + (reader.good() ? tavi::host::value_text(value) : "-");
    }
    EXPECT_EQ(found, table);
}

TEST(Field, CoordinatesAreTheNearestDoubles) {
    expect_fields("3806.62964,N=38.110494 3806.62964,S=-38.110494 9000.0000,N=90 6,S=-0.1 =NaN ,N=NaN "
                  "0000.00000000001,N=1.6666666666666667e-13 4723.28521349999999,N=47.3880868916665 "
                  "9000.0001,N=- 3860.0,N=- 3806.6,=- 3806.6=- 3806.6,E=- -806.6,N=- 38O6.6,N=- 3806,6,N=- "
                  "3806.6.6,N=- .6,N=- 123456.7,N=- 3806.6,NN=-",
                  [](field_reader& reader) { return reader.coordinate(0, 90, "NS"); });
}

TEST(Field, NumbersAreDecimalAndWithinTheirBounds) {
    expect_fields("-29.5=-29.5 +1=1 .5=0.5 007.=7 nan=- inf=- 1e1=- 0x1=- 1\t=- -=- .=- 100.1=- --1=- 1.2.3=- +-1=-",
                  [](field_reader& reader) { return reader.number(0, -100, 100); });
    expect_fields("08=8 =0 100=- -1=- 1.0=- 99999999999=- x=-",
                  [](field_reader& reader) { return reader.integer(0, 99); });
}

TEST(Field, TimesAndDatesAreThoseOfACalendar) {
    expect_fields("223745.25=223745.25 235960.9=235960.9 =NaN 240000=- 236000=- 235961=- 22374=- 2237450=- 22:37:45=- "
                  "223745.x=-",
                  [](field_reader& reader) {
                      const time_of_day read = reader.time(0);
                      return read.hour * 10000 + read.minute * 100 + read.second;
                  });
    const auto number_of = [](const date& read) { return read.year * 10000 + read.month * 100 + read.day; };
    expect_fields("110720=20200711 290200=20000229 311279=20791231 060180=19800106 =0 000000=0 290221=- 001220=- "
                  "011320=- 11072020=- 1107_0=-",
                  [&](field_reader& reader) { return number_of(reader.short_date(0)); });
    expect_fields("11,07,2020=20200711 ,,=0 31,11,2020=-",
                  [&](field_reader& reader) { return number_of(reader.long_date(0)); });
}

} // namespace
} // namespace nmea_processor
