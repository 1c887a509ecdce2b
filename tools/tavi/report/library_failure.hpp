// A call of the library that failed while a command was at work.
#ifndef TOOLS_TAVI_REPORT_LIBRARY_FAILURE_HPP
#define TOOLS_TAVI_REPORT_LIBRARY_FAILURE_HPP

#include <string>
#include <string_view>

#include "tavi/error.hpp"
#include "tools/tavi/exit_code.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

// The error that the command ends with. `place` is what was worked on. A catalogue that is damaged, full or locked is
// at fault itself; else a plug-in failed.
inline command_error library_failure(const std::string& place, const host::error& error) {
    constexpr std::string_view of_catalogue = "signal storage '";
    const std::string text = ": error: " + printable(error.what());
    return std::string_view(error.what()).starts_with(of_catalogue)
               ? command_error("tavi" + text)
               : command_error(place + text, exit_code::plugin_failed);
}

} // namespace tavi::tool

#endif
