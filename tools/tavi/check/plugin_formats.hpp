// What a plug-in is by its file alone, and the formats or description types that it names.
#ifndef TOOLS_TAVI_CHECK_PLUGIN_FORMATS_HPP
#define TOOLS_TAVI_CHECK_PLUGIN_FORMATS_HPP

#include <map>
#include <string>
#include <vector>

#include "qorcpp/plugin_handle.hpp"

namespace tavi::tool {

// The keys and values of a library's metadata block; none when the file has no such block.
std::map<std::string, std::string> metadata_of(const std::string& path);

// Whether a type word of metadata is that of a plug-in.
bool is_plugin_type(const std::string& type);

// What the plug-in names, none for a signal storage. Throws: what the plug-in reports; std::runtime_error with the text
// of the library for a table or function that is missing, and for names and counts that no host could use.
std::vector<std::string> formats_of(const qor::plugin_handle& plugin, const std::string& type);

} // namespace tavi::tool

#endif
