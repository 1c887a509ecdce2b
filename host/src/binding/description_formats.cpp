#include "tavi/description_formats.hpp"

#include <algorithm>
#include <exception>

#include "qor_tavi_extractor/qor_tavi_extractor.h"
#include "qorc/extensibility/data_description_parser.h"
#include "qorc/text.hpp"
#include "qorcpp/library_search.hpp"
#include "qorcpp/platform/module.hpp"
#include "qorcpp/plugin_handle.hpp"

namespace tavi::host {

namespace {

constexpr const char* parser_type_word = "data-description-parser";

std::vector<std::string> split(std::string_view list) {
    std::vector<std::string> parts;
    while (!list.empty()) {
        const std::string_view part = list.substr(0, list.find(';'));
        list.remove_prefix(std::min(part.size() + 1, list.size()));
        if (!part.empty()) {
            parts.emplace_back(part);
        }
    }
    return parts;
}

void add_formats(const std::string& library_path, std::vector<description_format>& formats) {
    const qor::plugin_handle parser(library_path, parser_type_word);
    const auto& table = parser.table<qor_data_description_parser_format_support_t>();
    if (table.get_supported_file_format_count == nullptr || table.get_supported_file_format == nullptr) {
        return;
    }
    const std::size_t count = table.get_supported_file_format_count(parser.instance());
    for (std::size_t index = 0; index < count; ++index) {
        qor_data_description_file_format_t format{};
        qor_error_details_t* details = nullptr;
        table.get_supported_file_format(parser.instance(), index, &format, &details);
        qor::rethrow_details(details);
        formats.push_back({std::string(qor::text_of(format.description_type)),
                           std::string(qor::text_of(format.display_name)), split(qor::text_of(format.file_extensions)),
                           format.source_id_filter});
    }
}

} // namespace

std::vector<description_format> description_formats() {
    const std::string directory =
        qor::platform::module_directory_of(reinterpret_cast<const void*>(&qor_tavi_extractor_create));
    std::vector<description_format> formats;
    for (const std::string& library : qor::runtime::search_local_libraries(directory, parser_type_word)) {
        try {
            add_formats(library, formats);
        } catch (const std::exception&) {
            continue;
        }
    }
    return formats;
}

const description_format* find_format(const std::vector<description_format>& formats, std::string_view extension) {
    const auto has_type = [&](const description_format& format) { return format.type == extension; };
    const auto has_extension = [&](const description_format& format) {
        return std::find(format.extensions.begin(), format.extensions.end(), extension) != format.extensions.end();
    };
    auto found = std::find_if(formats.begin(), formats.end(), has_type);
    if (found == formats.end()) {
        found = std::find_if(formats.begin(), formats.end(), has_extension);
    }
    return found != formats.end() ? &*found : nullptr;
}

} // namespace tavi::host
