// Pages that people read and that tests hold the code to.
#ifndef TESTS_SUPPORT_PAGE_HPP
#define TESTS_SUPPORT_PAGE_HPP

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>

#include "tests/support/paths.hpp"

namespace tavi::test {

// Has each block of the page in that language ("" for those that name none) told again; the page has to read as it
// stands. With TAVI_RENEW_PAGES in the environment it is written as it was told instead.
inline void expect_page(const std::string& path, const std::string& language,
                        const std::function<std::string(const std::string& block)>& tell_again) {
    const std::string place = std::string(source_folder) + '/' + path;
    const bool renews = std::getenv("TAVI_RENEW_PAGES") != nullptr;
    std::stringstream page;
    page << std::ifstream(place).rdbuf();
    std::string told, block;
    bool inside = false;
    int blocks = 0;
    std::size_t number = 0, first_number = 0; // of this line, and of the block's first
    for (std::string line; std::getline(page, line);) {
        ++number;
        if (inside && line == "```") {
            const std::string now = tell_again(block);
            if (!renews) {
                const auto [change, end] = std::ranges::mismatch(block, now);
                EXPECT_EQ(now, block) << path << ':' << first_number + std::count(block.begin(), change, '\n');
            }
            told += now;
            ++blocks;
        }
        const bool goes_on = inside && line != "```";
        (goes_on ? block : told) += line + '\n';
        inside = goes_on || (!inside && line == "```" + language);
        block = inside ? block : "";
        first_number = goes_on ? first_number : number + 1;
    }
    EXPECT_GT(blocks, 0) << path;
    if (renews) {
        std::ofstream(place) << told;
    }
}

// The same for blocks of single lines: what is said to each line that is asked stands behind it in place of the others.
inline void expect_page_of_lines(const std::string& path, const std::string& language,
                                 const std::function<bool(const std::string& line)>& is_asked,
                                 const std::function<std::string(const std::string& line, bool is_first)>& answer) {
    expect_page(path, language, [&](const std::string& block) {
        std::istringstream lines(block);
        std::string told;
        for (std::string line; std::getline(lines, line);) {
            if (is_asked(line)) {
                const std::string said = answer(line, told.empty());
                told.append(line).append("\n").append(said).append("\n");
            }
        }
        return told;
    });
}

} // namespace tavi::test

#endif
