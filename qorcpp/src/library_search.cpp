#include "qorcpp/library_search.hpp"

#include <algorithm>
#include <filesystem>

#include "qorcpp/metadata_section.hpp"
#include "qorcpp/platform/module.hpp"

namespace qor::runtime {

namespace {

namespace fs = std::filesystem;

std::string utf8_of(const fs::path& path) {
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

std::vector<std::string> library_names_in(const fs::path& directory) {
    std::vector<std::string> names;
    std::error_code code;
    fs::directory_iterator entry(directory, code);
    while (!code && entry != fs::directory_iterator()) {
        std::string name = utf8_of(entry->path().filename());
        if (platform::is_shared_library_file_name(name)) {
            names.push_back(std::move(name));
        }
        entry.increment(code);
    }
    std::sort(names.begin(), names.end());
    return names;
}

bool is_of_type(const std::string& path, const std::string& word) {
    const std::optional<std::string> section = read_metadata_section(path);
    if (!section) {
        return false;
    }
    const std::vector<metadata_entry> entries = parse_metadata(*section);
    return std::any_of(entries.begin(), entries.end(), [&](const metadata_entry& entry) {
        return entry.key == "qor-library-type" && entry.value == word;
    });
}

} // namespace

std::vector<std::string> search_local_libraries(const std::string& search_path, const std::string& word) {
    const fs::path directory(std::u8string(search_path.begin(), search_path.end()));
    std::vector<std::string> libraries;
    for (const std::string& name : library_names_in(directory)) {
        std::string path = utf8_of(directory / fs::path(std::u8string(name.begin(), name.end())));
        if (is_of_type(path, word)) {
            libraries.push_back(std::move(path));
        }
    }
    return libraries;
}

} // namespace qor::runtime
