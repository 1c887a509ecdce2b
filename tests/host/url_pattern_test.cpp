// Patterns over paths.
#include "host/url_pattern.hpp"

#include <gtest/gtest.h>

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
    };
    for (const auto& row : rows) {
        bool fits = true;
        for (const std::string_view path : std::span(row).subspan(1)) {
            if (path == "not") {
                fits = false;
            } else {
                EXPECT_EQ(url_pattern(row[0]).matches(path), fits) << row[0] << " against " << path;
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
    EXPECT_FALSE(url_pattern("CAN.EngineData").has_wildcard());
    EXPECT_FALSE(url_pattern("CAN.'a*'").has_wildcard());
    EXPECT_TRUE(url_pattern("CAN.a?").has_wildcard());
}

TEST(UrlPattern, TellsWhatIsWrong) {
    const std::pair<const char*, const char*> rows[] = {
        {"CAN.", "invalid pattern 'CAN.': a level is empty at 5"},
        {"CAN..x", "invalid pattern 'CAN..x': a level is empty at 5"},
        {"CAN.\"x", "invalid pattern 'CAN.\"x': the quote is not closed at 5"},
        {"'CAN'x", "invalid pattern ''CAN'x': expected '.' behind the quote at 6"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(thrown<std::invalid_argument>([&] { url_pattern{row.first}; }), row.second);
    }
}

} // namespace
} // namespace tavi::test
