// Patterns over paths.
#include "host/url_pattern.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

namespace tavi::test {
namespace {

using host::url_pattern;

TEST(UrlPattern, MatchesLevelByLevel) {
    struct row {
        const char* pattern;
        const char* path;
        bool matches;
    };
    const row rows[] = {
        {"CAN.Engine*.*Speed", "CAN.EngineData.EngineSpeed", true},
        {"CAN.Engine*.*Speed", "CAN.EngineData.Sub.EngineSpeed", false},
        {"CAN.Engine*.*Speed", "CAN.EngineData.SpeedLimit", false},
        {"CAN.EngineData", "CAN.EngineData", true},
        {"CAN.EngineData", "CAN.EngineData.EngineSpeed", false},
        {"CAN.engineData", "CAN.EngineData", false},
        {"*.EngineSpeed", "CAN.EngineData.EngineSpeed", true},
        {"*.EngineSpeed", "CAN.EngineSpeed", true},
        {"*.EngineSpeed", "EngineSpeed", false},
        {"*.*Data.*", "CAN.EngineData.EngineSpeed", true},
        {"*", "CAN", true},
        {"*", "CAN.EngineData.EngineSpeed", true},
        {"C*.EngineSpeed", "CAN.EngineData.EngineSpeed", false},
        {"CAN.*", "CAN.EngineData.EngineSpeed", false},
        {"CAN.*.*", "CAN.EngineData.EngineSpeed", true},
        {"CAN.Wheel?", "CAN.Wheel1", true},
        {"CAN.Wheel?", "CAN.Wheel", false},
        {"CAN.Wheel?", "CAN.Wheel12", false},
        {"CAN.?l", "CAN.\xC3\x96l", true},
        {"CAN.*a*b*", "CAN.xaxxbx", true},
        {"CAN.*a*b*", "CAN.xbxxax", false},
        {"CAN.*ab", "CAN.aab", true},
        {"'CAN'.\"a*\"", "CAN.a*", true},
        {"'CAN'.\"a*\"", "CAN.ab", false},
        {"\"*\".x", "CAN.x", false},
        {"CAN.'it''s'", "CAN.it's", true},
    };
    for (const row& row : rows) {
        EXPECT_EQ(url_pattern(row.pattern).matches(row.path), row.matches) << row.pattern << " against " << row.path;
    }
    const std::string_view levels[] = {"CAN", "a.b"};
    EXPECT_TRUE(url_pattern("CAN.'a.b'").matches_levels(levels));
}

TEST(UrlPattern, MatchesWhatStandsBelow) {
    const url_pattern message("CAN.Engine*");
    EXPECT_TRUE(message.matches_below("CAN.EngineData"));
    EXPECT_TRUE(message.matches_below("CAN.EngineData.EngineSpeed"));
    EXPECT_FALSE(message.matches_below("CAN"));
    EXPECT_FALSE(message.matches_below("CAN.Brake.EngineSpeed"));
}

TEST(UrlPattern, KnowsWildcards) {
    EXPECT_FALSE(url_pattern("CAN.EngineData").has_wildcard());
    EXPECT_FALSE(url_pattern("CAN.'a*'").has_wildcard());
    EXPECT_TRUE(url_pattern("CAN.a?").has_wildcard());
}

TEST(UrlPattern, TellsWhatIsWrong) {
    const std::pair<const char*, const char*> rows[] = {
        {"", "invalid pattern '': a level is empty at 1"},
        {"CAN.", "invalid pattern 'CAN.': a level is empty at 5"},
        {"CAN..x", "invalid pattern 'CAN..x': a level is empty at 5"},
        {"CAN.''", "invalid pattern 'CAN.''': a level is empty at 5"},
        {"CAN.\"x", "invalid pattern 'CAN.\"x': the quote is not closed at 5"},
        {"'CAN'x", "invalid pattern ''CAN'x': expected '.' behind the quote at 6"},
    };
    for (const auto& [pattern, message] : rows) {
        try {
            const url_pattern made(pattern);
            ADD_FAILURE() << pattern;
        } catch (const std::invalid_argument& error) {
            EXPECT_STREQ(error.what(), message);
        }
    }
}

} // namespace
} // namespace tavi::test
