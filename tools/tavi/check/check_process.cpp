// The child sends a line for each verdict, its kind as one character and its text:
//
//     ?loads, has its entry symbols, makes an instance and gives a locator
//     +loads, has its entry symbols, makes an instance and gives a locator
//     .
//
// The line "." comes after the last verdict: a child that ends without it was ended by the plug-in, which is then at
// fault in the step of the last line that began with "?".
#include "tools/tavi/check/check_process.hpp"

#include <sstream>
#include <string_view>

#include "qorcpp/platform/module.hpp"
#include "tools/tavi/check/plugin_check.hpp"
#include "tools/tavi/report/printable.hpp"

namespace tavi::tool {

namespace {

constexpr char end_mark = '.';
constexpr std::size_t longest_line = 4096;

struct kind_mark {
    enum verdict::kind kind;
    char mark;
};
constexpr kind_mark marks[] = {
    {verdict::kind::trying, '?'}, {verdict::kind::good, '+'}, {verdict::kind::note, 'i'}, {verdict::kind::bad, '-'}};

// Reads the lines of a child.
class report_reader {
public:
    explicit report_reader(const verdict_sink& tell) : tell_(tell) {}

    void take(std::string_view bytes) {
        for (const char byte : bytes) {
            if (byte == '\n') {
                take_line();
                line_.clear();
            } else if (line_.size() < longest_line) {
                line_ += byte;
            }
        }
    }

    bool has_ended() const noexcept { return has_ended_; }
    const std::string& step() const noexcept { return step_; }

private:
    void take_line() {
        if (line_.empty()) {
            return;
        }
        has_ended_ = line_[0] == end_mark;
        for (const auto& [kind, mark] : marks) {
            if (mark == line_[0] && kind == verdict::kind::trying) {
                step_ = line_.substr(1);
            } else if (mark == line_[0]) {
                tell_({kind, line_.substr(1)});
            }
        }
    }

    const verdict_sink& tell_;
    std::string line_;
    std::string step_ = "the check begins";
    bool has_ended_ = false;
};

std::string seconds_text(std::chrono::milliseconds time) {
    std::ostringstream text;
    text << std::chrono::duration<double>(time).count() << " s";
    return text.str();
}

// What the plug-in did to its process, or nothing.
std::string fault_of(const qor::platform::child_end& end, bool reports_ended,
                     const qor::platform::child_limits& limits) {
    using kind = qor::platform::child_end::kind;
    switch (end.how) {
    case kind::timed_out:
        return "it has not ended within " + seconds_text(limits.time);
    case kind::crashed:
        return "it crashed: " + end.cause;
    case kind::exited:
        if (!reports_ended || end.exit_code != 0) {
            return "it ended the process, with exit code " + std::to_string(end.exit_code);
        }
        break;
    case kind::interrupted:
        break;
    }
    return "";
}

} // namespace

bool check_plugin_in_child(const std::string& path, const std::string& recording,
                           const qor::platform::child_limits& limits, const verdict_sink& tell) {
    std::vector<std::string> arguments{"plugins", check_in_child_option, path};
    if (!recording.empty()) {
        arguments.insert(arguments.end(), {"--recording", recording});
    }
    report_reader reader(tell);
    const auto end = qor::platform::run_limited(qor::platform::get_current_module_path(), arguments, limits,
                                                [&](std::string_view bytes) { reader.take(bytes); });
    if (end.how == qor::platform::child_end::kind::interrupted) {
        return false;
    }
    if (const std::string fault = fault_of(end, reader.has_ended(), limits); !fault.empty()) {
        tell({verdict::kind::bad, reader.step() + ": " + fault});
    } else if (end.left_processes) {
        tell({verdict::kind::bad, "leaves no processes running: it did, they were ended"});
    }
    return true;
}

void report_check_to_parent(const std::string& path, const std::string& recording) {
    check_plugin(path, recording, [](const verdict& verdict) {
        for (const auto& [kind, mark] : marks) {
            if (kind == verdict.kind) {
                qor::platform::report_to_parent(mark + printable(verdict.text).substr(0, longest_line - 1) + '\n');
            }
        }
    });
    qor::platform::report_to_parent(std::string(1, end_mark) + '\n');
}

} // namespace tavi::tool
