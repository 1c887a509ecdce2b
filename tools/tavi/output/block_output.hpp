// A block of output that leaves in whole lines.
#ifndef TOOLS_TAVI_OUTPUT_BLOCK_OUTPUT_HPP
#define TOOLS_TAVI_OUTPUT_BLOCK_OUTPUT_HPP

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "qorcpp/platform/output_file.hpp"
#include "qorcpp/platform/stream.hpp"

namespace tavi::tool {

// Text that is copied in steps of `stride` bytes without asking for its exact length: faster for the short pieces that
// rows are made of.
class padded_text {
public:
    static constexpr std::size_t stride = 32;

    padded_text() { assign({}); }
    explicit padded_text(std::string_view text) { assign(text); }

    // Two pieces joined; takes no memory once the text was as long before.
    void assign(std::string_view first, std::string_view second = {}) {
        size_ = first.size() + second.size();
        if (const std::size_t room = (size_ / stride + 1) * stride; bytes_.size() < room) {
            bytes_.resize(room);
        }
        second.copy(bytes_.data() + first.copy(bytes_.data(), first.size()), second.size());
    }

    std::string_view view() const noexcept { return {bytes_.data(), size_}; }

    // Room needed at `target`: size() + stride bytes, of which the first size() count. Gives the place behind them.
    char* copy_to(char* target) const noexcept { return copy(bytes_.data(), size_, target); }

    // The same with a piece of a text that goes on for `stride` bytes behind it.
    static char* copy(const char* source, std::size_t size, char* target) noexcept {
        std::memcpy(target, source, stride);
        for (std::size_t done = stride; done < size; done += stride) {
            std::memcpy(target + done, source + done, stride);
        }
        return target + size;
    }

    std::size_t size() const noexcept { return size_; }

private:
    std::string bytes_;
    std::size_t size_ = 0;
};

// A block that rows are written into. Thread: one at a time.
class row_output {
public:
    explicit row_output(std::size_t size) : block_(size) {}
    row_output(const row_output&) = delete;
    row_output& operator=(const row_output&) = delete;
    virtual ~row_output() = default;

    // Place for at least `count` bytes; what was written there, whole lines only, counts from `commit` on.
    // Throws: what emptying a full block throws.
    char* reserve(std::size_t count) {
        if (block_.size() - used_ < count) {
            make_room(count);
        }
        return block_.data() + used_;
    }
    void commit(const char* end) noexcept { used_ = static_cast<std::size_t>(end - block_.data()); }

    // Whole lines. Throws: as reserve.
    void write(std::string_view lines);

protected:
    // Makes room for `count` bytes: empties the block or makes it larger.
    virtual void make_room(std::size_t count) = 0;

    std::vector<char> block_;
    std::size_t used_ = 0;
};

// A block that is written to a file or stream when it is full. A file has its name only once it is closed: without
// that, nothing of it is left when the object ends.
class block_output final : public row_output {
public:
    // Standard output for an empty path. Throws: output_error when the file cannot be written.
    explicit block_output(const std::string& path);

    bool is_terminal() const noexcept { return standard_ ? standard_->is_terminal() : file_->is_terminal(); }

    // Lines past the block, behind what stands in it. Throws: as flush.
    void write_through(std::string_view lines);

    // Throws: qor::platform::closed_pipe_error, output_error when writing fails.
    void flush();

    // Flushes, closes and gives the file its name. Throws: as flush.
    void close();

    // Instead of `close` for an output that does not have all that belongs into it: what was written, in whole lines,
    // is kept as "<path>.part". Gives that name; empty for standard output, pipes and devices. Throws: command_error.
    std::string close_part();

private:
    void make_room(std::size_t count) override;
    void write_out(std::string_view lines);

    std::string name_;
    // One of the two.
    std::unique_ptr<qor::platform::output_stream> standard_;
    std::unique_ptr<qor::platform::output_file> file_;
};

} // namespace tavi::tool

#endif
