// Loads one plug-in and tells what a host would stumble over.
#ifndef TOOLS_TAVI_CHECK_PLUGIN_CHECK_HPP
#define TOOLS_TAVI_CHECK_PLUGIN_CHECK_HPP

#include <functional>
#include <string>
#include <vector>

namespace tavi::tool {

struct verdict {
    enum class kind { good, note, bad } kind;
    std::string text;
};

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
// told before the next begins, which a bad plug-in may not survive.
void check_plugin(const std::string& path, const std::function<void(const verdict&)>& tell);

} // namespace tavi::tool

#endif
