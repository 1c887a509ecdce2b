// The commands of `tavi`, a source each. Each takes its parsed options and returns the exit code of the process.
//
// Throws: command_error with what to print and the exit code, qor::platform::closed_pipe_error when the reader of the
// standard output closed it.
#ifndef TOOLS_TAVI_COMMANDS_COMMANDS_HPP
#define TOOLS_TAVI_COMMANDS_COMMANDS_HPP

#include "tools/tavi/exit_code.hpp"
#include "tools/tavi/options.hpp"

namespace tavi::tool {

exit_code run_decode(const decode_options& options);
exit_code run_filter(const filter_options& options);
// plugin_failed when a plug-in could not be queried, or a check found a fault.
exit_code run_plugins(const plugins_options& options);
exit_code run_register(const register_options& options);
exit_code run_schema(const schema_options& options);
exit_code run_tree(const tree_options& options);

} // namespace tavi::tool

#endif
