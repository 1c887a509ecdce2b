// How plug-ins are found.
#ifndef QORCPP_LIBRARY_SEARCH_HPP
#define QORCPP_LIBRARY_SEARCH_HPP

#include <string>
#include <vector>

#include "qorcpp/export.hpp"

namespace qor::runtime {

// The shared libraries in the directory `search_path` whose metadata holds the line "qor-library-type=WORD": full
// paths, sorted by file name. Nothing is loaded; files that are no intact libraries are passed over. A directory that
// is not there or cannot be read gives none.
QORCPP_API std::vector<std::string> search_local_libraries(const std::string& search_path, const std::string& word);

} // namespace qor::runtime

#endif
