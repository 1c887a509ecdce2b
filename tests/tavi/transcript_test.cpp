// What users see: the console blocks of the README and of the transcripts here are run, and what the commands print has
// to be what stands there.
//
//      $ COMMAND           run by the shell, all of a page in one directory
//      > LINE              the lines that it reads from its standard input
//      OUTPUT              standard output, then standard error
//      [CODE]              the exit code unless it is 0; the README shows none
//
// Times that a run took may differ. What a page takes from the folder of measurement data it finds in `data`.
#include <algorithm>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/tavi/command.hpp"

namespace tavi::test {
namespace {

std::string without_seconds(const std::string& text) {
    static const std::regex time("( in |\"seconds\":)[0-9][0-9.e-]*");
    return std::regex_replace(text, time, "$1N");
}

class transcript : public ::testing::TestWithParam<std::string>, public workplace {
protected:
    transcript() {
        std::filesystem::create_directory_symlink(source_path("examples"), path() / "examples");
        std::filesystem::create_directory_symlink(source_path("tests/tavi/golden"), path() / "golden");
    }

    void check(const std::string& command, const std::string& input, const std::string& expected) {
        const std::string here = input.empty() ? "" : " <<'END'\n" + input + "END";
        const ended run = shell("PATH=\"$(dirname \"$TAVI\"):$PATH\"\n(" + command + here + "\n)");
        std::string printed = run.out + run.err;
        printed += printed.empty() || printed.ends_with('\n') ? "" : "\n";
        if (run.code != 0 && GetParam() != "README.md") {
            printed.append("[").append(std::to_string(run.code)).append("]\n");
        }
        EXPECT_EQ(without_seconds(printed), without_seconds(expected)) << "$ " << command;
    }
};

TEST_P(transcript, is_what_the_commands_print) {
    if (const auto data = shared_data()) {
        std::filesystem::create_directory_symlink(*data, path() / "data");
    } else if (GetParam() == "tests/tavi/transcripts/malformed.md") {
        GTEST_SKIP() << "needs the folder of measurement data (TAVI_SHARED_DATA)";
    }
    std::ifstream page(source_path(GetParam()));
    std::string command, input, expected;
    int commands = 0;
    const auto end = [&] {
        if (!command.empty()) {
            check(command, input, expected);
            ++commands;
        }
        command = input = expected = "";
    };
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("```")) {
            end();
            inside = line == "```console";
        } else if (inside && line.starts_with("$ ")) {
            end();
            command = line.substr(2);
        } else if (inside) {
            (line.starts_with("> ") ? input += line.substr(2) : expected += line) += '\n';
        }
    }
    EXPECT_GE(commands, 8);
}

// The README and all pages here.
std::vector<std::string> pages() {
    std::vector<std::string> names{"README.md"};
    const std::string folder = "tests/tavi/transcripts/";
    for (const auto& page : std::filesystem::directory_iterator(source_path(folder))) {
        names.push_back(folder + page.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

INSTANTIATE_TEST_SUITE_P(pages, transcript, ::testing::ValuesIn(pages()));

} // namespace
} // namespace tavi::test
