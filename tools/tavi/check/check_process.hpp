// A plug-in checked in a child process, so that there is a verdict whatever the plug-in does.
#ifndef TOOLS_TAVI_CHECK_CHECK_PROCESS_HPP
#define TOOLS_TAVI_CHECK_CHECK_PROCESS_HPP

#include <string>

#include "qorcpp/platform/child_process.hpp"
#include "tools/tavi/check/checker.hpp"

namespace tavi::tool {

// The option of `tavi plugins` by which the child is started, with the file of the plug-in; not for users.
inline constexpr const char* check_in_child_option = "--check-in-child";

// Runs check_plugin in a child and passes its verdicts on, without those of kind `trying`. A crash, an end of the
// process or a limit that is passed becomes a fault of the step that was tried.
// Returns false when the check was interrupted. Throws: std::system_error when no child can be started.
bool check_plugin_in_child(const std::string& path, const std::string& recording,
                           const qor::platform::child_limits& limits, const verdict_sink& tell);

// The child's side.
void report_check_to_parent(const std::string& path, const std::string& recording);

} // namespace tavi::tool

#endif
