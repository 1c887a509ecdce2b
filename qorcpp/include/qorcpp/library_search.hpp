// How plug-ins are found. Nothing is loaded. All texts are UTF-8. Thread: any.
#ifndef QORCPP_LIBRARY_SEARCH_HPP
#define QORCPP_LIBRARY_SEARCH_HPP

#include <string>
#include <vector>

#include "qorcpp/export.hpp"

namespace qor::runtime {

// The shared libraries in the directory `search_path` whose metadata has the line "qor-library-type=WORD": full paths,
// sorted by file name. Files that are no whole libraries, or have no metadata, are passed over, see
// survey_local_libraries. A directory that does not exist has no libraries.
// Throws: std::system_error with the errno value when the directory or a file that is named as a library cannot be
// read, such as for a lack of handles, memory or permission: a search that did not see all files has no result.
QORCPP_API std::vector<std::string> search_local_libraries(const std::string& search_path, const std::string& word);

// A library with metadata.
struct found_library {
    std::string path;
    // The value of the line "qor-library-type", such as "data-matcher".
    std::string type;
};

// A file that is named as a library and cannot be used as one.
struct passed_over_file {
    std::string path;
    // Without the path: "cut short: its headers describe 712344 bytes, it has 20000".
    std::string reason;
    // False for a whole library without metadata: it is not one of this system, but plug-ins may use it.
    bool is_damaged = true;
};

struct library_survey {
    std::vector<found_library> libraries;
    std::vector<passed_over_file> passed_over;
};

// All files in the directory `search_path` that are named as libraries, each in one of the two lists, sorted by file
// name. A file that cannot be read is passed over with the system's reason. A directory that does not exist gives none.
// Throws: std::system_error when the directory cannot be read.
QORCPP_API library_survey survey_local_libraries(const std::string& search_path);

} // namespace qor::runtime

#endif
