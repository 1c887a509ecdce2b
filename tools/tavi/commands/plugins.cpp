#include "tools/tavi/commands/commands.hpp"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "qorc/text.hpp"
#include "tools/tavi/check/check_process.hpp"
#include "tools/tavi/check/plugin_check.hpp"
#include "tools/tavi/check/plugin_folder.hpp"
#include "tools/tavi/output/block_output.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

namespace {

std::string printable_list(const std::vector<std::string>& words) {
    return qor::joined(words, ", ", printable);
}

std::string padded(std::string text, std::size_t width) {
    text.resize(std::max(text.size() + 1, width), ' ');
    return text;
}

// A line begins with the file's name alone.
std::string name_column(const std::string& path) {
    return padded(printable(std::filesystem::path(path).filename().string()), 28);
}

exit_code list_plugins() {
    const plugin_folder folder;
    exit_code code = exit_code::done;
    block_output output("");
    for (const auto& library : folder.survey().libraries) {
        const plugin_summary summary = summarise_plugin(library.path);
        std::string line = name_column(library.path) + padded(printable(summary.type), 25) +
                           padded(printable(summary.version), 24) + printable_list(summary.formats);
        if (!summary.failure.empty()) {
            line += "cannot be used: " + printable(summary.failure);
            code = exit_code::plugin_failed;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        output.write(line + '\n');
    }
    for (const auto& file : folder.survey().passed_over) {
        output.write(name_column(file.path) + "skipped: " + printable(file.reason) + '\n');
        code = file.is_damaged ? exit_code::plugin_failed : code;
    }
    output.close();
    return code;
}

exit_code check(const std::string& path, const plugins_options& options) {
    exit_code code = exit_code::done;
    block_output output("");
    const qor::platform::child_limits limits{
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::duration<double>(options.time_limit)),
        options.memory_limit << 20};
    const std::string recording =
        options.recording.empty() ? "" : std::filesystem::absolute(options.recording).string();
    const bool complete = check_plugin_in_child(path, recording, limits, [&](const verdict& verdict) {
        const bool bad = verdict.kind == tool::verdict::kind::bad;
        const char* const word = bad ? "FAULT  " : verdict.kind == tool::verdict::kind::note ? "note   " : "ok     ";
        output.write(word + verdict.text + '\n');
        output.flush();
        code = bad ? exit_code::plugin_failed : code;
    });
    const char* const conclusion = !complete                 ? ": not checked to the end: interrupted\n"
                                   : code == exit_code::done ? ": fit for use\n"
                                                             : ": not fit for use\n";
    output.write(printable(path) + conclusion);
    output.close();
    return complete ? code : exit_code::interrupted;
}

} // namespace

exit_code run_plugins(const plugins_options& options) {
    if (!options.check_in_child.empty()) {
        report_check_to_parent(options.check_in_child, options.recording);
        return exit_code::done;
    }
    if (options.check.empty()) {
        return list_plugins();
    }
    std::error_code error;
    if (!std::filesystem::exists(options.check, error)) {
        throw command_error(printable(options.check) + ": error: there is no such file");
    }
    if (std::filesystem::is_directory(options.check, error)) {
        throw command_error(printable(options.check) + ": error: is a directory");
    }
    return check(std::filesystem::absolute(options.check).string(), options);
}

} // namespace tavi::tool
