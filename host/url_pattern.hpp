// Patterns over the paths of a catalogue.
#ifndef HOST_URL_PATTERN_HPP
#define HOST_URL_PATTERN_HPP

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tavi::host {

// A pattern has levels joined by '.', like the path that it is held against. In a level '*' stands for any number of
// characters (none counted) and '?' for one; both stop at the level's end. A level in quotes, single or
// double, is taken as it stands, without the quotes (a doubled one in it is one quote).
//
//     CAN.Engine*.*Speed    matches CAN.EngineData.EngineSpeed
//     *.EngineSpeed         a first level "*" alone stands for any number of levels, at least one
//     CAN.EngineData        matches the object and, by matches_below, all signals in it
class url_pattern {
public:
    // Throws: std::invalid_argument for an empty pattern or level, and for a quote that is not closed; the text names
    // pattern and column.
    explicit url_pattern(std::string_view pattern);

    // Whether the whole path fits; its levels are joined by '.' and compared as they are, without quotes.
    bool matches(std::string_view path) const;
    // The same for levels that hold dots themselves.
    bool matches_levels(std::span<const std::string_view> path) const;

    // Whether the path or one of the levels above it fits.
    bool matches_below(std::string_view path) const;

    // Whether something in it stands for more than itself. A pattern without is an URL expression without source.
    bool has_wildcard() const noexcept { return has_wildcard_; }

    const std::string& text() const noexcept { return text_; }

private:
    struct level {
        std::string text;
        bool literal;
    };

    std::string text_;
    std::vector<level> levels_;
    bool any_head_ = false;
    bool has_wildcard_ = false;
};

} // namespace tavi::host

#endif
