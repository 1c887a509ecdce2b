// What the README shows is what a user sees: its console blocks are run.
#include <fstream>
#include <regex>

#include <gmock/gmock.h>

#include "tests/tavi/command.hpp"

namespace tavi::test {
namespace {

TEST(readme, shows_what_the_commands_print) {
    const workplace here;
    std::filesystem::create_directory_symlink(source_path("examples"), here.path() / "examples");
    std::ifstream readme(source_path("README.md"));
    std::string line;
    std::string command;
    std::string expected;
    int commands = 0;
    const std::regex seconds(" in [0-9.]+ s\n");
    const auto check = [&] {
        if (command.empty()) {
            return;
        }
        ++commands;
        const ended run = here.shell("PATH=\"$(dirname \"$TAVI\"):$PATH\"\n" + command);
        EXPECT_EQ(std::regex_replace(run.out + run.err, seconds, " in N s\n"),
                  std::regex_replace(expected, seconds, " in N s\n"))
            << command;
        command.clear();
        expected.clear();
    };
    for (bool inside = false; std::getline(readme, line);) {
        if (line.starts_with("```")) {
            check();
            inside = line == "```console";
        } else if (inside && line.starts_with("$ ")) {
            check();
            command = line.substr(2);
        } else if (inside) {
            expected.append(line).append("\n");
        }
    }
    EXPECT_GE(commands, 8);
}

} // namespace
} // namespace tavi::test
