// The log of a run: its bytes, and the recording that they are.
#ifndef TOOLS_TAVI_DECODE_LOG_INPUT_HPP
#define TOOLS_TAVI_DECODE_LOG_INPUT_HPP

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "tavi/recording.hpp"
#include "tools/tavi/options.hpp"
#include "tools/tavi/report/account.hpp"
#include "tools/tavi/report/diagnostics.hpp"

namespace tavi::tool {

// What a run is called for while its log is read.
struct log_events {
    // The next read may wait for more.
    std::function<void()> before_wait;
    // So many bytes of the file were read by now.
    std::function<void(std::uint64_t)> progress;
};

// Thread: one at a time, `end` any.
class log_input {
public:
    // Opens the file. Throws: command_error.
    explicit log_input(const decode_options& options);
    ~log_input();

    // Bytes of a regular file; nothing for pipes and terminals.
    std::optional<std::uint64_t> size() const noexcept;

    // Whether `open` would wait for a pipe, though the command line has what is needed to begin.
    bool is_pipe_with_descriptions() const noexcept;

    // Finds the reader plug-ins, reporting files that are none, and opens the recording: by the format of the options,
    // else by its content. Waits for a pipe until its beginning shows what it is. Throws: command_error that names the
    // format of a log that is not read here.
    host::recording& open(message_sink& messages);
    host::recording& recording() noexcept { return *recording_; }

    // From the next read on. None at first.
    void set_events(log_events events);
    // Bytes of the file that were read.
    std::uint64_t bytes_read() const noexcept;

    // As qor::platform::input_stream::end.
    void end() noexcept;

    // Throws: command_error when something was damaged and nothing else was read.
    void check_something_read(const account& totals) const;

private:
    class stream;

    const decode_options& options_;
    const std::string name_;
    // Belongs to the recording once that is open.
    std::unique_ptr<stream> unopened_;
    stream* stream_;
    std::optional<host::recording_readers> readers_;
    std::optional<host::recording> recording_;
};

// What a record of a format looks like, where a message should say so; empty for formats whose faults say it.
struct record_example {
    const char* form = "";    // completes a message about one record
    const char* example = ""; // of a log of which nothing could be read
};
record_example example_of(const std::string& format);

} // namespace tavi::tool

#endif
