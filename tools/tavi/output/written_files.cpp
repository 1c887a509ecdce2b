#include "tools/tavi/output/written_files.hpp"

#include <filesystem>
#include <system_error>

#include "tools/tavi/exit_code.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void refuse(const std::string& path, const char* cause) {
    throw command_error(printable(path) + ": error: " + cause);
}

bool is_same_file(const std::string& path, const std::string& other) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored) && fs::equivalent(path, other, ignored);
}

// Also for files that do not exist yet.
bool is_same_place(const std::string& path, const std::string& other) {
    std::error_code code;
    const bool is_special = fs::exists(path, code) && !fs::is_regular_file(path, code);
    return !is_special && fs::weakly_canonical(fs::absolute(path, code), code) ==
                              fs::weakly_canonical(fs::absolute(other, code), code);
}

void check_against_inputs(const decode_options& options, const std::string& written) {
    if (written.empty()) {
        return;
    }
    if (is_same_file(written, options.log)) {
        refuse(written, "is the log that is read");
    }
    for (const std::string& text : options.catalogue.descriptions) {
        if (is_same_file(written, parse_description(text).path)) {
            refuse(written, "is a description that is read");
        }
    }
}

} // namespace

void check_written_files(const decode_options& options) {
    check_against_inputs(options, options.output);
    check_against_inputs(options, options.report);
    if (!options.output.empty() && !options.report.empty() && is_same_place(options.output, options.report)) {
        refuse(options.report, "is written twice, as output and as report");
    }
}

} // namespace tavi::tool
