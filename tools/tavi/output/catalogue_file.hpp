// Which file a storage URI names.
#ifndef TOOLS_TAVI_OUTPUT_CATALOGUE_FILE_HPP
#define TOOLS_TAVI_OUTPUT_CATALOGUE_FILE_HPP

#include <string>
#include <vector>

namespace tavi::tool {

// The path in "file:PATH?KEY=VALUE&..." or "file://localhost/PATH", where %20 and the like are characters; any other
// text is a path itself. Empty for a catalogue in memory.
std::string catalogue_file(const std::string& uri);

// All files that the storage may write or remove for a catalogue in the file `path`: itself, then its journals.
std::vector<std::string> catalogue_files(const std::string& path);

} // namespace tavi::tool

#endif
