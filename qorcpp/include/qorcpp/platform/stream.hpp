// Files and standard streams of a command: read as the bytes come, written whole, with interrupts and closed pipes told
// apart from failures.
#ifndef QORCPP_PLATFORM_STREAM_HPP
#define QORCPP_PLATFORM_STREAM_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "qorcpp/export.hpp"

namespace qor::platform {

// The reader at the other end of a pipe is gone: nobody wants more output.
class closed_pipe_error : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Thread: one at a time.
class QORCPP_API input_stream {
public:
    // Standard input, which stays open when the object ends.
    input_stream() noexcept;
    // Throws: std::system_error when the file cannot be opened or is a directory; its text is the system's.
    explicit input_stream(const std::string& path);
    // An open file, which stays open when the object ends.
    explicit input_stream(int descriptor) noexcept;
    ~input_stream();
    input_stream(const input_stream&) = delete;
    input_stream& operator=(const input_stream&) = delete;

    // Bytes of a regular file; nothing for pipes and terminals.
    std::optional<std::uint64_t> size() const noexcept { return size_; }

    // Up to `room` bytes (`room` > 0): what is there at once, waiting only while nothing is. 0 at the end, and from an
    // interrupt or `end` on. Throws: std::system_error.
    std::size_t read(char* buffer, std::size_t room);

    // Moves to a byte offset from the beginning of the file. Requires: size(). Throws: std::system_error.
    void seek(std::uint64_t offset);

    // Ends a pipe or terminal for the reader, also for one that waits; nothing for regular files, where none waits.
    // Thread: any.
    void end() noexcept;

private:
    bool wait();

    int descriptor_;
    bool owned_ = false;
    // A byte in it wakes the one who waits; none for regular files.
    std::array<int, 2> end_pipe_{-1, -1};
    std::optional<std::uint64_t> size_;
};

// Thread: one at a time.
class QORCPP_API output_stream {
public:
    // Standard output, which stays open when the object ends.
    output_stream() noexcept;
    // Makes or empties the file. Throws: std::system_error.
    explicit output_stream(const std::string& path);
    // Takes an open file over.
    explicit output_stream(int descriptor) noexcept : descriptor_(descriptor), owned_(true) {}
    ~output_stream();
    output_stream(const output_stream&) = delete;
    output_stream& operator=(const output_stream&) = delete;

    bool is_terminal() const noexcept;

    // Writes all of it, also when an interrupt comes meanwhile. Throws: closed_pipe_error, std::system_error.
    void write(const char* bytes, std::size_t count);

    // Tells what the system kept back until now. Throws: std::system_error.
    void close();

private:
    int descriptor_;
    bool owned_;
};

// From the call on SIGINT, SIGTERM and SIGHUP are noted instead of ending the process (a second one ends it), and
// writing into a closed pipe is an error instead of a signal. SIGHUP stays ignored where it was, as under nohup.
QORCPP_API void watch_interrupts();

// Whether one was noted.
QORCPP_API bool interrupted() noexcept;

// Whether messages on standard error are seen by a person at once.
QORCPP_API bool standard_error_is_terminal() noexcept;

} // namespace qor::platform

#endif
