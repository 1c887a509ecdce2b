#include "tools/tavi/check/plugin_folder.hpp"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "qor_tavi_extractor/qor_tavi_extractor.h"
#include "qorcpp/platform/module.hpp"
#include "qorcpp/plugin_handle.hpp"
#include "tools/tavi/check/plugin_check.hpp"
#include "tools/tavi/check/plugin_formats.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

namespace {

constexpr const char* storage_type = "signal-storage";
constexpr const char* matcher_type = "data-matcher";
constexpr const char* parser_type = "data-description-parser";
constexpr const char* processor_type = "data-processor";

// Why a library cannot be taken into use as a plug-in; empty when it can.
std::string fault_of(const qor::runtime::found_library& library) {
    try {
        formats_of(qor::plugin_handle(library.path, library.type), library.type);
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "unknown error"; // as the library says it
    }
    return {};
}

} // namespace

plugin_folder::plugin_folder()
    : path_(qor::platform::get_shared_library_search_path(
          qor::platform::module_directory_of(reinterpret_cast<const void*>(&qor_tavi_extractor_create)))),
      survey_(qor::runtime::survey_local_libraries(path_)) {}

std::string plugin_folder::skipped() const {
    std::string lines;
    for (const auto& file : survey_.passed_over) {
        lines += "\n  skipped: " + printable(file.path) + ": " + printable(file.reason);
    }
    return lines;
}

bool plugin_folder::has_damaged_file() const noexcept {
    return std::any_of(survey_.passed_over.begin(), survey_.passed_over.end(),
                       [](const auto& file) { return file.is_damaged; });
}

std::string plugin_folder::where() const {
    return " (searched " + printable(path_) + ')' + skipped();
}

std::optional<command_error> plugin_folder::find_fault(const std::string& text,
                                                       std::initializer_list<const char*> types) const {
    for (const std::string type : types) {
        for (const auto& library : survey_.libraries) {
            if (library.type == type && fault_of(library) == text) {
                return command_error(printable(library.path) + ": error: " + printable(text), exit_code::plugin_failed);
            }
        }
    }
    return std::nullopt;
}

std::string plugin_folder::faults() const {
    std::string lines;
    for (const auto& library : survey_.libraries) {
        if (const std::string fault = is_plugin_type(library.type) ? fault_of(library) : ""; !fault.empty()) {
            lines += "\n  cannot be used: " + printable(library.path) + ": " + printable(fault);
        }
    }
    return lines;
}

std::optional<command_error> registration_error(const std::string& text, const std::string& place,
                                                const std::string& type, const std::string& hint) try {
    constexpr std::string_view no_parser = "failed to find a data description parser";
    const plugin_folder folder;
    if (text.starts_with(no_parser)) {
        const std::string message = place + ": error: " + printable(text);
        if (type == "dbc" || type == "sdl" || type == "json") {
            return command_error(message + folder.where(), exit_code::plugin_failed);
        }
        // More likely a slip than a plug-in that is missing.
        return command_error(message + (folder.survey().passed_over.empty() ? "" : folder.where()), exit_code::failed,
                             hint);
    }
    return folder.find_fault(text, {processor_type});
} catch (const std::system_error&) {
    return std::nullopt; // the folder cannot be read
}

command_error start_error(const std::string& text) {
    const std::string message = "tavi: error: " + printable(text);
    try {
        const plugin_folder folder;
        if (text.find(folder.path() + '/') != std::string::npos) {
            return command_error(message, exit_code::plugin_failed); // it names the file
        }
        const auto& libraries = folder.survey().libraries;
        const bool has_storage = std::any_of(libraries.begin(), libraries.end(),
                                             [](const auto& library) { return library.type == storage_type; });
        if (!has_storage) {
            return command_error(message + folder.where(), exit_code::plugin_failed);
        }
        if (const auto fault = folder.find_fault(text, {storage_type, matcher_type, parser_type})) {
            return *fault;
        }
        return command_error(message + folder.faults(), exit_code::plugin_failed);
    } catch (const std::system_error&) {
        return command_error(message, exit_code::plugin_failed);
    }
}

command_error missing_format_error(const std::string& format) {
    return command_error("tavi: error: no plug-in supports packages of format '" + format + '\'' +
                             plugin_folder().where(),
                         exit_code::plugin_failed);
}

void require_matcher(std::initializer_list<const char*> formats) {
    const plugin_folder folder;
    for (const auto& library : folder.survey().libraries) {
        if (library.type != matcher_type) {
            continue;
        }
        const std::vector<std::string> taken = summarise_plugin(library.path).formats;
        if (std::find_first_of(taken.begin(), taken.end(), formats.begin(), formats.end()) != taken.end()) {
            return;
        }
    }
    throw missing_format_error(*formats.begin());
}

} // namespace tavi::tool
