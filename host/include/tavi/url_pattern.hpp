// Patterns over the paths of a catalogue.
#ifndef TAVI_URL_PATTERN_HPP
#define TAVI_URL_PATTERN_HPP

#include <cstdint>
#include <optional>
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
//
// A level may end in a filter, as in URL expressions: "[3]", "[first()]", "[last()]"; "[*]" is the same as none, any
// element. A path's level is an array's element, "Object[3]", or the array as a whole, "Object".
class url_pattern {
public:
    // Throws: std::invalid_argument for an empty pattern or level, a quote that is not closed and a filter that is
    // none; the text names pattern and column.
    explicit url_pattern(std::string_view pattern);

    // Whether the whole path fits; its levels are joined by '.' and compared as they are, without quotes.
    //
    // counts  elements of each level, 1 for no array; empty when not known: "last()" then fits nothing and a filter no
    //         level without an index. An array as a whole fits a filter that names one of its elements.
    bool matches(std::string_view path, std::span<const std::uint64_t> counts = {}) const;
    // The same for levels that hold dots themselves.
    bool matches_levels(std::span<const std::string_view> path, std::span<const std::uint64_t> counts = {}) const;

    // Whether the path or one of the levels above it fits.
    bool matches_below(std::string_view path, std::span<const std::uint64_t> counts = {}) const;

    // Whether something in it stands for more than itself, or for a part. A pattern without is the path of one level.
    bool has_wildcard() const noexcept { return has_wildcard_; }
    bool has_filter() const noexcept { return has_filter_; }

    // The name, without an index, that the last level of all paths that fit has; empty when there is no such.
    std::optional<std::string_view> last_name() const noexcept;

    const std::string& text() const noexcept { return text_; }

    // A level "Object[3]" as name and index.
    struct element {
        std::string_view name;
        std::optional<std::uint64_t> index;
    };
    static element split_element(std::string_view level);

private:
    enum class filter_kind { none, index, last };
    struct level {
        std::string text;
        bool literal;
        filter_kind filter = filter_kind::none;
        std::uint64_t index = 0;
    };

    std::size_t read_filter(level& read, std::size_t at);
    // A cheap question that rules out nearly all paths; an element's path goes on behind the name with its index.
    bool may_fit(std::string_view path) const noexcept;
    bool may_have(std::size_t count) const noexcept;
    template<typename Previous>
    bool fits_all(std::size_t count, std::span<const std::uint64_t> counts, Previous previous) const;
    static bool fits_element(const level& wanted, const element& found, std::uint64_t count);

    std::string text_;
    std::vector<level> levels_;
    // What stands before the first character that is not taken as it is: the beginning of all paths that fit.
    std::string fixed_;
    bool any_head_ = false;
    bool has_wildcard_ = false;
    bool has_filter_ = false;
};

} // namespace tavi::host

#endif
