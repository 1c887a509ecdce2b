#include "qor_tavi_extractor/src/url/location.hpp"

namespace qor::tavi::detail {

void location::advance(std::string_view text) noexcept {
    for (const char byte : text) {
        if (byte == '\n') {
            ++end.line;
            end.column = 1;
        } else {
            ++end.column;
        }
    }
}

std::string location::text() const {
    const unsigned end_column = end.column > 0 ? end.column - 1 : 0;
    std::string text = std::to_string(begin.line);
    text += '.';
    text += std::to_string(begin.column);
    if (end.line > begin.line) {
        text += '-';
        text += std::to_string(end.line);
        text += '.';
        text += std::to_string(end_column);
    } else if (end_column > begin.column) {
        text += '-';
        text += std::to_string(end_column);
    }
    return text;
}

} // namespace qor::tavi::detail
