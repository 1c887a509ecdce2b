// Loads one plug-in and reports what a host would stumble over.
#ifndef TOOLS_TAVI_CHECK_PLUGIN_CHECK_HPP
#define TOOLS_TAVI_CHECK_PLUGIN_CHECK_HPP

#include <string>
#include <vector>

#include "tools/tavi/check/checker.hpp"

namespace tavi::tool {

// What a plug-in file is and which formats or description types it serves. Loads it to ask.
struct plugin_summary {
    std::string type;    // the type word of its metadata
    std::string version; // of the library
    std::vector<std::string> formats;
    std::string failure; // why it could not be asked, or empty
};

// Empty type when the file has no metadata.
plugin_summary summarise_plugin(const std::string& path);

// All checks, in the order in which a host would meet the faults; they end where nothing further can be asked. Each is
// reported before the next begins, and announced, because a bad plug-in may crash, hang or end the process: see
// check_process.hpp. `recording`: a file that a recording reader is to read as well; may be empty.
void check_plugin(const std::string& path, const std::string& recording, const verdict_sink& tell);

} // namespace tavi::tool

#endif
