#include "qorcpp/library_search.hpp"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "library_file.hpp"
#include "qorcpp/metadata_section.hpp"
#include "qorcpp/platform/directory.hpp"
#include "qorcpp/platform/module.hpp"
#include "unusable_file.hpp"

namespace qor::runtime {

namespace {

namespace fs = std::filesystem;

std::string joined(const std::string& directory, const std::string& name) {
    const fs::path path =
        fs::path(std::u8string(directory.begin(), directory.end())) / std::u8string(name.begin(), name.end());
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

// Full paths, sorted by file name.
std::vector<std::string> library_paths_in(const std::string& directory) {
    std::vector<std::string> names;
    try {
        names = platform::names_in_directory(directory);
    } catch (const std::system_error& error) {
        if (error.code() != std::errc::no_such_file_or_directory && error.code() != std::errc::not_a_directory) {
            throw;
        }
    }
    std::erase_if(names, [](const std::string& name) { return !platform::is_shared_library_file_name(name); });
    for (std::string& name : names) {
        name = joined(directory, name);
    }
    return names;
}

// The type word of a library. Throws: unusable_file, std::system_error.
std::string type_of(const std::string& path) {
    for (const metadata_entry& entry : parse_metadata(read_library_metadata(path))) {
        if (entry.key == "qor-library-type") {
            return entry.value;
        }
    }
    throw unusable_file("its metadata block has no line 'qor-library-type'");
}

} // namespace

std::vector<std::string> search_local_libraries(const std::string& search_path, const std::string& word) {
    std::vector<std::string> libraries;
    for (std::string& path : library_paths_in(search_path)) {
        try {
            if (type_of(path) == word) {
                libraries.push_back(std::move(path));
            }
        } catch (const unusable_file&) {
            continue;
        }
    }
    return libraries;
}

library_survey survey_local_libraries(const std::string& search_path) {
    library_survey survey;
    for (const std::string& path : library_paths_in(search_path)) {
        try {
            survey.libraries.push_back({path, type_of(path)});
        } catch (const library_without_metadata& error) {
            survey.passed_over.push_back({path, error.what(), false});
        } catch (const unusable_file& error) {
            survey.passed_over.push_back({path, error.what()});
        } catch (const std::system_error& error) {
            survey.passed_over.push_back({path, "cannot be read: " + error.code().message()});
        }
    }
    return survey;
}

} // namespace qor::runtime
