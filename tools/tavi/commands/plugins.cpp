#include "tools/tavi/commands/commands.hpp"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "qor_tavi_extractor/qor_tavi_extractor.h"
#include "qorc/text.hpp"
#include "qorcpp/platform/module.hpp"
#include "tools/tavi/check/check_process.hpp"
#include "tools/tavi/check/plugin_check.hpp"
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

std::vector<std::filesystem::path> libraries_beside_the_extractor() {
    const std::string directory =
        qor::platform::module_directory_of(reinterpret_cast<const void*>(&qor_tavi_extractor_create));
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        if (qor::platform::is_shared_library_file_name(entry.path().filename().string())) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

exit_code list_plugins() {
    exit_code code = exit_code::done;
    block_output output("");
    for (const auto& file : libraries_beside_the_extractor()) {
        const plugin_summary summary = summarise_plugin(file.string());
        if (summary.type.empty()) {
            continue; // not of this system
        }
        std::string line = padded(printable(file.filename().string()), 28) + padded(summary.type, 25) +
                           padded(printable(summary.version), 24);
        line += printable_list(summary.formats);
        if (!summary.failure.empty()) {
            line += "cannot be used: " + printable(summary.failure);
            code = exit_code::plugin_failed;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        output.write(line + '\n');
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
    const bool complete = check_plugin_in_child(path, limits, [&](const verdict& verdict) {
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
        report_check_to_parent(options.check_in_child);
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
