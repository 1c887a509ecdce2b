// Characters, names and UTF-8, as all libraries judge them.
#include "qorc/text.hpp"

#include <gtest/gtest.h>

#include <array>

#include "qorcpp/utf8.hpp"

namespace {

TEST(Text, JoinsWordsWithoutASeparatorInFront) {
    const auto quoted = [](std::string_view word) { return '<' + std::string(word) + '>'; };
    EXPECT_EQ(qor::joined(std::array<std::string_view, 3>{"a", "", "b"}, ", "), "a, , b");
    EXPECT_EQ(qor::joined(std::array<std::string_view, 3>{"", "", "b"}, ", "), "b");
    EXPECT_EQ(qor::joined(std::array<std::string_view, 2>{"a", "b"}, " ", quoted), "<a> <b>");
    EXPECT_EQ(qor::joined(std::array<std::string_view, 0>{}, " "), "");
}

TEST(Text, KnowsTheCharactersOfNames) {
    std::string first;
    std::string later;
    for (int byte = 0; byte < 256; ++byte) {
        const char character = static_cast<char>(byte);
        first += qor::begins_name(character) ? std::string(1, character) : "";
        later += qor::continues_name(character) ? std::string(1, character) : "";
    }
    const std::string letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";
    EXPECT_EQ(first, letters);
    EXPECT_EQ(later, "-0123456789" + letters);
}

TEST(Utf8, ReadsBackEveryCodePoint) {
    for (std::uint32_t code = 0; code <= 0x10FFFF; ++code) {
        if (!qor::is_code_point(code)) {
            continue;
        }
        std::string text;
        qor::append_utf8(text, code);
        const auto [read, length] = qor::front_of_utf8(text + "x");
        ASSERT_EQ(read, code);
        ASSERT_EQ(length, text.size());
    }
}

TEST(Utf8, RefusesWhatIsNotACharacter) {
    const char* const rows[] = {
        "\x80",             // a continuation alone
        "\xC2",             // cut off
        "\xE2\x82",         //
        "\xF0\x9F\x98",     //
        "\xC2x",            // a continuation is missing
        "\xC0\x80",         // longer than needed
        "\xC1\xBF",         //
        "\xE0\x9F\xBF",     //
        "\xF0\x8F\xBF\xBF", //
        "\xED\xA0\x80",     // surrogates
        "\xED\xBF\xBF",     //
        "\xF4\x90\x80\x80", // beyond the last code point
        "\xF8\x88\x80\x80\x80",
        "\xFF",
    };
    for (const std::string_view row : rows) {
        EXPECT_EQ(qor::front_of_utf8(row).length, 0u);
        EXPECT_FALSE(qor::is_utf8("a" + std::string(row)));
    }
    EXPECT_TRUE(qor::is_utf8(""));
    EXPECT_TRUE(qor::is_utf8("a\xC2\xB0\xE2\x82\xAC\xF0\x9F\x98\x80z"));
}

} // namespace
