#include "qorcpp/library_search.hpp"

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <unordered_map>

#include "file_stamp.hpp"
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
std::string read_type(const std::string& path) {
    for (const metadata_entry& entry : parse_metadata(read_library_metadata(path))) {
        if (entry.key == "qor-library-type") {
            return entry.value;
        }
    }
    throw unusable_file("its metadata block has no line 'qor-library-type'");
}

// The types of files that were read once and have not changed since: a plug-in folder is searched at each registration
// of a source. Thread: any.
class known_types {
public:
    // Throws as read_type.
    std::string type_of(const std::string& path) {
        const auto stamp = platform::settled_stamp(path);
        if (!stamp) {
            return read_type(path);
        }
        const std::lock_guard lock(mutex_);
        if (const auto found = types_.find(path); found != types_.end() && found->second.stamp == *stamp) {
            return found->second.type;
        }
        std::string type = read_type(path);
        if (types_.size() >= limit) {
            types_.clear();
        }
        types_.insert_or_assign(path, known{*stamp, type});
        return type;
    }

private:
    struct known {
        platform::file_stamp stamp;
        std::string type;
    };

    static constexpr std::size_t limit = 1024;
    std::mutex mutex_;
    std::unordered_map<std::string, known> types_;
};

std::string type_of(const std::string& path) {
    static known_types types;
    return types.type_of(path);
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
