// Files that a command writes must not be those that it reads.
#ifndef TOOLS_TAVI_OUTPUT_WRITTEN_FILES_HPP
#define TOOLS_TAVI_OUTPUT_WRITTEN_FILES_HPP

#include "tools/tavi/options.hpp"

namespace tavi::tool {

// Compares by file, not by name: log, descriptions, catalogue with its journals, output, report, the temporary names of
// the last two. Also standard input and output, when they are files. Pipes and devices such as /dev/null may be
// both read and written.
//
// To be called before any of them is opened for writing. Throws: command_error
// "FILE: error: the output would overwrite the log that is read" and the like.
void check_written_files(const decode_options& options);

// The same for a command that writes to standard output.
void check_written_files(const catalogue_options& options);

} // namespace tavi::tool

#endif
