// A part of the program's own work done in a child process, because it may crash, hang or take all memory.
//
//   1. The parent calls run_limited with its own program file and the arguments of a run that does the work.
//   2. The child does the work and calls report_to_parent as it goes on.
//   3. run_limited hands these reports on as they come, ends the child when it passes a limit, and everything that the
//      child has started when it has ended.
#ifndef QORCPP_PLATFORM_CHILD_PROCESS_HPP
#define QORCPP_PLATFORM_CHILD_PROCESS_HPP

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "qorcpp/export.hpp"

namespace qor::platform {

struct child_limits {
    // From the start of the child on.
    std::chrono::milliseconds time;
    // Bytes of address space. Not applied in builds with AddressSanitizer or ThreadSanitizer, which reserve terabytes.
    std::uint64_t memory;
};

// How a child ended.
struct child_end {
    enum class kind {
        exited,     // by itself, with `exit_code`
        crashed,    // `cause` names the reason, for example "Segmentation fault"
        timed_out,  // it was ended at the limit of time
        interrupted // it was ended because `interrupted` became true: see stream.hpp
    } how;
    int exit_code = 0;
    std::string cause;
    // Processes that the child had started were still running, and were ended.
    bool left_processes = false;
};

// Runs a program. The child reads nothing, and its standard output goes to standard error.
//
// program    its file
// arguments  without the name of the program
// report     gets the bytes of report_to_parent, in order, in chunks of any size; not called after the end
//
// Throws: std::system_error when no child can be started; what `report` throws, after the child was ended.
// Thread: one call at a time in a process, without other children.
QORCPP_API child_end run_limited(const std::string& program, const std::vector<std::string>& arguments,
                                 const child_limits& limits, const std::function<void(std::string_view)>& report);

// In a child of run_limited. Throws: std::system_error.
QORCPP_API void report_to_parent(std::string_view bytes);

} // namespace qor::platform

#endif
