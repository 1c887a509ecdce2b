// Pages that show what parsers make of texts, as people read them; the tests hold the parsers to them.
#ifndef TESTS_SUPPORT_DESCRIBED_PAGE_HPP
#define TESTS_SUPPORT_DESCRIBED_PAGE_HPP

#include <fstream>

#include "tests/support/described.hpp"

namespace tavi::test {

// What is written, then behind "! " each line of what is told.
inline std::string shown(const described& file) {
    std::string text = file.written;
    std::istringstream lines(file.told);
    for (std::string line; std::getline(lines, line);) {
        text.append("! ").append(line).append("\n");
    }
    return text;
}

// The page's blocks in the language: a text without its last line feed, a line "---", what is shown for it.
inline void expect_page(parsing_plugin& parser, const std::string& path, const std::string& language) {
    std::ifstream page(std::string(TAVI_SOURCE_DIR) + '/' + path);
    std::string text, expected;
    std::string* part = nullptr;
    int blocks = 0;
    for (std::string line; std::getline(page, line);) {
        if (line == "```" + language) {
            part = &text;
        } else if (line == "---") {
            part = &expected;
        } else if (line == "```") {
            text.pop_back();
            EXPECT_EQ(shown(parser.parse(text)), expected) << text;
            text = expected = "";
            part = nullptr;
            ++blocks;
        } else if (part != nullptr) {
            part->append(line).append("\n");
        }
    }
    EXPECT_GT(blocks, 20) << path;
}

} // namespace tavi::test

#endif
