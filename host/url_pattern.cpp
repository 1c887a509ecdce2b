#include "host/url_pattern.hpp"

#include <algorithm>
#include <stdexcept>

namespace tavi::host {

namespace {

bool is_quote(char character) noexcept {
    return character == '"' || character == '\'';
}

[[noreturn]] void fail(std::string_view pattern, const std::string& cause, std::size_t at) {
    throw std::invalid_argument("invalid pattern '" + std::string(pattern) + "': " + cause + " at " +
                                std::to_string(at + 1));
}

// The classic walk with one point of return: the last '*' takes one character more each time the rest does not fit.
bool fits(std::string_view pattern, std::string_view text) noexcept {
    std::size_t at = 0;
    std::size_t star = std::string_view::npos;
    std::size_t star_text = 0;
    for (std::size_t i = 0; i < text.size();) {
        if (at < pattern.size() && pattern[at] == '*') {
            star = at++;
            star_text = i;
        } else if (at < pattern.size() && (pattern[at] == '?' || pattern[at] == text[i])) {
            ++at;
            ++i;
            // A character of several bytes is one: '?' takes its continuation bytes too.
            while (pattern[at - 1] == '?' && i < text.size() && (text[i] & '\xC0') == '\x80') {
                ++i;
            }
        } else if (star != std::string_view::npos) {
            at = star + 1;
            i = ++star_text;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', at) == std::string_view::npos;
}

std::vector<std::string_view> levels_of(std::string_view path) {
    std::vector<std::string_view> levels;
    for (std::size_t begin = 0;;) {
        const std::size_t dot = path.find('.', begin);
        levels.push_back(path.substr(begin, dot - begin));
        if (dot == std::string_view::npos) {
            return levels;
        }
        begin = dot + 1;
    }
}

} // namespace

url_pattern::url_pattern(std::string_view pattern) : text_(pattern) {
    std::size_t at = 0;
    do {
        const std::size_t begin = at;
        level next{{}, at < pattern.size() && is_quote(pattern[at])};
        if (next.literal) {
            const char quote = pattern[at++];
            for (;; ++at) {
                if (at == pattern.size()) {
                    fail(pattern, "the quote is not closed", begin);
                }
                if (pattern[at] == quote && !pattern.substr(at + 1).starts_with(quote)) {
                    break;
                }
                at += pattern[at] == quote ? 1 : 0;
                next.text += pattern[at];
            }
            if (++at < pattern.size() && pattern[at] != '.') {
                fail(pattern, "expected '.' behind the quote", at);
            }
        } else {
            at = std::min(pattern.find('.', at), pattern.size());
            next.text = pattern.substr(begin, at - begin);
        }
        if (next.text.empty()) {
            fail(pattern, "a level is empty", begin);
        }
        has_wildcard_ = has_wildcard_ || (!next.literal && next.text.find_first_of("*?") != std::string::npos);
        levels_.push_back(std::move(next));
    } while (at++ < pattern.size());
    any_head_ = !levels_.front().literal && levels_.front().text == "*";
}

bool url_pattern::matches(std::string_view path) const {
    return matches_levels(levels_of(path));
}

bool url_pattern::matches_below(std::string_view path) const {
    const std::vector<std::string_view> levels = levels_of(path);
    for (std::size_t count = 1; count <= levels.size(); ++count) {
        if (matches_levels(std::span(levels).first(count))) {
            return true;
        }
    }
    return false;
}

bool url_pattern::matches_levels(std::span<const std::string_view> path) const {
    if (any_head_ ? path.size() < levels_.size() : path.size() != levels_.size()) {
        return false;
    }
    // Levels are compared from the last one up, so that a head of any length needs no search.
    for (std::size_t i = 0; i < levels_.size() - (any_head_ ? 1 : 0); ++i) {
        const level& wanted = levels_[levels_.size() - 1 - i];
        const std::string_view found = path[path.size() - 1 - i];
        if (wanted.literal ? wanted.text != found : !fits(wanted.text, found)) {
            return false;
        }
    }
    return true;
}

} // namespace tavi::host
