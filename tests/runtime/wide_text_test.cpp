#include <gtest/gtest.h>

#include "runtime/wide_text.hpp"

namespace {

using qor::runtime::narrow;
using qor::runtime::widen;

TEST(wide_text, goes_there_and_back_at_each_length_of_a_character) {
    const std::pair<const char*, const wchar_t*> cases[] = {
        {"", L""},
        {"a\x7F", L"a\x7F"},
        {"\xC2\x80\xDF\xBF", L"\u0080\u07FF"},
        {"\xE0\xA0\x80\xEF\xBF\xBF", L"\u0800\uFFFF"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", L"\U00010000\U0010FFFF"}};
    for (const auto& [bytes, wide] : cases) {
        EXPECT_EQ(widen(bytes), wide);
        EXPECT_EQ(narrow(wide), bytes);
    }
}

TEST(wide_text, what_is_not_valid_is_replaced) {
    const std::wstring mark = L"\uFFFD";
    const std::pair<const char*, std::wstring> cases[] = {
        {"\x80z", mark + L"z"},     {"\xC3z", mark + L"z"},
        {"\xE2\x82z", mark + L"z"}, {"\xC0\xAF", mark},
        {"\xE0\x80\x80", mark},     {"\xED\xA0\x80", mark},
        {"\xF4\x90\x80\x80", mark}, {"\xF8\x88\x80\x80", mark + mark + mark + mark}};
    for (const auto& [bytes, wide] : cases) {
        EXPECT_EQ(widen(bytes), wide) << testing::PrintToString(bytes);
    }
    EXPECT_EQ(narrow(std::wstring{static_cast<wchar_t>(0xD800)}), "\xEF\xBF\xBD");
    EXPECT_EQ(narrow(std::wstring{static_cast<wchar_t>(0xDC00), L'z'}), "\xEF\xBF\xBDz");
    EXPECT_EQ(narrow(std::wstring{static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE97)}), "\xF0\x9F\x9A\x97");
    if (sizeof(wchar_t) > 2) {
        EXPECT_EQ(narrow(std::wstring{static_cast<wchar_t>(0x110000)}), "\xEF\xBF\xBD");
    }
}

} // namespace
