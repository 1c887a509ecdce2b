// Pages that show what parsers make of texts, as people read them; the tests hold the parsers to them.
#ifndef TESTS_SUPPORT_DESCRIBED_PAGE_HPP
#define TESTS_SUPPORT_DESCRIBED_PAGE_HPP

#include "tests/support/described.hpp"
#include "tests/support/page.hpp"

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

// The page's blocks in the language: a text without its last line feed, a line "---", what is shown for it, without the
// line with which it usually begins.
inline void expect_descriptions(const char* library, const std::string& path, const std::string& language,
                                const std::string& usual_begin = "") {
    parsing_plugin parser(library);
    expect_page(path, language, [&](const std::string& block) {
        const std::string text = block.substr(0, block.find("\n---\n"));
        const std::string now = shown(parser.parse(text));
        return text + "\n---\n" + now.substr(now.starts_with(usual_begin) ? usual_begin.size() : 0);
    });
}

} // namespace tavi::test

#endif
