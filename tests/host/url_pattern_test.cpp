// Patterns over paths.
#include "tavi/url_pattern_set.hpp"

#include <gtest/gtest.h>

#include <set>
#include <span>
#include <stdexcept>
#include <vector>

#include "tests/support/thrown.hpp"

namespace tavi::test {
namespace {

using host::url_pattern;

// A pattern, the paths that it fits, and behind "not" those that it does not.
TEST(UrlPattern, MatchesLevelByLevel) {
    const std::vector<std::string_view> rows[] = {
        {"CAN.Engine*.*Speed", "CAN.EngineData.EngineSpeed", "not", "CAN.EngineData.x.EngineSpeed",
         "CAN.Engine.SpeedX"},
        {"CAN.EngineData", "CAN.EngineData", "not", "CAN.EngineData.Speed", "CAN.engineData", "CAN.EngineDataX"},
        {"*.EngineSpeed", "CAN.EngineData.EngineSpeed", "CAN.EngineSpeed", "not", "EngineSpeed", "CAN.Speed"},
        {"*.*Data.*", "CAN.EngineData.EngineSpeed", "not", "CAN.EngineData"},
        {"*", "CAN", "CAN.EngineData.EngineSpeed"},
        {"C*.EngineSpeed", "CAN.EngineSpeed", "not", "CAN.EngineData.EngineSpeed"},
        {"CAN.Wheel?", "CAN.Wheel1", "not", "CAN.Wheel", "CAN.Wheel12"},
        {"CAN.?l", "CAN.\xC3\x96l", "not", "CAN.l"},
        {"CAN.*a*b*", "CAN.xaxxbx", "CAN.ab", "not", "CAN.xbxxax"},
        {"CAN.*ab", "CAN.aab", "not", "CAN.aba"},
        {"'CAN'.\"a*\"", "CAN.a*", "not", "CAN.ab"},
        {"\"*\".x", "*.x", "not", "CAN.x"},
        {"CAN.'it''s'", "CAN.it's", "not", "CAN.it''s"},
        {"CAN.Gears[2]", "CAN.Gears[2]", "not", "CAN.Gears[1]", "CAN.Gears"},
    };
    std::vector<url_pattern> patterns;
    for (const auto& row : rows) {
        patterns.emplace_back(row[0]);
    }
    const host::url_pattern_set all({std::begin(patterns), std::end(patterns)});
    for (std::size_t number = 0; number < std::size(rows); ++number) {
        bool fits = true;
        for (const std::string_view path : std::span(rows[number]).subspan(1)) {
            if (path == "not") {
                fits = false;
                continue;
            }
            EXPECT_EQ(patterns[number].matches(path), fits) << patterns[number].text() << " against " << path;
            std::set<std::size_t> found;
            all.each_match(path, {}, [&](std::size_t match) { found.insert(match); });
            for (std::size_t other = 0; other < std::size(rows); ++other) {
                EXPECT_EQ(patterns[other].matches(path), found.contains(other)) << path << " in the set";
            }
        }
    }
    const std::string_view levels[] = {"CAN", "a.b"};
    EXPECT_TRUE(url_pattern("CAN.'a.b'").matches_levels(levels));
}

TEST(UrlPattern, MatchesWhatStandsBelowAndKnowsWildcards) {
    const url_pattern message("CAN.Engine*");
    EXPECT_TRUE(message.matches_below("CAN.EngineData"));
    EXPECT_TRUE(message.matches_below("CAN.EngineData.EngineSpeed"));
    EXPECT_FALSE(message.matches_below("CAN"));
    EXPECT_FALSE(message.matches_below("CAN.Brake.EngineSpeed"));
    const host::url_pattern_set set({message, url_pattern("LIN.Light")});
    for (const char* path : {"LIN.Light.Left", "LIN.Light", "CAN.EngineData.EngineSpeed"}) {
        EXPECT_TRUE(set.matches_below(path)) << path;
    }
    EXPECT_FALSE(set.matches_below("LIN.Lights.CAN.Engine"));
    EXPECT_FALSE(url_pattern("CAN.EngineData").has_wildcard());
    EXPECT_FALSE(url_pattern("CAN.'a*'").has_wildcard());
    EXPECT_TRUE(url_pattern("CAN.a?").has_wildcard());
}

TEST(UrlPattern, TellsWhatIsWrong) {
    const std::pair<const char*, const char*> rows[] = {
        {"CAN.", "invalid pattern 'CAN.': a level is empty at 5"},
        {"CAN..x", "invalid pattern 'CAN..x': a level is empty at 5"},
        {"CAN.\"x", "invalid pattern 'CAN.\"x': the quote is not closed at 5"},
        {"'CAN'x", "invalid pattern ''CAN'x': expected '.' after the quote at 6"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(thrown<std::invalid_argument>([&] { url_pattern{row.first}; }), row.second);
    }
}

} // namespace
} // namespace tavi::test
