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

// A file that stays in proportion: each of these would take minutes or gigabytes if some search or text were quadratic.
class DbcProportion : public testing::TestWithParam<std::pair<const char*, std::string>> {};

template<typename Piece>
std::string repeated(size_t count, const Piece& piece) {
    std::string text;
    for (size_t index = 0; index < count; ++index) {
        text += piece(std::to_string(index));
    }
    return text;
}

std::string signals(size_t count, const std::string& mark) {
    return repeated(count,
                    [&](const std::string& n) { return " SG_ s" + n + mark + " : 0|8@1+ (1,0) [0|0] \"\" X\n"; });
}

std::string numbers(size_t count) {
    return repeated(count, [](const std::string& n) { return (n == "0" ? "" : ",") + n + "-" + n; });
}

const std::string selector_tree = "BO_ 1 M: 8 X\n SG_ a M : 0|8@1+ (1,0) [0|0] \"\" X\n"
                                  " SG_ b m0M : 0|8@1+ (1,0) [0|0] \"\" X\n";

TEST_P(DbcProportion, OfTimeAndNodes) {
    const std::string& text = GetParam().second;
    const auto file = read_dbc(text);
    EXPECT_EQ(file.refusal, "");
    size_t bytes = 0;
    for (const recorded_node& node : file.nodes) {
        bytes += node.presence.size() + node.value_table.size() + node.path.size();
    }
    for (const std::string& warning : file.warnings) {
        bytes += warning.size();
    }
    EXPECT_LT(bytes, 40 * text.size() + (4u << 20));
}

INSTANTIATE_TEST_SUITE_P(
    Hostile, DbcProportion,
    testing::Values(
        std::pair("brackets", "BO_ 1 M: 8 X\nBA_DEF_ " + std::string(200000, '(')),
        std::pair("long_line",
                  "BU_:\nCM_ \"" + repeated(1000000, [](const auto&) { return "xxxxxxxxxx"; }) + "\";\nBO_ 1 M: 8 X\n"),
        std::pair("open_texts", "BU_:\n" + repeated(50000, [](const auto&) { return "CM_ \"open\n"; })),
        std::pair("escaped_quotes", "BU_:\n" + repeated(50000, [](const auto&) { return "CM_ \"\\\"x\n"; })),
        std::pair("one_message", repeated(50000, [](const auto&) { return "BO_ 1 M: 8 X\n"; })),
        std::pair("one_name", repeated(50000, [](const auto& n) { return "BO_ " + n + " M: 8 X\n"; })),
        std::pair("one_signal_name",
                  "BO_ 1 M: 8 X\n" +
                      repeated(50000, [](const auto& n) { return " SG_ s : 0|8@1+ (" + n + ",0) [0|0] \"\" X\n"; })),
        std::pair("ghosts", "BU_:\n" + repeated(50000, [](const auto&) { return "VAL_ 1 x 0 \"a\"\n"; })),
        std::pair("long_table",
                  "BU_:\nVAL_ 1 x " + repeated(200000, [](const auto& n) { return n + " \"a\" "; }) + ";\n"),
        std::pair("shared_table", "VAL_TABLE_ T " + repeated(50000, [](const auto& n) { return n + " \"a\" "; }) +
                                      ";\nBO_ 1 M: 8 X\n" + signals(5000, "") +
                                      repeated(5000, [](const auto& n) { return "VAL_ 1 s" + n + " T ;\n"; })),
        std::pair("long_name", "BO_ 1 " + std::string(1000000, 'M') + ": 8 X\n SG_ a : 60|8@1+ (1,0) [0|0] \"\" X\n" +
                                   repeated(1000, [](const auto&) { return "SG_ ?\n"; })),
        std::pair("selector_chain", "BO_ 1 M: 8 X\n" + signals(20000, " m0M") +
                                        repeated(19999,
                                                 [](const auto& n) {
                                                     return "SG_MUL_VAL_ 1 s" + std::to_string(std::stoi(n) + 1) +
                                                            " s" + n + " 0-0;\n";
                                                 })),
        std::pair("selector_ring", "BO_ 1 M: 8 X\n" + signals(20000, " m0M") +
                                       repeated(20000,
                                                [](const auto& n) {
                                                    return "SG_MUL_VAL_ 1 s" +
                                                           std::to_string((std::stoi(n) + 1) % 20000) + " s" + n +
                                                           " 0-0;\n";
                                                })),
        std::pair("long_condition",
                  selector_tree + signals(20000, " m0") + "SG_MUL_VAL_ 1 b a " + numbers(20000) + ";\n" +
                      repeated(20000, [](const auto& n) { return "SG_MUL_VAL_ 1 s" + n + " b 0-0;\n"; })),
        std::pair("many_conditions", selector_tree + repeated(20000,
                                                              [](const auto& n) {
                                                                  return " SG_ s" + n + " m" + n +
                                                                         " : 14000|8@1+ (1,0) [0|0] \"\" X\n";
                                                              }))),
    [](const auto& info) { return info.param.first; });

} // namespace
