#include "tools/tavi/report/text_character.hpp"

#include <algorithm>
#include <iterator>

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
    const auto lead = static_cast<unsigned char>(text[0]);
    const text_character invalid{1, lead, character_kind::invalid};
    if (lead < 0x80) {
        return {1, lead, kind_of(lead)};
    }
    const std::size_t length = lead >= 0xC2 && lead <= 0xDF   ? 2
                               : lead >= 0xE0 && lead <= 0xEF ? 3
                               : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                              : 0;
    if (length == 0 || text.size() < length) {
        return invalid;
    }
    std::uint32_t code = lead & (0xFFU >> (length + 1));
    for (std::size_t at = 1; at < length; ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        if ((byte & 0xC0) != 0x80) {
            return invalid;
        }
        code = code << 6 | (byte & 0x3F);
    }
    const bool overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    return overlong || surrogate || code > 0x10FFFF ? invalid : text_character{length, code, kind_of(code)};
}

} // namespace tavi::tool
