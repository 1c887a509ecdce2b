// What the command tells its caller; docs/tavi.md lists the same.
#ifndef TOOLS_TAVI_EXIT_CODE_HPP
#define TOOLS_TAVI_EXIT_CODE_HPP

#include <stdexcept>
#include <string>
#include <utility>

#include "qorcpp/platform/stream.hpp"

namespace tavi::tool {

enum class exit_code {
    done = 0,          // all read and decoded
    failed = 1,        // the work could not be done
    usage = 2,         // the command line is wrong
    incomplete = 3,    // done, but something was damaged or skipped
    plugin_failed = 4, // a plug-in failed, is missing or cannot be used
    interrupted = 130  // ended early by SIGINT, SIGTERM or SIGHUP
};

// Ends a command. `what()` is a whole message in the form "place: error: cause", without line end.
class command_error : public std::runtime_error {
public:
    explicit command_error(const std::string& message, exit_code code = exit_code::failed, std::string hint = {})
        : std::runtime_error(message), code(code), hint(std::move(hint)) {}

    const exit_code code;
    const std::string hint;
};

// The output cannot be written.
class output_error : public command_error {
public:
    using command_error::command_error;
};

// Ends a command that has nothing to keep when it was interrupted.
inline void end_if_interrupted() {
    if (qor::platform::interrupted()) {
        throw command_error("tavi: interrupted", exit_code::interrupted);
    }
}

} // namespace tavi::tool

#endif
