// The log of a run: what it is, and its bytes.
#ifndef TOOLS_TAVI_DECODE_LOG_INPUT_HPP
#define TOOLS_TAVI_DECODE_LOG_INPUT_HPP

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "qorcpp/platform/stream.hpp"
#include "tools/tavi/options.hpp"
#include "tools/tavi/report/account.hpp"

namespace tavi::tool {

// Thread: one at a time, `end` any.
class log_input {
public:
    // Opens the log. Throws: command_error.
    explicit log_input(const decode_options& options);

    // Bytes of a regular file; nothing for pipes and terminals.
    std::optional<std::uint64_t> size() const noexcept { return stream_.size(); }

    // Whether `recognise` would wait for a pipe, though the command line has what is needed to begin.
    bool is_pipe_with_descriptions() const noexcept;

    // Whether the log is NMEA 0183: as --input says, else by its beginning, up to 64 KiB. It waits for a pipe until a
    // line comes that looks like a frame or a sentence, since nothing before it gives a value.
    // Throws: command_error that names the format of a log that is not read here.
    bool is_nmea();

    // As input_stream::read, with the bytes first that `is_nmea` looked at. Throws: std::system_error.
    std::size_t read(char* buffer, std::size_t room);

    // Whether the next `read` may wait for more.
    bool may_wait() const noexcept { return used_ == beginning_.size() && !size(); }

    // As input_stream::end.
    void end() noexcept { stream_.end(); }

    // Throws: command_error when lines were damaged and nothing else was read.
    void check_something_read(const account& totals) const;

    // The stream, for a log that was not looked at.
    qor::platform::input_stream& stream() noexcept { return stream_; }

private:
    bool read_ahead();
    void keep_beginning(const char* bytes, std::size_t count);

    const decode_options& options_;
    const std::string name_;
    qor::platform::input_stream stream_;
    // What was read to see what the log is, and how much of that was read again.
    std::string beginning_;
    std::size_t used_ = 0;
    bool ended_ = false;
};

} // namespace tavi::tool

#endif
