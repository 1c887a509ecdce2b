#include "tools/tavi/report/progress_bar.hpp"

#include <algorithm>
#include <cstdio>
#include <string>

#include "qorcpp/platform/stream.hpp"

namespace tavi::tool {

namespace {

constexpr std::size_t bar_width = 40;
constexpr auto first_delay = std::chrono::milliseconds(500);
constexpr auto redraw_delay = std::chrono::milliseconds(100);
constexpr std::uint64_t million = 1000000;

} // namespace

progress_bar::progress_bar(std::optional<std::uint64_t> total)
    : enabled_(qor::platform::standard_error_is_terminal()), total_(total), next_(clock::now() + first_delay) {}

void progress_bar::advance(std::uint64_t done, std::uint64_t values) {
    if (!enabled_ || clock::now() < next_) {
        return;
    }
    next_ = clock::now() + redraw_delay;
    std::string line = "\r";
    if (total_ && *total_ != 0) {
        const double share = std::min(1.0, static_cast<double>(done) / static_cast<double>(*total_));
        const auto filled = static_cast<std::size_t>(share * bar_width);
        line += '[' + std::string(filled, '#') + std::string(bar_width - filled, '.') + "] " +
                std::to_string(static_cast<int>(share * 100)) + " %";
    } else {
        line += std::to_string(done / million) + " MB";
    }
    line += ", " + std::to_string(values) + " values\x1B[K";
    std::fputs(line.c_str(), stderr);
    std::fflush(stderr);
    drawn_ = true;
}

void progress_bar::clear() {
    if (drawn_) {
        std::fputs("\r\x1B[K", stderr);
        std::fflush(stderr);
        drawn_ = false;
    }
}

} // namespace tavi::tool
