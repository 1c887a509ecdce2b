// The language of the reader filter; transcripts show that it lets through what `tavi decode` matches.
#include <gtest/gtest.h>

#include "tavi/reader_filter.hpp"
#include "tests/support/thrown.hpp"

namespace tavi::test {
namespace {

using host::reader_filter;

TEST(reader_filter, accepts_what_a_term_accepts) {
    const reader_filter filter("(SourceId = 10 AND Instance = 2 AND Cycle = 5 AND Address = 0x1F00) OR "
                               "( Instance=0AND SourceId=11 )");
    EXPECT_EQ(filter.terms().size(), 2u);
    EXPECT_TRUE(filter.accepts(10, 2, 5, 0x1F00));
    EXPECT_FALSE(filter.accepts(11, 2, 5, 0x1F00));
    EXPECT_FALSE(filter.accepts(10, 3, 5, 0x1F00));
    EXPECT_FALSE(filter.accepts(10, 2, 0, 0x1F00));
    EXPECT_FALSE(filter.accepts(10, 2, 5, 0x1F01));
    EXPECT_TRUE(filter.accepts(11, 0, 7, 99));
    EXPECT_FALSE(reader_filter(" ").accepts(11, 0, 0, 0));
    EXPECT_TRUE(reader_filter("(Address = 0xFFFFFFFFFFFFFFFF)").accepts(1, 2, 3, UINT64_MAX));
}

TEST(reader_filter, tells_where_a_text_is_none) {
    const std::pair<const char*, const char*> cases[] = {
        {"SourceId = 1", "expected '(' at 1"},
        {"(Source = 1)", "expected SourceId, Instance, Cycle or Address, each once, at 2"},
        {"(SourceId = 1 AND SourceId = 2)", "expected SourceId, Instance, Cycle or Address, each once, at 19"},
        {"(SourceId 1)", "expected '=' at 11"},
        {"(SourceId = 65536)", "expected a number up to 65535 at 13"},
        {"(Address = 0x)", "expected a number up to 18446744073709551615 at 12"},
        {"(Cycle = 1 OR", "expected 'AND' or ')' at 12"},
        {"(Cycle = 1", "expected 'AND' or ')' at 11"},
        {"(Cycle = 1) AND", "expected 'OR' or the end at 13"},
        {"(Cycle = 1) OR", "expected '(' at 15"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(thrown<std::invalid_argument>([&] { reader_filter{each.first}; }),
                  std::string("invalid reader filter: ") + each.second);
    }
}

} // namespace
} // namespace tavi::test
