// tavi register: descriptions into a catalogue on disk.
#ifndef TOOLS_TAVI_REGISTER_COMMAND_HPP
#define TOOLS_TAVI_REGISTER_COMMAND_HPP

#include "tools/tavi/exit_code.hpp"
#include "tools/tavi/options.hpp"

namespace tavi::tool {

// Throws: command_error, qor::platform::closed_pipe_error.
exit_code run_register(const register_options& options);

} // namespace tavi::tool

#endif
