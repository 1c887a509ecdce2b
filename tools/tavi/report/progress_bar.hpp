// How far a long run is, as one line on standard error that is drawn over itself.
#ifndef TOOLS_TAVI_REPORT_PROGRESS_BAR_HPP
#define TOOLS_TAVI_REPORT_PROGRESS_BAR_HPP

#include <chrono>
#include <cstdint>
#include <optional>

namespace tavi::tool {

// Draws nothing where standard error is no terminal, and nothing in a run that is over at once.
class progress_bar {
public:
    // total: bytes to come; nothing when that is not known (the bar then counts only).
    explicit progress_bar(std::optional<std::uint64_t> total);
    ~progress_bar() { clear(); }
    progress_bar(const progress_bar&) = delete;
    progress_bar& operator=(const progress_bar&) = delete;

    // Draws at most ten times a second; cheap enough for each block of input.
    void advance(std::uint64_t done, std::uint64_t values);

    // Takes the bar off the line, before something else is printed and at the end.
    void clear();

private:
    using clock = std::chrono::steady_clock;

    bool enabled_;
    bool drawn_ = false;
    std::optional<std::uint64_t> total_;
    clock::time_point next_;
};

} // namespace tavi::tool

#endif
