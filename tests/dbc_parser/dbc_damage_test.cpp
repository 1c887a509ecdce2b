// Files that were cut or damaged anywhere: never a crash, a hang or memory out of proportion, and what stands before
// the damage is used.
#include <gtest/gtest.h>

#include <random>

#include "tests/dbc_parser/recorded_description.hpp"

namespace {

const std::string whole = "VERSION \"1\"\nNS_ :\n\tCM_\nBS_:\nBU_: A\n\nBO_ 100 M: 8 A\n"
                          " SG_ S0 M : 0|4@1+ (1,0) [0|0] \"\" A\n SG_ S1 m1 : 8|8@0- (0.5,-3) [-1|1] \"V\" A\n\n"
                          "CM_ SG_ 100 S1 \"text; with \\\"quotes\\\"\";\nBA_DEF_ BO_ \"F\" ENUM \"a\",\"b\";\n"
                          "BA_ \"F\" BO_ 100 1;\nVAL_ 100 S1 0 \"zero\" 1 \"one\" ;\nSIG_VALTYPE_ 100 S1 : 0;\n"
                          "SG_MUL_VAL_ 100 S1 S0 1-3;\n";

TEST(DbcDamage, UsesWhatStandsBeforeACut) {
    const size_t signals_end = whole.find("\n\nCM_");
    for (size_t length = 0; length <= whole.size(); ++length) {
        const auto file = read_dbc(std::string_view(whole).substr(0, length));
        if (length >= signals_end) {
            ASSERT_EQ(file.refusal, "") << length;
            ASSERT_EQ(file.nodes.size(), 4u) << length;
        }
    }
    EXPECT_EQ(read_dbc(whole).at("M.S1").presence, "0:0:4:0:0:S0=1-3");
}

TEST(DbcDamage, SurvivesDamageAnywhere) {
    std::mt19937 random(4711);
    const std::string pieces[] = {"\"",    ";",
                                  "\n",    "BO_ ",
                                  " SG_ ", "-",
                                  "0",     "99999999999999999999",
                                  "|",     "m1M",
                                  "\xFF",  std::string(1, '\0'),
                                  "\\",    "SG_MUL_VAL_ 100 S0 S1 1-1;"};
    for (int round = 0; round < 20000; ++round) {
        std::string text = whole;
        for (unsigned faults = 1 + random() % 4; faults > 0; --faults) {
            const size_t place = random() % text.size();
            switch (random() % 3) {
            case 0:
                text[place] = static_cast<char>(random());
                break;
            case 1:
                text.insert(place, pieces[random() % std::size(pieces)]);
                break;
            default:
                text.erase(place, 1 + random() % 8);
                break;
            }
        }
        const auto file = read_dbc(text);
        ASSERT_LE(file.nodes.size(), 64u);
    }
}

// Each of these would take minutes if some search were quadratic.
TEST(DbcDamage, TakesTimeInProportion) {
    const auto repeated = [](const std::string& piece, size_t count) {
        std::string text;
        for (size_t index = 0; index < count; ++index) {
            text += piece;
        }
        return text;
    };
    const std::string texts[] = {
        "BO_ 1 M: 8 X\n" + std::string(200000, '('),
        "BU_:\nCM_ \"" + std::string(10000000, 'x') + "\";\nBO_ 1 M: 8 X\n",
        "BU_:\n" + repeated("CM_ \"open\n", 50000),
        "BU_:\n" + repeated("BO_ 1 M: 8 X\n", 50000),
        "BO_ 1 M: 8 X\n" + repeated(" SG_ s : 0|8@1+ (1,0) [0|0] \"\" X\n", 2000),
        "BU_:\n" + repeated("VAL_ 1 x 0 \"a\"\n", 50000),
        "BU_:\nVAL_ 1 x " + repeated("0 \"a\" ", 200000) + ";\n",
    };
    for (const std::string& text : texts) {
        EXPECT_EQ(read_dbc(text).refusal, "");
    }
}

} // namespace
