// Fields that need care; whole rows are seen in the tests of the command.
#include "tools/tavi/row_writer.hpp"

#include <gtest/gtest.h>

#include "tools/tavi/account.hpp"

namespace tavi::tool {
namespace {

TEST(csv_field, is_quoted_only_where_needed) {
    EXPECT_EQ(csv_field(""), "");
    EXPECT_EQ(csv_field("km/h"), "km/h");
    EXPECT_EQ(csv_field("a,b"), "\"a,b\"");
    EXPECT_EQ(csv_field("5\" pipe"), "\"5\"\" pipe\"");
    EXPECT_EQ(csv_field("a\nb"), "\"a\nb\"");
    EXPECT_EQ(csv_field("a\rb"), "\"a\rb\"");
}

TEST(json_text, escapes_and_mends) {
    EXPECT_EQ(json_text("a\"b\\\n"), "\"a\\\"b\\\\\\n\"");
    EXPECT_EQ(json_text("\xB0"
                        "C"),
              "\"\xEF\xBF\xBD"
              "C\"");
}

TEST(padded_text, copies_exactly_and_is_used_again) {
    padded_text text;
    for (const std::size_t size : {0U, 1U, 31U, 32U, 33U, 64U, 200U, 5U}) {
        const std::string first(size / 2, 'a');
        const std::string second(size - size / 2, 'b');
        text.assign(first, second);
        std::string copy(size + padded_text::stride, '?');
        EXPECT_EQ(text.copy_to(copy.data()), copy.data() + size);
        EXPECT_EQ(copy.substr(0, size), first + second);
        EXPECT_EQ(text.view(), first + second);
    }
}

TEST(account, tells_what_was_lost) {
    account totals;
    totals.frames = totals.matched = 1;
    totals.values = 1;
    EXPECT_EQ(format_account(totals), "tavi: 1 frame read: 1 matched\ntavi: lost: nothing\n"
                                      "tavi: 1 value written in 0.000 s\n");
    totals.frames = 9;
    totals.unknown_ids = totals.not_selected = totals.without_values = totals.remote = totals.error_frames = 2;
    totals.damaged_lines = 1;
    totals.first_damaged = "x.log:3";
    totals.short_frames = 2;
    totals.first_short = "x.log:4";
    totals.interrupted = true;
    EXPECT_EQ(
        format_account(totals),
        "tavi: 9 frames read: 1 matched, 2 of unknown ids, 2 not asked for, 2 without a value asked for, 2 remote, "
        "2 error frames\ntavi: lost: 1 damaged line (first: x.log:3), signals of 2 short frames (first: x.log:4)\n"
        "tavi: 1 value written in 0.000 s, then interrupted\n");
}

} // namespace
} // namespace tavi::tool
