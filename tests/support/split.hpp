// Texts divided into parts.
#ifndef TESTS_SUPPORT_SPLIT_HPP
#define TESTS_SUPPORT_SPLIT_HPP

#include <string>
#include <string_view>
#include <vector>

namespace tavi::test {

inline std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (;;) {
        const auto stop = text.find(separator);
        parts.push_back(text.substr(0, stop));
        if (stop == std::string_view::npos) {
            return parts;
        }
        text.remove_prefix(stop + 1);
    }
}

// A last line may lack its line feed.
inline std::vector<std::string> lines_of(std::string_view text) {
    const auto views = split(text.ends_with('\n') ? text.substr(0, text.size() - 1) : text, '\n');
    return text.empty() ? std::vector<std::string>() : std::vector<std::string>(views.begin(), views.end());
}

} // namespace tavi::test

#endif
