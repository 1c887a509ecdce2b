// tavi schema: the layout of a message or signal.
#ifndef TOOLS_TAVI_SCHEMA_COMMAND_HPP
#define TOOLS_TAVI_SCHEMA_COMMAND_HPP

#include "tools/tavi/exit_code.hpp"
#include "tools/tavi/options.hpp"

namespace tavi::tool {

// Throws: command_error, qor::platform::closed_pipe_error.
exit_code run_schema(const schema_options& options);

} // namespace tavi::tool

#endif
