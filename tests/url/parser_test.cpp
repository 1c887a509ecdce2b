// Whole expressions: what they mean, and the exact text of every refusal.
#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

#include "qor_tavi_extractor/src/url/driver.hpp"
#include "tests/support/thrown.hpp"

namespace {

using namespace qor::tavi::detail;
using tavi::test::thrown;

// The source as "id#instance=name", then the path; a '?' behind a level that has a filter. What is written to std::cout
// stands in front, each line feed as '^'.
std::string parsed(const std::string& expression) {
    std::ostringstream output, text;
    std::streambuf* const standard = std::cout.rdbuf(output.rdbuf());
    const auto context = driver().parse(expression);
    std::cout.rdbuf(standard);
    text << std::string(output.str().size(), '^');
    text << context->source().source_id() << '#' << context->source().instance() << '=' << context->source().name();
    for (std::size_t index = 1; index < context->size(); ++index) {
        text << '|' << context->at(index).name() << (context->at(index).filter() ? "?" : "");
    }
    return text.str();
}

using cases = std::initializer_list<std::pair<std::string, std::string>>;

std::string refusal(const std::string& expression) {
    return thrown<std::invalid_argument>([&] { driver().parse(expression); });
}

TEST(url_parser, accepts) {
    for (const auto& [expression, result] : cases{
             {"Camera.Objects.Object.distance", "0#0=Camera|Objects|Object|distance"},
             {"Front Radar.Raw Objects.Object[3].distance", "0#0=Front Radar|Raw Objects|Object?|distance"},
             {"'Front.Radar'.View.Object[last()].distance", "0#0=Front.Radar|View|Object?|distance"},
             {"\"Front Radar\".View.Object[ first ( ) ]", "0#0=Front Radar|View|Object?"},
             {"_x \t\r\v\fy- .x .a-1_B", "0#0=_x \t\r\v\fy- |x |a-1_B"},
             {"'it''s'.v.a", "0#0=its|v|a"},
             {"\"a'b\".v.a", "0#0=ab|v|a"},
             {"''.v.a", "0#0=|v|a"},
             // A backslash is an ordinary byte and the escape of the next at once.
             {R"("a\"b".v.a)", R"(0#0=a\b|v|a)"},
             {R"("a\\"b".v.a)", R"(0#0=a\\b|v|a)"},
             {R"("a\".v.a)", R"(0#0=a\|v|a)"},
             {"'\xE4.\t['.v.a", "0#0=\xE4.\t[|v|a"},
             {"0128#017777777777.v.a", "10#2147483647=10#2147483647|v|a"},
             {"a.b.c[ 7\t]", "0#0=a|b|c?"},
             // Line feeds between tokens are copied to standard output.
             {"a\nb.c.\n\nd", "^^0#0=a\nb|c|d"},
             {"a.b.c[\n 1\n]", "^^0#0=a|b|c?"},
             {"70000#1.v.a", "4464#1=4464#1|v|a"},
             {"010#2147483647.v.a", "8#2147483647=8#2147483647|v|a"},
             {"a.b.c[last(first(7))].d[0]", "0#0=a|b|c?|d?"},
             {"a.b.\nc[1]\n", "^^0#0=a|b|c?"},
         }) {
        EXPECT_EQ(parsed(expression), result) << expression;
    }
}

TEST(url_parser, refuses_with_place_and_expectation) {
    const std::string number =
        ": syntax error, unexpected number, expecting integer or name or name with space or string literal";
    for (const auto& [expression, result] : cases{
             {"", "1.1: syntax error, unexpected end of expression, expecting integer or name or name with space or "
                  "string literal"},
             {".5e-1x", "1.1-5" + number},
             {".5e-x", "1.1-2" + number},
             {"1e5", "1.1-3" + number},
             {"1e+2", "1.1-4" + number},
             {"1E999", "1.1-5" + number},
             {"1e", "1.2: syntax error, unexpected name, expecting #"},
             {"(", "1.1: syntax error, unexpected ("},
             {" a", "1.1: syntax error, unexpected  "},
             {"a,b", "1.2: syntax error, unexpected ,"},
             {"a\xC3\xA4", "1.2: syntax error, unexpected \xC3"},
             {std::string("a\0b", 3), "1.2: syntax error, unexpected "},
             {"a.b.c[a1-b", "1.9: syntax error, unexpected -"},
             {"a.b.c[1.", "1.7-8: syntax error, unexpected number, expecting integer or identifier"},
             {"a.b.c[1.e+", "1.7-8: syntax error, unexpected number, expecting integer or identifier"},
             {"a.b.c[1e5", "1.8-9: syntax error, unexpected identifier, expecting ]"},
             {"a.b.c[.5", "1.7: syntax error, unexpected ."},
             {"a.b.c[\v", "1.7: syntax error, unexpected \v"},
             {"a.b.c['a'", "1.7: syntax error, unexpected '"},
             // A literal ends at the last quote that can close it; a line feed cuts it only where none closed it.
             {R"("a\"b.c)", "1.5: syntax error, unexpected name, expecting ."},
             {R"("a"\"b")", "1.4: syntax error, unexpected \\"},
             {"\"abc", "1.1: syntax error, unexpected \""},
             {"'\n", "1.1: unterminated string '"},
             {"\"a\\\\\"b\n", "1.1-6: unterminated string \"a\\\\\"b"},
             {"a.'b\\'\n", "1.3-6: unterminated string 'b\\'"},
             {"'a''b\n", "1.4-5: unterminated string 'b"},
             {"'a'\n", "1.4-2.0: syntax error, unexpected end of expression, expecting ."},
             {"abc", "1.4: syntax error, unexpected end of expression, expecting ."},
             {"abc.", "1.5: syntax error, unexpected end of expression, expecting name or name with space"},
             {"abc.'d'", "1.5-7: syntax error, unexpected string literal, expecting name or name with space"},
             {"abc.def", "1.8: syntax error, unexpected end of expression, expecting ."},
             {"abc.def.", "1.9: syntax error, unexpected end of expression, expecting name"},
             {"abc.def.ghi jkl", "1.9-15: syntax error, unexpected name with space, expecting name"},
             {"abc.def[1].ghi", "1.8: syntax error, unexpected [, expecting ."},
             {"a.b.c..d", "1.7: syntax error, unexpected ., expecting name"},
             {"a.b.c#", "1.6: syntax error, unexpected #, expecting end of expression"},
             {"a.b.c[", "1.7: syntax error, unexpected end of expression, expecting integer or identifier"},
             {"a.b.c[1", "1.8: syntax error, unexpected end of expression, expecting ]"},
             {"a.b.c[1.5]", "1.7-9: syntax error, unexpected number, expecting integer or identifier"},
             {"a.b.c[x]", "1.8: syntax error, unexpected ], expecting ("},
             {"a.b.c[x(", "1.9: syntax error, unexpected end of expression, expecting integer or identifier or )"},
             {"a.b.c[x(1]", "1.10: syntax error, unexpected ], expecting ) or ','"},
             {"a.b.c[x(y()z", "1.12: syntax error, unexpected identifier, expecting ) or ','"},
             {"a.b.c[x(1,2)]", "1.10: syntax error, unexpected ,"},
             {"a.b.c[0][1]", "1.9: syntax error, unexpected [, expecting end of expression"},
             {"a.b.c[1]]", "1.9: syntax error, unexpected ]"},
             {"1.b.c", "1.2: syntax error, unexpected ., expecting #"},
             {"1#.b.c", "1.3: syntax error, unexpected ., expecting integer"},
             {"1#2#3.b.c", "1.4: syntax error, unexpected #, expecting ."},
             {"a.1.c", "1.2-3: syntax error, unexpected number, expecting ."},
             {"\"a\nb\".c.d", "1.1-2: unterminated string \"a"},
             {"a.b.\n#", "1.5-2.1: syntax error, unexpected #, expecting name"},
         }) {
        EXPECT_EQ(refusal(expression), result) << expression;
    }
    for (const char* const expression : {"2147483648#1.v.a", "1#020000000000.v.a", "a.b.c[99999999999]"}) {
        EXPECT_EQ(thrown<std::out_of_range>([&] { driver().parse(expression); }), "stoi argument out of range");
    }
}

TEST(driver, starts_each_parse_from_nothing_and_refuses_a_stream_at_its_end) {
    driver subject;
    std::istringstream stream("a.b.c.d");
    const auto first = subject.parse(stream);
    EXPECT_EQ(thrown<std::invalid_argument>([&] { subject.parse(stream); }), "invalid parsing stream");
    EXPECT_THROW(subject.parse("x.y.z["), std::invalid_argument);
    EXPECT_EQ(subject.parse("e.f.g")->location_path(), "f.g");
    EXPECT_EQ(first->location_path(), "b.c.d");
}

std::string repeated(const std::string& piece, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

// A stack that grew with the text, or a scan that began anew at each quote, would end or outlast the test.
TEST(url_parser, stands_expressions_of_any_depth_and_length) {
    constexpr std::size_t many = 200'000;
    EXPECT_EQ(parsed("a.b.c[" + repeated("x(", many) + repeated(")", many) + "]"), "0#0=a|b|c?");
    EXPECT_EQ(refusal("a.b.c[" + repeated("x(", many)),
              "1." + std::to_string(7 + 2 * many) +
                  ": syntax error, unexpected end of expression, expecting integer or identifier or )");
    EXPECT_EQ(driver().parse("a.b.c" + repeated(".c", many))->size(), many + 3);
    const std::string name(1'000'000, 'n');
    EXPECT_EQ(parsed(name + "." + name + "." + name), "0#0=" + name + "|" + name + "|" + name);
    EXPECT_EQ(parsed("'" + repeated("''", many) + "'.b.c"), "0#0=|b|c");
    EXPECT_EQ(refusal("'" + repeated("\\'\"", many)),
              "1." + std::to_string(1 + 3 * many) + ": syntax error, unexpected \"");
    EXPECT_EQ(thrown<std::out_of_range>([&] { driver().parse(std::string(1'000'000, '7')); }),
              "stoi argument out of range");
}

} // namespace
