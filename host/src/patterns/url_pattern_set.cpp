#include "tavi/url_pattern_set.hpp"

#include <utility>

namespace tavi::host {

url_pattern_set::url_pattern_set(std::vector<url_pattern> patterns) : patterns_(std::move(patterns)) {
    for (std::size_t number = 0; number < patterns_.size(); ++number) {
        const auto name = patterns_[number].last_name();
        (name ? by_last_name_[*name] : open_).push_back(number);
    }
}

bool url_pattern_set::matches_below(std::string_view path, std::span<const std::uint64_t> counts) const {
    bool found = false;
    for (std::size_t dot = 0; !found && dot != std::string_view::npos;) {
        dot = path.find('.', dot + 1);
        each_match(path.substr(0, dot), counts, [&](std::size_t) { found = true; });
    }
    return found;
}

} // namespace tavi::host
