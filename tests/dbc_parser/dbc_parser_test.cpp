// Constructs of the language and the nodes and warnings that they give.
#include <algorithm>

#include "tests/support/described.hpp"

namespace tavi::test {
namespace {

described read_dbc(std::string_view text) {
    static parsing_plugin plugin("qor_dbc_parser");
    return plugin.parse(text);
}

// "A : 0|8@1+" as a line with no conversion, limits or unit.
std::string sg(const std::string& bits) {
    std::string line = " SG_ ";
    return line.append(bits).append(" (1,0) [0|0] \"\" X\n");
}

// The last signal of a message of 8 bytes; it stands in line 3.
const std::string good = sg("Good : 0|8@1+");
const std::string head = "VERSION \"\"\nBO_ 100 M: 8 X\n";

struct whole_file {
    const char* what;
    std::string text;
    std::string written;
    std::string told = {};
};

const whole_file whole_files[] = {
    {"every field of messages and signals",
     "VERSION \"1.2\"\n\nNS_ :\n\tCM_\n\tBA_\n\tVAL_\n\nBS_:\n\nBU_: A B\n\n"
     "BO_ 496 Engine: 8 A\n SG_ Speed : 0|16@1+ (0.25,-10) [-1.5|2e3] \"km/h\" B,A\n SG_ Angle : 19|12@0- (1,0) [0|0] "
     "\"\" B\n\nBO_ 2566855166 Wide : 64 A\n SG_ W : 448|64@1- (1,0) [0|0] \"\\\"\" A\n"
     "CM_ \"the file\";\nCM_ BO_ 496 \"two\nlines\";\nCM_ SG_ 496 Speed \"a \\\"word\\\"\";\n"
     "BA_DEF_ BO_ \"Cycle\" INT 0 100;\nBA_DEF_DEF_ \"Cycle\" 0;\nBA_ \"Cycle\" BO_ 496 20;\n"
     "BA_ \"Kind\" SG_ 496 Angle \"deg\";\nVAL_ 496 Angle -1 \"off\" 2 \"a\\b\" 3 \"c\nd\" ;\n",
     R"(CAN "the file"
CAN.Engine @496 8 bytes "two
lines"
CAN.Wide @2566855166 64 bytes
CAN.Engine.Speed 0+0|16@0 2 bytes uint16 = float64(0 0.25 -10 / 0 0 1) [-1.5|2000] 'km/h' "a "word""
CAN.Engine.Angle 2+8|12@2 2 bytes int16 {-1=off
2=a\\b
3=c\nd}
CAN.Engine Cycle: 20
CAN.Engine.Angle Kind: deg
CAN.Wide.W 56+0|64@0 8 bytes int64 '"'
version: 1.2
)"},
    {"multiplexing in any order",
     head + sg("S2 m2 : 8|8@1-") + sg("S1 m0M : 4|4@1-") + sg("S0 M : 3|4@0+") + sg("S3 m7 : 16|8@1+") +
         "SG_MUL_VAL_ 100 S2 S1 2-2, 7-5;\nSG_MUL_VAL_ 100 S2 S1 9;\nSG_MUL_VAL_ 100 S1 S0 0-0;\n",
     R"(CAN
CAN.M @100 8 bytes
CAN.M.S2 1+0|8@0 1 bytes int8 if 0:0:4:2:0:S0=0&0:4:4:0:0:S1=2,5-7,9
CAN.M.S1 0+4|4@0 1 bytes int8 selector if 0:0:4:2:0:S0=0
CAN.M.S0 0+0|4@2 1 bytes uint8 selector
CAN.M.S3 2+0|8@0 1 bytes uint8 if 0:0:4:2:0:S0=7
)"},
    {"kinds by width, sign and type",
     "VERSION \"\"\nBO_ 100 M: 9 X\n" + sg("a m7 : 0|8@1+") + sg("b m0 : 0|9@1-") + sg("c m1 : 0|33@1+") +
         sg("d m2 : 0|64@1-") + sg("e m3 : 0|32@1-") + " SG_ f m4 : 0|64@1- (2,0) [0|0] \"\" X\n" +
         sg("S M : 64|8@1+") + sg("g m5 : 0|16@1+") + sg("h m6 : 0|17@1-") +
         "SIG_VALTYPE_ 100 e : 1;\nSIG_VALTYPE_ 100 f: 2;\n",
     R"(CAN
CAN.M @100 9 bytes
CAN.M.a 0+0|8@0 1 bytes uint8 if 8:0:8:0:0:S=7
CAN.M.b 0+0|9@0 2 bytes int16 if 8:0:8:0:0:S=0
CAN.M.c 0+0|33@0 5 bytes uint64 if 8:0:8:0:0:S=1
CAN.M.d 0+0|64@0 8 bytes int64 if 8:0:8:0:0:S=2
CAN.M.e 0+0|32@0 4 bytes float32 if 8:0:8:0:0:S=3
CAN.M.f 0+0|64@0 8 bytes float64 = float64(0 2 0 / 0 0 1) if 8:0:8:0:0:S=4
CAN.M.S 8+0|8@0 1 bytes uint8 selector
CAN.M.g 0+0|16@0 2 bytes uint16 if 8:0:8:0:0:S=5
CAN.M.h 0+0|17@0 3 bytes int32 if 8:0:8:0:0:S=6
)"},
    {"byte order mark, line ends, numbers, names, joined files, no BS_ or BU_, notes, unknown sections",
     "\xEF\xBB\xBF"
     "CM_ \"before the version\";\r\nVERSION \"a\"\r\nBO_ 1 2Fast:8 X\r\n SG_ 3x : 0|8@1+ (.25,+1E1) [0|0] \"\xB0\" "
     "X\r\n"
     "\r\nFILTER_ anything \"goes\" here\r\nVERSION \"b\"\r\nBO_ 2 Other : 8 X\r\n SG_ y:0|8@1+(1.,0)[0|0]\"\" X\r\n"
     "VAL_TABLE_ T 1 \"one\" ;\r\nVAL_ 2 y T;\r\n// a note\r\n"
     "BO_ 3221225472 VECTOR__INDEPENDENT_SIG_MSG: 0 X\r\n SG_ z : 0|8@1+ (1,0) [0|0] \"\" X\r\nCM_ SG_ 3221225472 z "
     "\"none\";\r\n",
     R"(CAN "before the version"
CAN._2Fast @1 8 bytes
CAN.Other @2 8 bytes
CAN._2Fast._3x 0+0|8@0 1 bytes uint8 = float64(0 0.25 10 / 0 0 1) '°'
CAN.Other.y 0+0|8@0 1 bytes uint8 {1=one}
version: b
)"},
    {"sections without an end",
     "BU_: A\n  B gateway_1\nSIG_GROUP_ 1 x : a\nEV_ e: 0 [0|1] \"u\nBO_ 1 M: 8 A\n SG_ s : 0|8@1+ (1,0) [0|0] \"\" "
     "A,\n"
     "  B\nVAL_ 1 s 0 \"a\" 1 \"b\"\nCM_ SG_ 1 s \"text\"\nBA_DEF_ BO_ \"F\" ENUM \"x\",\"y\"\nBA_ \"F\" BO_ 1 1",
     R"(CAN
CAN.M @1 8 bytes
CAN.M.s 0+0|8@0 1 bytes uint8 {0=a
1=b} "text"
CAN.M F: y
)"},
    {"sections above the messages that they speak of, stored values of any size",
     "CM_ SG_ 1 s \"text\";\nVAL_ 1 s T ;\nSIG_VALTYPE_ 1 s : 1;\nVAL_TABLE_ T 18446744073709551615 \"most\" "
     "-9007199254740993 \"odd\" 7.0 \"seven\";\nBO_ 1 M: 8 A\n" +
         sg("s : 0|32@1-"),
     R"(CAN
CAN.M @1 8 bytes
CAN.M.s 0+0|32@0 4 bytes float32 {18446744073709551615=most
-9007199254740993=odd
7=seven} "text"
)"},
    {"long names, by which nothing else in the file goes",
     head + sg("S M : 0|8@1+") + sg("t m1 : 8|8@1+") +
         "BA_ \"SystemMessageLongSymbol\" BO_ 100 \"MessageAtLength\";\n" +
         "BA_ \"SystemSignalLongSymbol\" SG_ 100 t \"SignalAtLength\";\nCM_ SG_ 100 t \"by its short name\";\n",
     R"(CAN
CAN.MessageAtLength @100 8 bytes
CAN.MessageAtLength.S 0+0|8@0 1 bytes uint8 selector
CAN.MessageAtLength.SignalAtLength 1+0|8@0 1 bytes uint8 if 0:0:8:0:0:S=1 "by its short name"
)"},
    {"messages of joined files, which are joined",
     "CM_ \"one\";\nBO_ 1 M: 4 A\n" + sg("a : 0|8@1+") + "\xEF\xBB\xBFVERSION \"\"\nCM_ \"two\";\nBO_ 1 M: 8 A\n" +
         sg("a : 0|8@1+") + sg("b : 8|8@1+") + "CM_ SG_ 1 a \"text\";\n",
     R"(CAN "one
two"
CAN.M @1 8 bytes
CAN.M.a 0+0|8@0 1 bytes uint8 "text"
CAN.M.b 1+0|8@0 1 bytes uint8
)",
     "6:7 message 'M' stands in the file before; signals that it did not have join it\n"},
    {"a message as long as its last signal", head + sg("A : 60|8@1+"),
     "CAN\nCAN.M @100 9 bytes\nCAN.M.A 7+4|8@0 2 bytes uint8\n",
     "3:6 message 'M' signal 'A' ends behind the message's 8 bytes\n"},
};

TEST(DbcParser, WritesWholeFiles) {
    for (const whole_file& row : whole_files) {
        const auto file = read_dbc(row.text);
        EXPECT_EQ(file.written, row.written) << row.what;
        EXPECT_EQ(file.told, row.told) << row.what;
    }
}

TEST(DbcParser, MarksParameterGroupsByFormatOrProtocol) {
    const std::string messages =
        "BO_ 2566855166 A: 8 X\nBO_ 2566855167 B: 8 X\nBO_ 100 C: 8 X\n"
        "BA_DEF_ BO_ \"VFrameFormat\" ENUM \"StandardCAN\",\"ExtendedCAN\",\"res\",\"J1939PG\";\n";
    const char* const rows[][2] = {
        {"BA_ \"VFrameFormat\" BO_ 2566855166 3;\n", "A"},
        {"BA_ \"ProtocolType\" \"J1939\";\nBA_ \"VFrameFormat\" BO_ 2566855166 1;\n", "B"},
        {"BA_DEF_DEF_ \"ProtocolType\" \"J1939\";\nBA_ \"VFrameFormat\" BO_ 2566855167 1;\n", "A"},
        {"BA_DEF_DEF_ \"VFrameFormat\" \"J1939PG\";\n", "AB"},
    };
    for (const auto& [attributes, groups] : rows) {
        const std::string written = read_dbc(messages + attributes).written;
        for (const std::string message : {"A @2566855166", "B @2566855167", "C @100"}) {
            const bool is_group = written.find("CAN." + message + " 8 bytes, group\n") != std::string::npos;
            EXPECT_EQ(is_group, std::string(groups).find(message[0]) != std::string::npos) << attributes << message;
        }
    }
}

struct fault {
    std::string signals;  // from line 3 on
    std::string sections; // behind the good signal, which is in line 4 or, without such signals, 3
    std::string told;
};

const std::string none = "the signal counts as always there";
const std::string left_out = "SG_ is left out: message 'M' signal 'A': ";

const fault faults[] = {
    // Bits and conversions of signals.
    {sg("A : 0|65@1+"), "", "3:12 " + left_out + "a signal has 1 to 64 bits, not 65"},
    {sg("A : 0|0@1+"), "", "3:12 " + left_out + "a signal has 1 to 64 bits, not 0"},
    {sg("A : 4294967295|8@1+"), "", "3:10 " + left_out + "the start bit 4294967295 is beyond any message"},
    {sg("A : 8|8@2+"), "", "3:14 " + left_out + "expected the byte order, 0 or 1, found '2+'"},
    {sg("A 8|8@1+"), "", "3:8 " + left_out + "expected ':' behind the name, found '8|8@1+'"},
    {sg("A m99999999999999999999 : 8|8@1+"), "", "3:6 " + left_out + "the selector's value has more than 64 bits"},
    {" SG_ A : 8|8@1+ (1e999,0) [0|0] \"\" X\n", "",
     "3:18 " + left_out + "the number of the factor does not fit a double"},
    {" SG_ A : 8|8@1+ (1,0) [0|] \"u\" X\n", "",
     "3:26 message 'M' signal 'A': the limits are left out: expected the maximum, found ']'"},
    {" SG_ A : 8|8@1+ (1,0) [0|0] \"u X\n", "",
     "3:29 message 'M' signal 'A': the unit is left out: expected the closing quote of the unit, found the end of the "
     "line"},
    // Names.
    {sg("A x : 8|8@1+"), "", "3:6 message 'M' signal 'A x' is called 'A_x' in the catalogue"},
    {sg("A\xC3\xA4 : 8|8@1+"), "", "3:6 message 'M' signal 'A\xC3\xA4' is called 'A_' in the catalogue"},
    {sg("A : 8|8@1+") + sg("A : 16|8@1+") + sg("A_1 : 24|8@1+"), "",
     "4:6 message 'M' signal 'A' is called 'A_2' in the catalogue"},
    {sg("A x : 8|8@1+") + sg("A_x : 16|8@1+"), "", "3:6 message 'M' signal 'A x' is called 'A_x_1' in the catalogue"},
    // Overlaps.
    {sg(std::string(100, 'n') + " : 60|8@1+"), "",
     "3:6 message 'M' signal '" + std::string(64, 'n') + "...' ends behind the message's 8 bytes"},
    {sg("A : 12|8@1+") + sg("B : 15|8@0+"), "", "4:6 message 'M' signal 'B' overlaps signal 'A'; all are kept"},
    {sg("S M : 8|8@1+") + sg("A m1 : 16|8@1+") + sg("B m1 : 20|8@1+") + sg("C m2 : 20|8@1+"), "",
     "5:6 message 'M' signal 'B' overlaps signal 'A'; all are kept"},
    {sg("A : 8|9@0+") + sg("B : 23|8@0+") + sg("C : 15|7@0+"), "",
     "4:6 message 'M' signal 'B' overlaps signal 'A'; all are kept"},
    // Multiplexing.
    {sg("A m1 : 8|8@1+"), "", "3:6 message 'M' signal 'A': the message has no selector, " + none},
    {sg("A M : 8|4@1+") + sg("B M : 12|4@1+") + sg("C m1 : 16|8@1+"), "",
     "4:6 message 'M' signal 'B': a second selector; 'A' selects the others"},
    {sg("A m0M : 8|8@1+") + sg("B m0M : 16|8@1+"), "SG_MUL_VAL_ 100 A B 0-0;\nSG_MUL_VAL_ 100 B A 0-0;\n",
     "3:6 message 'M' signal 'A': its selectors select each other, " + none +
         "\n4:6 message 'M' signal 'B': its selectors select each other, " + none},
    {"", "SG_MUL_VAL_ 100 Good x 1-2;\nSG_MUL_VAL_ 100 Good y 1-2;\n",
     "5:13 message 100 signal 'Good' has a selector already, 'y' is left out\n"
     "3:6 message 'M' signal 'Good': there is no selector 'x' in the message"},
    // Messages.
    {"", "BO_ 99999999999999999999 Big: 8 A\n" + sg("x : 0|8@1+"),
     "4:5 BO_ is left out: the number of the message's id has more than 64 bits"},
    {"", "BO_ 2048 Eleven: 8 A\nBO_ 3000000000 None: 8 A\n" + sg("x : 0|8@1+"),
     "4:5 message 'Eleven': the id 2048 has more than 11 bits and is taken as a 29-bit id\n"
     "5:5 message 'None' is left out: the id 3000000000 is no CAN id"},
    {"", "BO_ 100 N: 8 A\nBO_ 101 M: 8 A\nBO_ 102 L: 1786 A\n",
     "4:9 message 'N' has the id of message 'M'; both are kept\n"
     "6:12 message 'L': the length 1786 is beyond any message and is taken from the signals\n"
     "5:9 message 'M' is called 'M_1' in the catalogue"},
    // Other sections.
    {"", "SIG_VALTYPE_ 100 Good : 1;\n",
     "4:14 message 100 signal 'Good' stays an integer: value type 1 does not go with 8 bits"},
    {"", "VAL_ 100 Ghost 0 \"a\" ;\nCM_ SG_ 9 X \"none\";\n",
     "4:6 the value table of message 100 signal 'Ghost' is left out: there is no such signal\n"
     "5:5 the comment of message 9 signal 'X' is left out: there is no such thing"},
    {"", "CM_ SG_ 100 Good \"no end;\nVAL_ 100 Good 0 2;\n",
     "4:18 CM_ is left out: expected the closing quote of the comment, found the end of the text\n"
     "5:17 message 100 signal 'Good': the rest of the value table is left out: expected a value's text, found '2;'"},
    {"", "VAL_ 100 Good 0 \"a\" 0.5 \"b\" 1e30 \"c\" ;\nVAL_ 100 Good T ;\n",
     "4:21 message 100 signal 'Good': the text of a value that is no integer is left out\n"
     "4:29 message 100 signal 'Good': the text of a value that is no integer is left out\n"
     "5:6 the value table of message 100 signal 'Good' is left out: there is no value table 'T'"},
    {"", "BA_ \"a\" BO_ 100 \"no end\nBA_ \"b\" BO_ 101 1;\n",
     "5:6 BA_ is left out: expected ';' at the end, found 'b\"'\n"
     "5:9 the attribute 'b' of message 101 is left out: there is no such thing"},
    {"", "?? what\nis this\nBO_ 101 N: 8 A\n", "4:1 text that belongs to no section is left out"},
};

TEST(DbcParser, TellsWhatItLeavesOutOrChanges) {
    for (const fault& row : faults) {
        SCOPED_TRACE(row.signals + row.sections);
        const auto file = read_dbc(head + row.signals + good + row.sections);
        EXPECT_EQ(file.told, row.told + '\n');
        EXPECT_NE(file.written.find("CAN.M.Good "), std::string::npos) << file.written;
    }
}

TEST(DbcParser, ReadsTextsInAnyQuotes) {
    const std::pair<const char*, const char*> rows[] = {
        {"\"a\"", "a"},
        {"\xE2\x80\x9C\xC3\x84 b\xE2\x80\x9D", "\xC3\x84 b"}, // “Ä b”
        {"\xE2\x80\x9E z\"", " z"},                           // „ z"
        {"\x84 d\xFC\x93", " d\xC3\xBC"},                     // the same quotes in CP-1252
        {"\"e\r\nf\"", "e\nf"},
        {"\"C:\\\"", "C:\\"},
        {"\"say \\\"no\\\"\"", "say \"no\""},
        {"\"\x80 1\x81\"", "\xE2\x82\xAC 1\xC2\x81"},
    };
    for (const auto& [written, text] : rows) {
        const auto file = read_dbc(head + "CM_ BO_ 100 " + written + ";");
        EXPECT_EQ(file.written, std::string("CAN\nCAN.M @100 8 bytes \"") + text + "\"\n");
        EXPECT_EQ(file.told, "") << written;
    }
}

TEST(DbcParser, ReadsNumbersInAnyForm) {
    const char* const rows[][2] = {{".25", "0.25"},  {"+5", "5"},     {"1e-3", "0.001"},      {"1.E5", "100000"},
                                   {"-0.5", "-0.5"}, {"1e-400", "0"}, {"3.4E+038", "3.4e+38"}};
    for (const auto& [written, factor] : rows) {
        const auto file = read_dbc(head + " SG_ s : 0|8@1+ (" + written + ",0) [0|0] \"\" X");
        EXPECT_NE(file.written.find(std::string("float64(0 ") + factor + " 0 / 0 0 1)"), std::string::npos) << written;
        EXPECT_EQ(file.told, "") << written;
    }
}

TEST(DbcParser, RefusesOnlyWhatIsNoDbc) {
    const std::string expected = "expected a section of a DBC such as VERSION, BU_ or BO_, found ";
    const std::pair<std::string, std::string> rows[] = {
        {"", "1:1: " + expected + "the end of the text\n"},
        {"\n  <html>", "2:3: " + expected + "'<html>'\n"},
        {std::string("\0\1", 2), "1:2: " + expected + "'?'\n"},
        {sg("x : 0|8@1+"),
         "1:5 SG_ is left out: expected a message before its signals\n1:1 the file has no messages\n"},
        {"BU_:", "1:1 the file has no messages\n"},
    };
    for (const auto& [text, told] : rows) {
        EXPECT_EQ(read_dbc(text).told, told);
    }
}

TEST(DbcParser, TellsItsProgressAndStopsWhenAsked) {
    parsing_plugin plugin("qor_dbc_parser");
    std::string text = "BO_ 1 M: 1 X\n SG_ t : 0|0@1+ (1,0) [0|0] \"\" X\n";
    EXPECT_EQ(plugin.parse(text, nullptr).told.substr(0, 16), "description:2:12");
    while (text.size() < 2'000'000) {
        text += "CM_ \"a comment on everything\";\n";
    }
    std::vector<float> fractions;
    const auto go_on = [](float fraction, void* context) {
        static_cast<std::vector<float>*>(context)->push_back(fraction);
        return true;
    };
    plugin.parse(text, "x", go_on, &fractions);
    EXPECT_GE(fractions.size(), 5u);
    EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
    EXPECT_EQ(fractions.back(), 1.0f);
    const auto stopped = plugin.parse(text, "x", [](float fraction, void*) { return fraction < 0.5f; });
    EXPECT_TRUE(stopped.told.ends_with("\nparsing was stopped\n"));
    EXPECT_EQ(stopped.written, "");
}

} // namespace
} // namespace tavi::test
