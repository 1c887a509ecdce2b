// tavi filter: what a reader of packages has to let through.
#ifndef TOOLS_TAVI_FILTER_COMMAND_HPP
#define TOOLS_TAVI_FILTER_COMMAND_HPP

#include "tools/tavi/exit_code.hpp"
#include "tools/tavi/options.hpp"

namespace tavi::tool {

// Throws: command_error, qor::platform::closed_pipe_error.
exit_code run_filter(const filter_options& options);

} // namespace tavi::tool

#endif
