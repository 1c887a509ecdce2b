// tavi decode: the physical values of a recording.
#ifndef TOOLS_TAVI_DECODE_COMMAND_HPP
#define TOOLS_TAVI_DECODE_COMMAND_HPP

#include "tools/tavi/exit_code.hpp"
#include "tools/tavi/options.hpp"

namespace tavi::tool {

// Throws: command_error, qor::platform::closed_pipe_error.
exit_code run_decode(const decode_options& options);

} // namespace tavi::tool

#endif
