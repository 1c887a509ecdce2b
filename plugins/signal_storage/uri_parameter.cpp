#include "plugins/signal_storage/uri_parameter.hpp"

#include <algorithm>
#include <charconv>

namespace qor::storage {

namespace {

std::string decoded(std::string_view text) {
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        unsigned character = 0;
        const std::string_view digits = text.substr(std::min(at + 1, text.size()), 2);
        if (text[at] == '%' && digits.size() == 2 &&
            std::from_chars(digits.data(), digits.data() + 2, character, 16).ptr == digits.data() + 2) {
            result += static_cast<char>(character);
            at += digits.size();
        } else {
            result += text[at];
        }
    }
    return result;
}

// What comes before `separator`, which is removed with it.
std::string_view take_until(std::string_view& text, char separator) {
    const std::string_view taken = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(taken.size() + 1, text.size()));
    return taken;
}

} // namespace

std::optional<std::string> uri_parameter(std::string_view uri, std::string_view name) {
    if (!uri.starts_with("file:")) {
        return std::nullopt;
    }
    uri = uri.substr(0, uri.find('#'));
    take_until(uri, '?');
    while (!uri.empty()) {
        std::string_view value = take_until(uri, '&');
        if (decoded(take_until(value, '=')) == name) {
            return decoded(value);
        }
    }
    return std::nullopt;
}

bool is_true(std::string_view value) {
    std::string word(value);
    std::transform(word.begin(), word.end(), word.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
    });
    int number = 0;
    std::from_chars(value.data(), value.data() + value.size(), number);
    return word == "yes" || word == "true" || word == "on" || number != 0;
}

} // namespace qor::storage
