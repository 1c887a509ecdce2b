// Many patterns held against many paths.
#ifndef TAVI_URL_PATTERN_SET_HPP
#define TAVI_URL_PATTERN_SET_HPP

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tavi/url_pattern.hpp"

namespace tavi::host {

// A path costs a look-up by its last name, and the comparison with those patterns whose last level is no fixed name.
// Thread: const calls any.
class url_pattern_set {
public:
    explicit url_pattern_set(std::vector<url_pattern> patterns);
    // The look-up refers to texts of the patterns.
    url_pattern_set(const url_pattern_set&) = delete;
    url_pattern_set& operator=(const url_pattern_set&) = delete;

    const std::vector<url_pattern>& patterns() const noexcept { return patterns_; }
    bool empty() const noexcept { return patterns_.empty(); }

    // Calls visit(number) for each pattern that fits the whole path; parameters as those of url_pattern::matches.
    template<typename Visit>
    void each_match(std::string_view path, std::span<const std::uint64_t> counts, const Visit& visit) const {
        const auto compare = [&](const std::vector<std::size_t>& numbers) {
            for (const std::size_t number : numbers) {
                if (patterns_[number].matches(path, counts)) {
                    visit(number);
                }
            }
        };
        compare(open_);
        // A path without a dot is its last level: npos + 1 is 0.
        const auto named = by_last_name_.find(url_pattern::split_element(path.substr(path.rfind('.') + 1)).name);
        if (named != by_last_name_.end()) {
            compare(named->second);
        }
    }

    // Whether the path or one of the levels above it fits a pattern.
    bool matches_below(std::string_view path, std::span<const std::uint64_t> counts = {}) const;

private:
    std::vector<url_pattern> patterns_;
    // Numbers of patterns: those whose last level has wildcards, and all others.
    std::vector<std::size_t> open_;
    std::unordered_map<std::string_view, std::vector<std::size_t>> by_last_name_;
};

} // namespace tavi::host

#endif
