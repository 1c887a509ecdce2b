// Places in the text of a URL expression, for messages.
#ifndef QOR_TAVI_EXTRACTOR_URL_LOCATION_HPP
#define QOR_TAVI_EXTRACTOR_URL_LOCATION_HPP

#include <string>
#include <string_view>

namespace qor::tavi::detail {

struct position {
    // Both count from 1.
    unsigned line = 1;
    unsigned column = 1;
};

// From the first byte of a token to the place behind its last.
struct location {
    position begin;
    position end;

    // Makes the place behind the last token the begin of the next.
    void step() noexcept { begin = end; }

    // Moves the end over `text`.
    void advance(std::string_view text) noexcept;

    // "1.9-15", or "1.9" for a single byte, or "1.9-2.3" over lines.
    std::string text() const;
};

} // namespace qor::tavi::detail

#endif
