#include "tools/tavi/report/text_character.hpp"

#include <algorithm>
#include <iterator>

#include "qorcpp/utf8.hpp"

namespace tavi::tool {

namespace {

struct code_range {
    std::uint32_t first;
    std::uint32_t last;
};

// Those that scripts need between letters, U+200C and U+200D, are none of them.
constexpr code_range format_characters[] = {{0xAD, 0xAD},     {0x61C, 0x61C},     {0x180E, 0x180E},  {0x200B, 0x200B},
                                            {0x200E, 0x200F}, {0x202A, 0x202E},   {0x2060, 0x206F},  {0xFEFF, 0xFEFF},
                                            {0xFFF9, 0xFFFB}, {0xE0001, 0xE0001}, {0xE0020, 0xE007F}};

character_kind kind_of(std::uint32_t code) {
    if (code < 0x20 || (code >= 0x7F && code < 0xA0) || code == 0x2028 || code == 0x2029) {
        return character_kind::control;
    }
    const bool is_format =
        std::any_of(std::begin(format_characters), std::end(format_characters),
                    [&](const code_range& range) { return range.first <= code && code <= range.last; });
    return is_format ? character_kind::format : character_kind::visible;
}

} // namespace

text_character first_character(std::string_view text) {
    const auto [code, length] = qor::front_of_utf8(text);
    if (length == 0) {
        return {1, static_cast<unsigned char>(text.front()), character_kind::invalid};
    }
    return {length, code, kind_of(code)};
}

} // namespace tavi::tool
