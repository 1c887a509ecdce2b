#include "tavi/url_pattern.hpp"

#include <algorithm>
#include <charconv>
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

std::size_t level_count(std::string_view path) noexcept {
    return static_cast<std::size_t>(std::count(path.begin(), path.end(), '.')) + 1;
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
            if (++at < pattern.size() && pattern[at] != '.' && pattern[at] != '[') {
                fail(pattern, "expected '.' after the quote", at);
            }
        } else {
            at = std::min(pattern.find_first_of(".[", at), pattern.size());
            next.text = pattern.substr(begin, at - begin);
        }
        if (at < pattern.size() && pattern[at] == '[') {
            at = read_filter(next, at);
        }
        if (next.text.empty()) {
            fail(pattern, "a level is empty", begin);
        }
        has_filter_ = has_filter_ || next.filter != filter_kind::none;
        has_wildcard_ = has_wildcard_ || next.filter != filter_kind::none ||
                        (!next.literal && next.text.find_first_of("*?") != std::string::npos);
        levels_.push_back(std::move(next));
    } while (at++ < pattern.size());
    fixed_ = text_.substr(0, text_.find_first_of("*?[\"'"));
    any_head_ = !levels_.front().literal && levels_.front().text == "*" && levels_.front().filter == filter_kind::none;
}

// Reads "[...]", which begins at `at`, and returns the place behind it.
std::size_t url_pattern::read_filter(level& read, std::size_t at) {
    const std::size_t close = text_.find(']', at);
    std::string inside = text_.substr(at + 1, std::min(close, text_.size()) - at - 1);
    // Blanks stand between words, not within a number.
    inside.erase(inside.find_last_not_of(' ') + 1);
    inside.erase(0, inside.find_first_not_of(' '));
    const char* const end = inside.data() + inside.size();
    const auto number = std::from_chars(inside.data(), end, read.index);
    if (number.ec == std::errc::invalid_argument) {
        inside.erase(std::remove(inside.begin(), inside.end(), ' '), inside.end());
    }
    if (inside == "last()") {
        read.filter = filter_kind::last;
    } else if (inside == "first()" || (number.ec == std::errc() && number.ptr == end)) {
        read.filter = filter_kind::index;
    } else if (inside != "*") {
        fail(text_, "expected an index, first(), last() or * in brackets", at);
    }
    if (close == std::string::npos) {
        fail(text_, "the bracket is not closed", at);
    }
    if (close + 1 < text_.size() && text_[close + 1] != '.') {
        fail(text_, "expected '.' after the bracket", close + 1);
    }
    return close + 1;
}

url_pattern::element url_pattern::split_element(std::string_view level) {
    element result{level, std::nullopt};
    const std::size_t open = level.rfind('[');
    if (open == std::string_view::npos || !level.ends_with(']')) {
        return result;
    }
    std::uint64_t index = 0;
    const char* const end = level.data() + level.size() - 1;
    if (const auto [stop, failure] = std::from_chars(level.data() + open + 1, end, index);
        failure == std::errc() && stop == end) {
        result = {level.substr(0, open), index};
    }
    return result;
}

bool url_pattern::fits_element(const level& wanted, const element& found, std::uint64_t count) {
    if (wanted.filter == filter_kind::none) {
        return true;
    }
    if (!found.index) {
        return count > 1 && (wanted.filter == filter_kind::last || wanted.index < count);
    }
    return wanted.filter == filter_kind::last ? *found.index + 1 == count : *found.index == wanted.index;
}

bool url_pattern::may_fit(std::string_view path) const noexcept {
    return path.starts_with(fixed_) || path.find('[') != std::string_view::npos;
}

bool url_pattern::matches(std::string_view path, std::span<const std::uint64_t> counts) const {
    const std::size_t count = may_fit(path) ? level_count(path) : 0;
    return may_have(count) && fits_all(count, counts, [rest = path]() mutable {
               const std::size_t dot = rest.rfind('.');
               const std::string_view last = rest.substr(dot + 1);
               rest = rest.substr(0, dot);
               return last;
           });
}

bool url_pattern::matches_below(std::string_view path, std::span<const std::uint64_t> counts) const {
    for (std::size_t dot = path.find('.'); dot != std::string_view::npos; dot = path.find('.', dot + 1)) {
        if (matches(path.substr(0, dot), counts)) {
            return true;
        }
    }
    return matches(path, counts);
}

bool url_pattern::matches_levels(std::span<const std::string_view> path, std::span<const std::uint64_t> counts) const {
    return may_have(path.size()) && fits_all(path.size(), counts, [last = path.rbegin()]() mutable { return *last++; });
}

bool url_pattern::may_have(std::size_t count) const noexcept {
    return any_head_ ? count >= levels_.size() : count == levels_.size();
}

// Levels are compared from the last one up, so that a head of any length needs no search. `previous` gives the path's.
template<typename Previous>
bool url_pattern::fits_all(std::size_t count, std::span<const std::uint64_t> counts, Previous previous) const {
    const std::size_t compared = levels_.size() - (any_head_ ? 1 : 0);
    for (std::size_t i = 1; i <= compared; ++i) {
        const level& wanted = levels_[levels_.size() - i];
        const std::size_t place = count - i;
        const element found = split_element(previous());
        if ((wanted.literal ? wanted.text != found.name : !fits(wanted.text, found.name)) ||
            !fits_element(wanted, found, place < counts.size() ? counts[place] : 0)) {
            return false;
        }
    }
    return true;
}

std::optional<std::string_view> url_pattern::last_name() const noexcept {
    const level& last = levels_.back();
    return last.literal || last.text.find_first_of("*?") == std::string::npos
               ? std::optional<std::string_view>(last.text)
               : std::nullopt;
}

} // namespace tavi::host
