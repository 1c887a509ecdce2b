#include "tests/tavi/command.hpp"

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "tests/support/paths.hpp"

namespace tavi::test {

namespace fs = std::filesystem;

void workplace::write(const std::string& name, std::string_view content) const {
    std::ofstream(path() / name, std::ios::binary) << content;
}

std::string workplace::read(const std::string& name) const {
    std::ostringstream content;
    content << std::ifstream(path() / name, std::ios::binary).rdbuf();
    return content.str();
}

ended workplace::tavi(const std::string& arguments) const {
    return shell("\"$TAVI\" " + arguments);
}

ended workplace::shell(const std::string& script) const {
    write("script.sh", "cd '" + path().string() + "'\nTAVI='" + program_folder + "/tavi'\n" + script +
                           "\ncode=$?\necho $code >exit_code\n");
    const std::string directory = path().string();
    const int status =
        std::system(("sh '" + directory + "/script.sh' >'" + directory + "/out' 2>'" + directory + "/err'").c_str());
    const std::string code = read("exit_code");
    return {status == 0 && !code.empty() ? std::stoi(code) : -1, read("out"), read("err")};
}

std::string source_path(const std::string& name) {
    return std::string(source_folder) + '/' + name;
}

std::optional<fs::path> shared_data() {
    const char* const told = std::getenv("TAVI_SHARED_DATA");
    const fs::path path = told != nullptr ? fs::path(told) : fs::path(source_folder) / ".." / "shared" / "data";
    return fs::is_directory(path) ? std::optional(fs::canonical(path)) : std::nullopt;
}

} // namespace tavi::test
