// Files that a command writes must not be those that it reads.
#ifndef TOOLS_TAVI_OUTPUT_WRITTEN_FILES_HPP
#define TOOLS_TAVI_OUTPUT_WRITTEN_FILES_HPP

#include "tools/tavi/options.hpp"

namespace tavi::tool {

// To be asked before any of them is opened for writing, which empties it. What is no regular file, such as /dev/null,
// may be both.
// Throws: command_error "FILE: error: is the log that is read", "... is a description that is read", "... is written
// twice, as output and as report".
void check_written_files(const decode_options& options);

} // namespace tavi::tool

#endif
