// tavi plugins: which libraries stand beside the extractor, and whether a plug-in is fit to join them.
#ifndef TOOLS_TAVI_PLUGINS_COMMAND_HPP
#define TOOLS_TAVI_PLUGINS_COMMAND_HPP

#include "tools/tavi/exit_code.hpp"
#include "tools/tavi/options.hpp"

namespace tavi::tool {

// Exit codes: done; plugin_failed when a plug-in could not be asked, or a check found a fault. Throws: command_error.
exit_code run_plugins(const plugins_options& options);

} // namespace tavi::tool

#endif
