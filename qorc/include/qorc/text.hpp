// Small rules on texts that several libraries need. C++ only. Characters are judged as ASCII in every locale.
//
// Thread: no state.
#ifndef QORC_TEXT_HPP
#define QORC_TEXT_HPP

#include <string>
#include <string_view>

namespace qor {

// Empty for null.
constexpr std::string_view text_of(const char* text) noexcept {
    return text != nullptr ? std::string_view(text) : std::string_view();
}

constexpr bool is_digit(char character) noexcept {
    return character >= '0' && character <= '9';
}

constexpr bool is_letter(char character) noexcept {
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
}

// Names of sources and of catalogue nodes, as a URL expression can carry them without quotes: a letter or '_', then
// letters, digits, '_' and '-'.
constexpr bool begins_name(char character) noexcept {
    return is_letter(character) || character == '_';
}

constexpr bool continues_name(char character) noexcept {
    return begins_name(character) || is_digit(character) || character == '-';
}

// The texts that text_of_word(word) gives for the words, with the separator between them. Empty texts at the front
// leave no separator: "", "a", "" and "b" joined by ", " are "a, , b".
template<typename Words, typename Text>
std::string joined(const Words& words, std::string_view separator, const Text& text_of_word) {
    std::string text;
    for (const auto& word : words) {
        if (!text.empty()) {
            text += separator;
        }
        text += text_of_word(word);
    }
    return text;
}

template<typename Words>
std::string joined(const Words& words, std::string_view separator) {
    return joined(
        words, separator, [](const auto& word) -> const auto& { return word; });
}

} // namespace qor

#endif
