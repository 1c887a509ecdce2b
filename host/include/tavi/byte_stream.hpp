// The bytes of a recording: a file, a pipe, what a program has, or any of these decompressed.
#ifndef TAVI_BYTE_STREAM_HPP
#define TAVI_BYTE_STREAM_HPP

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tavi::host {

// Damage of a compressed stream.
struct stream_fault {
    // Byte offset in the compressed file.
    std::uint64_t offset = 0;
    // "the compressed data end within a frame"
    std::string cause;
    std::string hint;
};

// Thread: one at a time.
class byte_stream {
public:
    virtual ~byte_stream() = default;

    // Fills up to `room` bytes (`room` > 0), waiting only while there is none; 0 only at the end, and from an interrupt
    // on (qor::platform::interrupted). Throws: std::system_error.
    virtual std::size_t read(char* buffer, std::size_t room) = 0;

    // Bytes of the whole, where that is known: a regular file.
    virtual std::optional<std::uint64_t> size() const noexcept { return std::nullopt; }

    virtual bool can_seek() const noexcept { return false; }
    // Goes on at an offset from the beginning. Requires: can_seek(). Throws: std::system_error.
    virtual void seek(std::uint64_t) {}

    // What ended a compressed stream before its end; null for none.
    virtual const stream_fault* fault() const noexcept { return nullptr; }

    // What it is compressed by, such as "gzip"; empty for none.
    virtual std::string compression() const { return {}; }
};

// Throws: std::system_error with the system's text when the file cannot be opened or is a directory.
std::unique_ptr<byte_stream> open_file(const std::string& path);
std::unique_ptr<byte_stream> open_standard_input();
// An open file or pipe of the caller, which stays open.
std::unique_ptr<byte_stream> open_descriptor(int descriptor);

// Bytes that a function reads, as byte_stream::read.
using byte_source = std::function<std::size_t(char* buffer, std::size_t room)>;
std::unique_ptr<byte_stream> open_source(byte_source source, std::optional<std::uint64_t> size = std::nullopt);

// The content of a stream that is compressed by gzip, zstd or lz4 (frames), recognised by its first bytes; any other
// stream as it is. Members and frames that follow one another are one content. Constant memory. Damage ends the content
// and is the stream's `fault`; what comes before it is delivered.
// Throws: what reading throws; std::bad_alloc.
std::unique_ptr<byte_stream> decompressed(std::unique_ptr<byte_stream> stream);

} // namespace tavi::host

#endif
