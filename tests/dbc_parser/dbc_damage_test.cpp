// Files that were cut or damaged anywhere: never a crash, a hang or memory out of proportion, and what stands before
// the damage is used.
#include <random>

#include "tests/support/described.hpp"

namespace tavi::test {
namespace {

described read_dbc(std::string_view text) {
    static parsing_plugin plugin("qor_dbc_parser");
    return plugin.parse(text);
}

const std::string whole = "VERSION \"1\"\nNS_ :\n\tCM_\nBS_:\nBU_: A\n\nBO_ 100 M: 8 A\n"
                          " SG_ S0 M : 0|4@1+ (1,0) [0|0] \"\" A\n SG_ S1 m1 : 8|8@0- (0.5,-3) [-1|1] \"V\" A\n\n"
                          "CM_ SG_ 100 S1 \"text; with \\\"quotes\\\"\";\nBA_DEF_ BO_ \"F\" ENUM \"a\",\"b\";\n"
                          "BA_ \"F\" BO_ 100 1;\nVAL_ 100 S1 0 \"zero\" 1 \"one\" ;\nSIG_VALTYPE_ 100 S1 : 0;\n"
                          "SG_MUL_VAL_ 100 S1 S0 1-3;\n";

TEST(DbcDamage, UsesWhatStandsBeforeACut) {
    for (size_t length = whole.find("\n\nCM_"); length <= whole.size(); ++length) {
        ASSERT_EQ(read_dbc(std::string_view(whole).substr(0, length)).paths.size(), 4u) << length;
    }
}

TEST(DbcDamage, SurvivesDamageAnywhere) {
    std::mt19937 random(4711);
    static constexpr std::string_view pieces[] = {"\"",    ";",
                                                  "\n",    "BO_ ",
                                                  " SG_ ", "-",
                                                  "0",     "99999999999999999999",
                                                  "|",     "m1M",
                                                  "\xFF",  {"\0", 1},
                                                  "\\",    "SG_MUL_VAL_ 100 S0 S1 1-1;"};
    for (int round = 0; round < 20000; ++round) {
        std::string text = whole;
        for (unsigned faults = 1 + random() % 4; faults > 0; --faults) {
            const size_t place = random() % text.size();
            const unsigned kind = random() % 3;
            if (kind == 0) {
                text[place] = static_cast<char>(random());
            } else if (kind == 1) {
                text.insert(place, pieces[random() % std::size(pieces)]);
            } else {
                text.erase(place, 1 + random() % 8);
            }
        }
        ASSERT_LE(read_dbc(text).paths.size(), 64u);
    }
}

// Pieces in which '#' is their number and '$' the next one.
std::string times(size_t count, std::string_view piece) {
    std::string text;
    for (size_t number = 0; number < count; ++number) {
        for (const char each : piece) {
            text += each == '#' || each == '$' ? std::to_string(number + (each == '$')) : std::string(1, each);
        }
    }
    return text;
}

// Each of these would take minutes or gigabytes if some search or text were quadratic.
TEST(DbcDamage, TakesTimeAndMemoryInProportion) {
    const std::string message = "BO_ 1 M: 8 X\n";
    const std::string tree = message + " SG_ a M : 0|8@1+ (1,0) [0|0] \"\" X\n SG_ b m0M : 0|8@1+ (1,0) [0|0] \"\" X\n";
    const std::string chain = message + times(20001, " SG_ s# m0M : 0|8@1+ (1,0) [0|0] \"\" X\n") +
                              times(20000, "SG_MUL_VAL_ 1 s$ s# 0-0;\n");
    const std::string long_table = times(50000, "# \"a\" ") + ";\n";
    const std::pair<const char*, std::string> rows[] = {
        {"brackets", message + "BA_DEF_ " + std::string(200000, '(')},
        {"long line", "BU_:\nCM_ \"" + std::string(10000000, 'x') + "\";\n" + message},
        {"open texts", "BU_:\n" + times(50000, "CM_ \"open\n")},
        {"escaped quotes", "BU_:\n" + times(50000, "CM_ \"\\\"x\n")},
        {"one message", times(50000, message)},
        {"one name", times(50000, "BO_ # M: 8 X\n")},
        {"one signal name", message + times(50000, " SG_ s : 0|8@1+ (#,0) [0|0] \"\" X\n")},
        {"ghosts", "BU_:\n" + times(50000, "VAL_ 1 x 0 \"a\"\n")},
        {"long table", "BU_:\nVAL_ 1 x " + long_table},
        {"shared table", "VAL_TABLE_ T " + long_table + message + times(5000, " SG_ s# : 0|8@1+ (1,0) [0|0] \"\" X\n") +
                             times(5000, "VAL_ 1 s# T ;\n")},
        {"long name", "BO_ 1 " + std::string(1000000, 'M') + ": 8 X\n SG_ a : 60|8@1+ (1,0) [0|0] \"\" X\n" +
                          times(1000, "SG_ ?\n")},
        {"selector chain", chain},
        {"selector ring", chain + "SG_MUL_VAL_ 1 s0 s20000 0-0;\n"},
        {"long condition", tree + times(20000, " SG_ s# m0 : 0|8@1+ (1,0) [0|0] \"\" X\n") + "SG_MUL_VAL_ 1 b a 0-0" +
                               times(20000, ",#-#") + ";\n" + times(20000, "SG_MUL_VAL_ 1 s# b 0-0;\n")},
        {"many conditions", tree + times(20000, " SG_ s# m# : 14000|8@1+ (1,0) [0|0] \"\" X\n")},
    };
    for (const auto& [name, text] : rows) {
        const auto file = read_dbc(text);
        EXPECT_FALSE(file.paths.empty()) << name;
        EXPECT_LT(file.written.size() + file.told.size(), 40 * text.size() + (4u << 20)) << name;
    }
}

} // namespace
} // namespace tavi::test
