// Constructs of the language and the nodes and warnings that they give.
#include <gtest/gtest.h>

#include "introspection/xtypes/type_kind.hpp"
#include "tests/dbc_parser/recorded_description.hpp"

namespace {

using qor::introspection::xtypes::type_kind;
using strings = std::vector<std::string>;

// A file with one message of 8 bytes.
std::string with_signals(const std::string& lines, const std::string& behind = "") {
    return "VERSION \"\"\nBO_ 100 M: 8 X\n" + lines + "\n" + behind;
}

TEST(DbcParser, MapsMessagesAndSignals) {
    const auto file = read_dbc("VERSION \"1.2\"\n\nNS_ :\n\tCM_\n\tBA_\n\tVAL_\n\nBS_:\n\nBU_: A B\n\n"
                               "BO_ 496 Engine: 8 A\n"
                               " SG_ Speed : 0|16@1+ (0.25,-10) [-1.5|2e3] \"km/h\" B,A\n"
                               " SG_ Angle : 19|12@0- (1,0) [0|0] \"\" B\n\n"
                               "BO_ 2566855166 Wide : 64 A\n SG_ W : 448|64@1- (1,0) [0|0] \"\" A\n"
                               "CM_ \"the file\";\nCM_ BO_ 496 \"two\nlines\";\nCM_ SG_ 496 Speed \"a \\\"word\\\"\";\n"
                               "BA_DEF_ BO_ \"Cycle\" INT 0 100;\nBA_DEF_DEF_ \"Cycle\" 0;\nBA_ \"Cycle\" BO_ 496 20;\n"
                               "VAL_ 496 Angle -1 \"off\" 2 \"a\\b\" 3 \"c\nd\" ;\n");
    EXPECT_EQ(file.warnings, strings());
    EXPECT_EQ(file.nodes.size(), 6u);
    EXPECT_EQ(file.nodes[0].path, "CAN");
    EXPECT_EQ(file.nodes[0].comment, "the file");
    const auto& engine = file.at("Engine");
    EXPECT_EQ(engine.record.object.address, 496u);
    EXPECT_EQ(engine.record.object.element_size, 8u);
    EXPECT_EQ(engine.record.object.element_count, 1u);
    EXPECT_EQ(engine.comment, "two\nlines");
    EXPECT_EQ(file.texts.at("CAN.Engine Cycle"), "20");
    EXPECT_EQ(file.texts.at(" version"), "1.2");
    const auto& speed = file.at("Engine.Speed");
    EXPECT_EQ(speed.record.signal.raw_kind, static_cast<uint16_t>(type_kind::uint16));
    EXPECT_EQ(speed.record.signal.converted_kind, static_cast<uint16_t>(type_kind::float64));
    EXPECT_EQ(speed.record.signal.numerator_x1, 0.25);
    EXPECT_EQ(speed.record.signal.numerator_x0, -10);
    EXPECT_EQ(speed.record.signal.denominator_x0, 1);
    EXPECT_EQ(speed.record.signal.minimum, -1.5);
    EXPECT_EQ(speed.record.signal.maximum, 2000);
    EXPECT_EQ(speed.unit, "km/h");
    EXPECT_EQ(speed.record.signal.signal_suffix_length, 4u);
    EXPECT_EQ(speed.comment, "a \"word\"");
    const auto& angle = file.at("Engine.Angle");
    EXPECT_EQ(angle.record.signal.offset, 2u);
    EXPECT_EQ(angle.record.signal.bit_offset, 8u);
    EXPECT_EQ(angle.record.signal.element_size, 2u);
    EXPECT_EQ(angle.record.signal.byte_order, QOR_BYTE_ORDER_INCONSISTENT_BIG_ENDIAN);
    EXPECT_EQ(angle.record.signal.raw_kind, static_cast<uint16_t>(type_kind::int16));
    EXPECT_EQ(angle.record.signal.converted_kind, static_cast<uint16_t>(type_kind::int16));
    EXPECT_EQ(angle.value_table, "-1=off\n2=a\\\\b\n3=c\\nd");
    EXPECT_EQ(file.at("Wide").record.object.address, 2566855166u);
    EXPECT_EQ(file.at("Wide.W").record.signal.offset, 56u);
}

TEST(DbcParser, TurnsMultiplexingIntoConditions) {
    const auto file = read_dbc(with_signals(" SG_ S2 m2 : 8|8@1- (1,0) [0|0] \"\" X\n"
                                            " SG_ S1 m0M : 4|4@1- (1,0) [0|0] \"\" X\n"
                                            " SG_ S0 M : 3|4@0+ (1,0) [0|0] \"\" X\n"
                                            " SG_ S3 m7 : 16|8@1+ (1,0) [0|0] \"\" X",
                                            "SG_MUL_VAL_ 100 S2 S1 2-2, 5-7;\nSG_MUL_VAL_ 100 S1 S0 0-0;\n"));
    EXPECT_EQ(file.warnings, strings());
    EXPECT_EQ(file.at("M.S0").presence, "");
    EXPECT_EQ(file.at("M.S0").record.signal.multiplexing, QOR_MULTIPLEXING_SELECTOR);
    EXPECT_EQ(file.at("M.S1").presence, "0:0:4:2:0:S0=0");
    EXPECT_EQ(file.at("M.S1").record.signal.multiplexing, QOR_MULTIPLEXING_SELECTOR | QOR_MULTIPLEXING_MULTIPLEXED);
    EXPECT_EQ(file.at("M.S2").presence, "0:0:4:2:0:S0=0&0:4:4:0:0:S1=2,5-7");
    EXPECT_EQ(file.at("M.S3").presence, "0:0:4:2:0:S0=7");
}

TEST(DbcParser, ChoosesKindsByWidthSignAndType) {
    const auto file = read_dbc(with_signals(" SG_ a : 0|8@1+ (1,0) [0|0] \"\" X\n SG_ b : 0|9@1- (1,0) [0|0] \"\" X\n"
                                            " SG_ c : 0|33@1+ (1,0) [0|0] \"\" X\n SG_ d : 0|64@1- (1,0) [0|0] \"\" X\n"
                                            " SG_ e : 0|32@1- (1,0) [0|0] \"\" X\n SG_ f : 0|64@1- (2,0) [0|0] \"\" X",
                                            "SIG_VALTYPE_ 100 e : 1;\nSIG_VALTYPE_ 100 f: 2;\n"));
    const std::pair<const char*, std::pair<type_kind, type_kind>> rows[] = {
        {"a", {type_kind::uint8, type_kind::uint8}},     {"b", {type_kind::int16, type_kind::int16}},
        {"c", {type_kind::uint64, type_kind::uint64}},   {"d", {type_kind::int64, type_kind::int64}},
        {"e", {type_kind::float32, type_kind::float32}}, {"f", {type_kind::float64, type_kind::float64}},
    };
    for (const auto& [name, kinds] : rows) {
        const auto& signal = file.at(std::string("M.") + name).record.signal;
        EXPECT_EQ(signal.raw_kind, static_cast<uint16_t>(kinds.first)) << name;
        EXPECT_EQ(signal.converted_kind, static_cast<uint16_t>(kinds.second)) << name;
    }
}

TEST(DbcParser, MarksParameterGroupsByFormatOrProtocol) {
    const std::string messages =
        "BO_ 2566855166 A: 8 X\nBO_ 2566855167 B: 8 X\nBO_ 100 C: 8 X\n"
        "BA_DEF_ BO_ \"VFrameFormat\" ENUM \"StandardCAN\",\"ExtendedCAN\",\"res\",\"J1939PG\";\n";
    const auto by_format = read_dbc(messages + "BA_ \"VFrameFormat\" BO_ 2566855166 3;\n");
    EXPECT_EQ(by_format.at("A").record.object.flags, QOR_OBJECT_PARAMETER_GROUP);
    EXPECT_EQ(by_format.at("B").record.object.flags, 0u);
    const auto by_protocol =
        read_dbc(messages + "BA_ \"ProtocolType\" \"J1939\";\nBA_ \"VFrameFormat\" BO_ 2566855166 1;\n");
    EXPECT_EQ(by_protocol.at("A").record.object.flags, 0u);
    EXPECT_EQ(by_protocol.at("B").record.object.flags, QOR_OBJECT_PARAMETER_GROUP);
    EXPECT_EQ(by_protocol.at("C").record.object.flags, 0u);
}

TEST(DbcParser, ReadsTheWaysInWhichFilesBendTheLanguage) {
    // Line ends, byte order mark, numbers, names, joined files, no BS_ or BU_, comments, unknown sections.
    const std::string text =
        "\xEF\xBB\xBF"
        "CM_ \"before the version\";\r\nVERSION \"a\"\r\n"
        "BO_ 1 2Fast:8 X\r\n SG_ 3x : 0|8@1+ (.25,+1E1) [0|0] \"\xB0"
        "C\" X\r\n\r\n"
        "FILTER_ anything \"goes\" here\r\n"
        "VERSION \"b\"\r\nBO_ 2 Other : 8 X\r\n SG_ y:0|8@1+(1.,0)[0|0]\"\" X\r\n"
        "VAL_TABLE_ T 1 \"one\" ;\r\nVAL_ 2 y T;\r\n// a note\r\n"
        "BO_ 3221225472 VECTOR__INDEPENDENT_SIG_MSG: 0 X\r\n SG_ z : 0|8@1+ (1,0) [0|0] \"\" X\r\n";
    const auto file = read_dbc(text);
    EXPECT_EQ(file.warnings, strings());
    EXPECT_EQ(file.at("_2Fast._3x").record.signal.numerator_x1, 0.25);
    EXPECT_EQ(file.at("_2Fast._3x").record.signal.numerator_x0, 10);
    EXPECT_EQ(file.at("_2Fast._3x").unit, "\xC2\xB0"
                                          "C");
    EXPECT_EQ(file.at("Other.y").value_table, "1=one");
    EXPECT_EQ(file.nodes.size(), 5u);
}

TEST(DbcParser, TellsWhatItLeavesOutOrChanges) {
    const std::string good = "\n SG_ Good : 0|8@1+ (1,0) [0|0] \"\" X";
    const std::pair<std::string, strings> rows[] = {
        {with_signals(" SG_ A : 0|65@1+ (1,0) [0|0] \"\" X" + good),
         {"3:12 SG_ is left out: message 'M' signal 'A': a signal has 1 to 64 bits, not 65"}},
        {with_signals(" SG_ A : 0|0@1+ (1,0) [0|0] \"\" X" + good),
         {"3:12 SG_ is left out: message 'M' signal 'A': a signal has 1 to 64 bits, not 0"}},
        {with_signals(" SG_ A : 4294967295|8@1+ (1,0) [0|0] \"\" X" + good),
         {"3:10 SG_ is left out: message 'M' signal 'A': the start bit 4294967295 is beyond any message"}},
        {with_signals(" SG_ A : 8|8@2+ (1,0) [0|0] \"\" X" + good),
         {"3:14 SG_ is left out: message 'M' signal 'A': expected the byte order, 0 or 1, found '2+'"}},
        {with_signals(" SG_ A : 8|8@1+ (1e999,0) [0|0] \"\" X" + good),
         {"3:18 SG_ is left out: message 'M' signal 'A': the number of the factor does not fit a double"}},
        {with_signals(" SG_ A x : 8|8@1+ (1,0) [0|0] \"\" X" + good),
         {"3:6 message 'M' signal 'A x' is called 'A_x' in the catalogue"}},
        {with_signals(" SG_ A : 8|8@1+ (1,0) [0|] \"u\" X" + good),
         {"3:26 message 'M' signal 'A': the limits are left out: expected the maximum, found ']'"}},
        {with_signals(" SG_ A : 8|8@1+ (1,0) [0|0] \"u X" + good),
         {"3:29 message 'M' signal 'A': the unit is left out: expected the closing quote of the unit, found the end of "
          "the line"}},
        {with_signals(" SG_ Good : 60|8@1+ (1,0) [0|0] \"\" X"),
         {"3:6 message 'M' signal 'Good' ends behind the message's 8 bytes"}},
        {with_signals(" SG_ Good : 4|8@1+ (1,0) [0|0] \"\" X"
                      "\n SG_ B : 7|8@0+ (1,0) [0|0] \"\" X"),
         {"4:6 message 'M' signal 'B' overlaps signal 'Good'; all are kept"}},
        {with_signals(" SG_ Good : 0|8@1+ (1,0) [0|0] \"\" X\n SG_ Good : 8|8@1+ (1,0) [0|0] \"\" X"),
         {"4:6 message 'M' signal 'Good' is called 'Good_1' in the catalogue"}},
        {with_signals(" SG_ A\xC3\xA4 : 8|8@1+ (1,0) [0|0] \"\" X" + good),
         {"3:6 message 'M' signal 'A\xC3\xA4' is called 'A_' in the catalogue"}},
        {with_signals(" SG_ A m1 : 8|8@1+ (1,0) [0|0] \"\" X" + good),
         {"3:6 message 'M' signal 'A': the message has no selector, the signal counts as always there"}},
        {with_signals(" SG_ A M : 8|4@1+ (1,0) [0|0] \"\" X\n SG_ B M : 12|4@1+ (1,0) [0|0] \"\" X\n"
                      " SG_ C m1 : 16|8@1+ (1,0) [0|0] \"\" X" +
                      good),
         {"4:6 message 'M' signal 'B': a second selector; 'A' selects the others"}},
        {with_signals(" SG_ A m0M : 8|8@1+ (1,0) [0|0] \"\" X\n SG_ B m0M : 16|8@1+ (1,0) [0|0] \"\" X" + good,
                      "SG_MUL_VAL_ 100 A B 0-0;\nSG_MUL_VAL_ 100 B A 0-0;\n"),
         {"3:6 message 'M' signal 'A': its selectors select each other, the signal counts as always there",
          "4:6 message 'M' signal 'B': its selectors select each other, the signal counts as always there"}},
        {with_signals(good.substr(1), "SIG_VALTYPE_ 100 Good : 1;\n"),
         {"4:14 message 100 signal 'Good' stays an integer: value type 1 does not go with 8 bits"}},
        {with_signals(good.substr(1), "VAL_ 100 Ghost 0 \"a\" ;\nCM_ SG_ 9 X \"none\";\n"),
         {"4:6 the value table of message 100 signal 'Ghost' is left out: there is no such signal",
          "5:5 the comment of message 9 signal 'X' is left out: there is no such thing"}},
        {with_signals(good.substr(1), "CM_ SG_ 100 Good \"no end;\nVAL_ 100 Good 0 2;\n"),
         {"4:18 CM_ is left out: expected the closing quote of the comment, found the end of the text",
          "5:17 message 100 signal 'Good': the rest of the value table is left out: expected a value's text, found "
          "'2;'"}},
        {with_signals(good.substr(1), "BO_ 99999999999999999999 Big: 8 A\n SG_ x : 0|8@1+ (1,0) [0|0] \"\" X\n"),
         {"4:5 BO_ is left out: the number of the message's id has more than 64 bits"}},
        {with_signals(good.substr(1), "BO_ 2048 Eleven: 8 A\nBO_ 3000000000 None: 8 A\n"),
         {"4:5 message 'Eleven': the id 2048 has more than 11 bits and is taken as a 29-bit id",
          "5:5 message 'None' is left out: the id 3000000000 is no CAN id"}},
        {with_signals(good.substr(1), "BO_ 100 M: 8 A\nBO_ 100 N: 8 A\nBO_ 101 M: 8 A\n"),
         {"4:9 message 'M' stands in the file before; signals that it did not have join it",
          "5:9 message 'N' has the id of message 'M'; both are kept",
          "6:9 message 'M' is called 'M_1' in the catalogue"}},
        {with_signals(" SG_ A 8|8@1+ (1,0) [0|0] \"\" X" + good),
         {"3:8 SG_ is left out: message 'M' signal 'A': expected ':' behind the name, found '8|8@1+'"}},
        {with_signals(" SG_ A m99999999999999999999 : 8|8@1+ (1,0) [0|0] \"\" X" + good),
         {"3:6 SG_ is left out: message 'M' signal 'A': the selector's value has more than 64 bits"}},
        {with_signals(" SG_ S M : 8|8@1+ (1,0) [0|0] \"\" X\n SG_ A m1 : 16|8@1+ (1,0) [0|0] \"\" X\n"
                      " SG_ B m1 : 20|8@1+ (1,0) [0|0] \"\" X\n SG_ C m2 : 20|8@1+ (1,0) [0|0] \"\" X" +
                      good),
         {"5:6 message 'M' signal 'B' overlaps signal 'A'; all are kept"}},
        {with_signals(good.substr(1), "VAL_ 100 Good 0 \"a\" 0.5 \"b\" 1e30 \"c\" ;\nVAL_ 100 Good T ;\n"),
         {"4:21 message 100 signal 'Good': the text of a value that is no integer is left out",
          "4:29 message 100 signal 'Good': the text of a value that is no integer is left out",
          "5:6 the value table of message 100 signal 'Good' is left out: there is no value table 'T'"}},
        {with_signals(good.substr(1), "SG_MUL_VAL_ 100 Good x 1-2;\nSG_MUL_VAL_ 100 Good y 1-2;\n"),
         {"5:13 message 100 signal 'Good' has a selector already, 'y' is left out",
          "3:6 message 'M' signal 'Good': there is no selector 'x' in the message"}},
        {with_signals(good.substr(1), "BA_ \"a\" BO_ 100 \"no end\nBA_ \"b\" BO_ 101 1;\n"),
         {"5:6 BA_ is left out: expected ';' at the end, found 'b\"'",
          "5:9 the attribute 'b' of message 101 is left out: there is no such thing"}},
        {with_signals(" SG_ " + std::string(100, 'n') + " : 60|8@1+ (1,0) [0|0] \"\" X" + good),
         {"3:6 message 'M' signal '" + std::string(64, 'n') + "...' ends behind the message's 8 bytes"}},
        {"SG_ x : 0|8@1+ (1,0) [0|0] \"\" X\n" + with_signals(good.substr(1)),
         {"1:4 SG_ is left out: expected a message before its signals"}},
        {with_signals(good.substr(1), "?? what\nis this\nBO_ 101 N: 8 A\n"),
         {"4:1 text that belongs to no section is left out"}},
    };
    for (const auto& [text, warnings] : rows) {
        const auto file = read_dbc(text);
        EXPECT_EQ(file.refusal, "") << text;
        EXPECT_EQ(file.warnings, warnings) << text;
        EXPECT_NE(file.at("M.Good").record.kind, 0) << text;
    }
}

TEST(DbcParser, GoesOnWhereASectionHasNoEnd) {
    const auto file = read_dbc("BU_: A\n  B gateway_1\nSIG_GROUP_ 1 x : a\nEV_ e: 0 [0|1] \"u\n"
                               "BO_ 1 M: 8 A\n SG_ s : 0|8@1+ (1,0) [0|0] \"\" A,\n  B\n"
                               "VAL_ 1 s 0 \"a\" 1 \"b\"\nCM_ SG_ 1 s \"text\"\n"
                               "BA_DEF_ BO_ \"F\" ENUM \"x\",\"y\"\nBA_ \"F\" BO_ 1 1");
    EXPECT_EQ(file.warnings, strings());
    EXPECT_EQ(file.at("M.s").value_table, "0=a\n1=b");
    EXPECT_EQ(file.at("M.s").comment, "text");
    EXPECT_EQ(file.texts.at("CAN.M F"), "y");
}

TEST(DbcParser, FindsMessagesBelowWhatSpeaksOfThem) {
    const auto file = read_dbc("CM_ SG_ 1 s \"text\";\nVAL_ 1 s T ;\nSIG_VALTYPE_ 1 s : 1;\n"
                               "VAL_TABLE_ T 18446744073709551615 \"most\" -9007199254740993 \"odd\" 7.0 \"seven\";\n"
                               "BO_ 1 M: 8 A\n SG_ s : 0|32@1- (1,0) [0|0] \"\" A\n");
    EXPECT_EQ(file.warnings, strings());
    EXPECT_EQ(file.at("M.s").comment, "text");
    EXPECT_EQ(file.at("M.s").value_table, "18446744073709551615=most\n-9007199254740993=odd\n7=seven");
    EXPECT_EQ(file.at("M.s").record.signal.raw_kind, static_cast<uint16_t>(type_kind::float32));
}

TEST(DbcParser, JoinsTheMessagesOfJoinedFiles) {
    const auto file = read_dbc("CM_ \"one\";\nBO_ 1 M: 4 A\n SG_ a : 0|8@1+ (1,0) [0|0] \"\" A\n"
                               "\xEF\xBB\xBFVERSION \"\"\nCM_ \"two\";\nBO_ 1 M: 8 A\n"
                               " SG_ a : 0|8@1+ (1,0) [0|0] \"\" A\n SG_ b : 8|8@1+ (1,0) [0|0] \"\" A\n"
                               "CM_ SG_ 1 a \"text\";\n");
    EXPECT_EQ(file.warnings.size(), 1u);
    EXPECT_EQ(file.nodes.size(), 4u);
    EXPECT_EQ(file.nodes[0].comment, "one\ntwo");
    EXPECT_EQ(file.at("M").record.object.element_size, 8u);
    EXPECT_EQ(file.at("M.a").comment, "text");
    EXPECT_EQ(file.at("M.b").record.signal.offset, 1u);
}

TEST(DbcParser, TakesLongNamesFromTheirAttributes) {
    const auto file =
        read_dbc(with_signals(" SG_ S M : 0|8@1+ (1,0) [0|0] \"\" X\n SG_ t m1 : 8|8@1+ (1,0) [0|0] \"\" X",
                              "BA_ \"SystemMessageLongSymbol\" BO_ 100 \"MessageAtLength\";\n"
                              "BA_ \"SystemSignalLongSymbol\" SG_ 100 t \"SignalAtLength\";\n"
                              "CM_ SG_ 100 t \"by its short name\";\n"));
    EXPECT_EQ(file.warnings, strings());
    EXPECT_EQ(file.at("MessageAtLength.SignalAtLength").comment, "by its short name");
    EXPECT_EQ(file.at("MessageAtLength.SignalAtLength").presence, "0:0:8:0:0:S=1");
}

TEST(DbcParser, ReadsTextsInAnyQuotes) {
    const std::pair<const char*, const char*> rows[] = {
        {"\"a\"", "a"},
        {"\xE2\x80\x9C\xC3\x84 b\xE2\x80\x9D", "\xC3\x84 b"}, // “Ä b”
        {"\xE2\x80\x9E"
         "c\"",
         "c"},
        {"\x84"
         "d\xFC\x93",
         "d\xC3\xBC"}, // CP-1252
        {"\"e\r\nf\"", "e\nf"},
        {"\"C:\\\"", "C:\\"},
        {"\"say \\\"no\\\"\"", "say \"no\""},
        {"\"\x80 1\x81\"", "\xE2\x82\xAC 1\xC2\x81"},
    };
    for (const auto& [written, text] : rows) {
        const auto file =
            read_dbc(with_signals(" SG_ s : 0|8@1+ (1,0) [0|0] \"\" X", std::string("CM_ BO_ 100 ") + written + ";"));
        EXPECT_EQ(file.warnings, strings()) << written;
        EXPECT_EQ(file.at("M").comment, text) << written;
    }
}

TEST(DbcParser, ReadsNumbersInAnyForm) {
    const std::pair<const char*, double> rows[] = {{".25", .25},   {"+5", 5},       {"1e-3", .001},      {"1.E5", 1e5},
                                                   {"-0.5", -0.5}, {"1e-400", 0.0}, {"3.4E+038", 3.4e38}};
    for (const auto& [written, factor] : rows) {
        const auto file = read_dbc(with_signals(std::string(" SG_ s : 0|8@1+ (") + written + ",0) [0|0] \"\" X"));
        EXPECT_EQ(file.at("M.s").record.signal.numerator_x1, factor) << written;
        EXPECT_EQ(file.warnings, strings()) << written;
    }
}

TEST(DbcParser, KeepsAnObjectAsLongAsItsLastSignal) {
    const auto file = read_dbc(with_signals(" SG_ A : 60|8@1+ (1,0) [0|0] \"\" X"));
    EXPECT_EQ(file.at("M").record.object.element_size, 9u);
}

TEST(DbcParser, RefusesOnlyWhatIsNoDbc) {
    const std::pair<std::string, std::string> rows[] = {
        {"", "1:1 expected a section of a DBC such as VERSION, BU_ or BO_, found the end of the text"},
        {"\n  <html>", "2:3 expected a section of a DBC such as VERSION, BU_ or BO_, found '<html>'"},
        {std::string("\0\1", 2), "1:2 expected a section of a DBC such as VERSION, BU_ or BO_, found '?'"},
    };
    for (const auto& [text, refusal] : rows) {
        EXPECT_EQ(read_dbc(text).refusal, refusal);
    }
    EXPECT_EQ(read_dbc("BU_:").refusal, "");
    EXPECT_EQ(read_dbc("BU_:").warnings, strings{"1:1 the file has no messages"});
}

} // namespace
