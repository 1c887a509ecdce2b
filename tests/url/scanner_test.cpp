// The scanner alone: what each text is cut into, where the tokens stand, what is refused.
#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

#include "qor_tavi_extractor/src/url/url_parser.hpp"
#include "qor_tavi_extractor/src/url/url_scanner.hpp"

namespace {

using namespace qor::tavi::detail;

// Every token as "[place] display name:value|", up to the end or the first fault; what is written to std::cout stands
// in front, each line feed as '^'.
std::string scan(const std::string& text) {
    std::ostringstream output, tokens;
    std::streambuf* const standard = std::cout.rdbuf(output.rdbuf());
    std::istringstream stream(text);
    url_scanner scanner(stream);
    semantic_value value;
    location place;
    scanner.set_targets(value, place);
    try {
        for (token_code code; (code = scanner.yylex()) != token_code::end_of_expression;) {
            tokens << place.text() << ' ' << display_name(code);
            if (code == token_code::integer) {
                tokens << ':' << value.integer;
            } else if (code == token_code::number) {
                tokens << ':' << value.number;
            } else if (std::isalpha(display_name(code)[0]) != 0) {
                tokens << ':' << value.text;
            }
            tokens << '|';
        }
        tokens << place.text() << " end";
    } catch (const url_parser::syntax_error& fault) {
        tokens << fault.location.text() << "! " << fault.what();
    } catch (const std::out_of_range& fault) {
        tokens << fault.what();
    }
    std::cout.rdbuf(standard);
    return std::string(output.str().size(), '^') + tokens.str();
}

void expect_all(std::initializer_list<std::pair<std::string, std::string>> cases) {
    for (const auto& [text, tokens] : cases) {
        EXPECT_EQ(scan(text), tokens) << text;
    }
}

TEST(url_scanner, outside_brackets_takes_the_longest_match) {
    expect_all({
        {"", "1.1 end"},
        {"a-1_B.c", "1.1-5 name:a-1_B|1.6 .|1.7 name:c|1.8 end"},
        {"_x \t\r\v\fy- .z", "1.1-10 name with space:_x \t\r\v\fy- |1.11 .|1.12 name:z|1.13 end"},
        {"a.1", "1.1 name:a|1.2-3 number:0.1|1.4 end"},
        {".5e-1x", "1.1-5 number:0.05|1.6 name:x|1.7 end"},
        {"1e5", "1.1-3 number:100000|1.4 end"},
        {"1e+2", "1.1-4 number:100|1.5 end"},
        {"1e", "1.1 integer:1|1.2 name:e|1.3 end"},
        {" a", "1.1! syntax error, unexpected  "},
        {"(", "1.1! syntax error, unexpected ("},
        {"a,b", "1.1 name:a|1.2! syntax error, unexpected ,"},
        {std::string("a\0b", 3), "1.1 name:a|1.2! syntax error, unexpected "},
    });
}

TEST(url_scanner, inside_brackets_has_rules_of_its_own) {
    expect_all({
        {"[ 7\t]", "1.1 [|1.3 integer:7|1.5 ]|1.6 end"},
        {"[last()]x", "1.1 [|1.2-5 identifier:last|1.6 (|1.7 )|1.8 ]|1.9 name:x|1.10 end"},
        {"[a1-b", "1.1 [|1.2-3 identifier:a1|1.4! syntax error, unexpected -"},
        {"[1.", "1.1 [|1.2-3 number:1|1.4 end"},
        {"[1.e+", "1.1 [|1.2-3 number:1|1.4 identifier:e|1.5! syntax error, unexpected +"},
        {"[.5", "1.1 [|1.2! syntax error, unexpected ."},
        {"[\v", "1.1 [|1.2! syntax error, unexpected \v"},
        {"['a'", "1.1 [|1.2! syntax error, unexpected '"},
    });
}

TEST(url_scanner, integers_are_read_with_automatic_base) {
    expect_all({
        {"0128", "1.1-4 integer:10|1.5 end"},
        {"2147483647", "1.1-10 integer:2147483647|1.11 end"},
        {"020000000000", "stoi argument out of range"},
        {"[99999999999999999999999999", "1.1 [|stoi argument out of range"},
    });
}

// A backslash is an ordinary byte and the escape of the next at once; a doubled quote stays inside.
TEST(url_scanner, literals_end_at_the_last_quote_that_can_close_them) {
    expect_all({
        {"'it''s'.v", "1.1-7 string literal:'it''s'|1.8 .|1.9 name:v|1.10 end"},
        {R"("a'b")", R"(1.1-5 string literal:"a'b"|1.6 end)"},
        {R"("")", R"(1.1-2 string literal:""|1.3 end)"},
        {R"("a\"b")", R"(1.1-6 string literal:"a\"b"|1.7 end)"},
        {R"("a\"b.c)", R"(1.1-4 string literal:"a\"|1.5 name:b|1.6 .|1.7 name:c|1.8 end)"},
        {R"("a\\"b")", R"(1.1-7 string literal:"a\\"b"|1.8 end)"},
        {R"("a"\"b")", R"(1.1-3 string literal:"a"|1.4! syntax error, unexpected \)"},
        {"'\xE4.\t['", "1.1-6 string literal:'\xE4.\t['|1.7 end"},
        {"\"abc", "1.1! syntax error, unexpected \""},
    });
}

TEST(url_scanner, a_line_feed_cuts_a_literal_only_where_no_quote_closed_it) {
    expect_all({
        {"\"ab\ncd\"", "1.1-3! unterminated string \"ab"},
        {"'\n", "1.1! unterminated string '"},
        {"\"a\\\\\"b\n", "1.1-6! unterminated string \"a\\\\\"b"},
        {"'a''b\n", "1.1-3 string literal:'a'|1.4-5! unterminated string 'b"},
        {"'a'\n", "^1.1-3 string literal:'a'|1.4-2.0 end"},
    });
}

TEST(url_scanner, a_line_feed_between_tokens_is_copied_to_standard_output) {
    expect_all({
        {"a\nb.c", "1.1-2.1 name with space:a\nb|2.2 .|2.3 name:c|2.4 end"},
        {"a.\nb", "^1.1 name:a|1.2 .|1.3-2.1 name:b|2.2 end"},
        {"#\n#\n!", "^^1.1 #|1.2-2.1 #|2.2-3.1! syntax error, unexpected !"},
    });
}

TEST(url_scanner, reads_streams_of_any_length_and_leaves_them_at_their_end) {
    for (const std::size_t length : {16383, 16384, 16385, 100000}) {
        const std::string text(length, 'x');
        EXPECT_EQ(scan(text),
                  "1.1-" + std::to_string(length) + " name:" + text + "|1." + std::to_string(length + 1) + " end");
    }
    std::istringstream stream("a");
    url_scanner scanner(stream);
    EXPECT_EQ(stream.tellg(), 0) << "nothing is read before the first token";
    semantic_value value;
    location place;
    scanner.set_targets(value, place);
    EXPECT_EQ(scanner.yylex(), token_code::name);
    EXPECT_TRUE(stream.eof());
}

} // namespace
