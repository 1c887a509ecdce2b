// Runs the built command as a process, through the shell.
#ifndef TESTS_TAVI_COMMAND_HPP
#define TESTS_TAVI_COMMAND_HPP

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "tests/support/split.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tavi::test {

struct ended {
    int code = -1;
    std::string out;
    std::string err;
};

// A directory in which commands run, so that the files they name have short names.
class workplace {
public:
    const std::filesystem::path& path() const noexcept { return directory_.path(); }
    void write(const std::string& name, std::string_view content) const;
    std::string read(const std::string& name) const;

    // `tavi` with these arguments. They are read by the shell, so redirections are possible.
    ended tavi(const std::string& arguments) const;
    // A shell script in which $TAVI is the command and its exit code that of the script's last line.
    ended shell(const std::string& script) const;

private:
    temporary_directory directory_;
};

// Paths below the project's source directory.
std::string source_path(const std::string& name);

// The folder of measurement data, when it is there.
std::optional<std::filesystem::path> shared_data();

} // namespace tavi::test

#endif
