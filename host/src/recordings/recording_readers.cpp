#include <algorithm>
#include <cstdlib>
#include <exception>
#include <numeric>
#include <system_error>

#include "host/src/recordings/reader_plugin.hpp"
#include "qor_tavi_extractor/qor_tavi_extractor.h"
#include "qorc/text.hpp"
#include "qorcpp/library_search.hpp"
#include "qorcpp/platform/directory.hpp"
#include "qorcpp/platform/module.hpp"
#include "tavi/recording.hpp"

namespace tavi::host {

namespace {

#if defined(_WIN32)
constexpr char folder_separator = ';';
#else
constexpr char folder_separator = ':';
#endif

constexpr std::size_t most_formats = 4096;

std::vector<std::string> split(std::string_view list, char separator) {
    std::vector<std::string> parts;
    while (!list.empty()) {
        const std::string_view part = list.substr(0, list.find(separator));
        list.remove_prefix(std::min(part.size() + 1, list.size()));
        if (!part.empty()) {
            parts.emplace_back(part);
        }
    }
    return parts;
}

qor_recording_format_t format_at(const reader_plugin& plugin, std::size_t index) {
    qor_recording_format_t format{};
    qor_error_details_t* details = nullptr;
    plugin.formats.get_format(plugin.instance(), index, &format, &details);
    throw_reader_error(details);
    return format;
}

} // namespace

void throw_reader_error(qor_error_details_t*& details) {
    if (details == nullptr) {
        return;
    }
    const auto code = static_cast<qor_status_t>(qor_error_details_get_code(details));
    try {
        qor::rethrow_details(details);
    } catch (const std::exception& failure) {
        throw error(code, failure.what());
    }
}

recording_readers::recording_readers(const std::vector<std::string>& folders) {
    std::vector<std::string> all = folders;
    if (const char* const path = std::getenv("TAVI_PLUGIN_PATH")) {
        for (std::string& folder : split(path, folder_separator)) {
            all.push_back(std::move(folder));
        }
    }
    for (const std::string& folder : all) {
        add_folder(folder, false);
    }
    add_folder(qor::platform::module_directory_of(reinterpret_cast<const void*>(&qor_tavi_extractor_create)), true);
    std::vector<std::size_t> order(formats_.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(),
              [&](std::size_t left, std::size_t right) { return formats_[left].name < formats_[right].name; });
    std::vector<readable_format> formats;
    std::vector<place> places;
    for (const std::size_t index : order) {
        formats.push_back(std::move(formats_[index]));
        places.push_back(std::move(places_[index]));
    }
    formats_ = std::move(formats);
    places_ = std::move(places);
}

recording_readers::~recording_readers() = default;
recording_readers::recording_readers(recording_readers&&) noexcept = default;
recording_readers& recording_readers::operator=(recording_readers&&) noexcept = default;

void recording_readers::add_folder(const std::string& folder, bool is_own) {
    try {
        if (is_own) {
            for (const std::string& library : qor::runtime::search_local_libraries(folder, reader_type_word)) {
                add_library(library);
            }
            return;
        }
        // A folder that is not there is a slip of the pen.
        qor::platform::names_in_directory(folder);
        const qor::runtime::library_survey survey = qor::runtime::survey_local_libraries(folder);
        for (const qor::runtime::found_library& library : survey.libraries) {
            if (library.type == reader_type_word) {
                add_library(library.path);
            } else {
                unusable_.push_back({library.path, "a library of type " + library.type + ", not a recording reader"});
            }
        }
        for (const qor::runtime::passed_over_file& file : survey.passed_over) {
            unusable_.push_back({file.path, file.reason});
        }
    } catch (const std::system_error& failure) {
        unusable_.push_back({folder, "cannot be read: " + failure.code().message()});
    }
}

void recording_readers::add_library(const std::string& path) {
    try {
        const auto plugin = std::make_shared<const reader_plugin>(path);
        const std::size_t count = plugin->formats.get_format_count(plugin->instance());
        if (count > most_formats) {
            throw std::runtime_error("it has more than " + std::to_string(most_formats) + " formats");
        }
        for (std::size_t index = 0; index < count; ++index) {
            const qor_recording_format_t format = format_at(*plugin, index);
            const std::string name(qor::text_of(format.name));
            const auto same = std::find_if(formats_.begin(), formats_.end(),
                                           [&](const readable_format& other) { return other.name == name; });
            if (same != formats_.end()) {
                unusable_.push_back({path, "format '" + name + "' is read by " + same->library + " already"});
                continue;
            }
            formats_.push_back(
                {name, std::string(qor::text_of(format.description)), split(qor::text_of(format.suffixes), ' '), path});
            places_.push_back({plugin, index});
        }
    } catch (const std::exception& failure) {
        unusable_.push_back({path, failure.what()});
    }
}

std::optional<std::size_t> recording_readers::find(std::string_view name) const noexcept {
    const auto found = std::find_if(formats_.begin(), formats_.end(),
                                    [&](const readable_format& format) { return format.name == name; });
    return found != formats_.end() ? std::optional<std::size_t>(found - formats_.begin()) : std::nullopt;
}

recording_readers::recognition recording_readers::recognise(std::string_view beginning, bool is_whole) const {
    recognition result;
    for (std::size_t format = 0; format < formats_.size(); ++format) {
        const reader_plugin& plugin = *places_[format].plugin;
        std::int32_t certainty = QOR_RECORDING_IS_OTHER;
        qor_error_details_t* details = nullptr;
        plugin.formats.recognise(plugin.instance(), places_[format].index,
                                 reinterpret_cast<const std::uint8_t*>(beginning.data()), beginning.size(), is_whole,
                                 &certainty, &details);
        throw_reader_error(details);
        if (certainty > QOR_RECORDING_IS_OTHER) {
            result.answers.push_back({format, std::min(certainty, QOR_RECORDING_IS_CERTAIN)});
        }
        result.needs_more = result.needs_more || (certainty == QOR_RECORDING_NEEDS_MORE && !is_whole);
    }
    std::stable_sort(result.answers.begin(), result.answers.end(),
                     [](const answer& left, const answer& right) { return left.certainty > right.certainty; });
    return result;
}

} // namespace tavi::host
