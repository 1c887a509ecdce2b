// tavi tree: what descriptions hold.
#ifndef TOOLS_TAVI_TREE_COMMAND_HPP
#define TOOLS_TAVI_TREE_COMMAND_HPP

#include "tools/tavi/exit_code.hpp"
#include "tools/tavi/options.hpp"

namespace tavi::tool {

// Throws: command_error, qor::platform::closed_pipe_error.
exit_code run_tree(const tree_options& options);

} // namespace tavi::tool

#endif
