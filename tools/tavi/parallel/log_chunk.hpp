// A piece of a log, and what its decoding gave: rows, messages and counts, kept until those of earlier pieces are out.
#ifndef TOOLS_TAVI_PARALLEL_LOG_CHUNK_HPP
#define TOOLS_TAVI_PARALLEL_LOG_CHUNK_HPP

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tavi/candump_reader.hpp"
#include "tools/tavi/report/account.hpp"
#include "tools/tavi/report/diagnostics.hpp"

namespace tavi::tool {

// A message as it was reported; lines count from the beginning of the chunk.
struct kept_message {
    topic kind;
    std::string file;
    std::uint64_t line;
    std::size_t column;
    std::string cause;
    std::string source_line;
    std::string hint;
    std::uint64_t subject; // see message_sink::set_subject
};

// Buffers are used again for later chunks.
struct log_chunk {
    // Counts from 0 in the order of the log.
    std::size_t number = 0;
    // Whole lines; the last one of a log as it is.
    std::vector<char> text;
    std::size_t text_size = 0;
    // Bytes of the log that were read for it, for a progress bar.
    std::uint64_t bytes_read = 0;

    std::vector<char> rows;
    std::size_t rows_size = 0;
    std::vector<kept_message> messages;
    // By topic: how many more there were.
    std::array<std::uint64_t, message_sink::kinds> further_messages{};
    frame_counts counts;
    std::uint64_t lines = 0;
    // What ended the run behind all of that; null in general.
    std::exception_ptr failure;

    std::string_view whole_text() const noexcept { return {text.data(), text_size}; }
    std::string_view whole_rows() const noexcept { return {rows.data(), rows_size}; }
};

// Kinds of which so many were printed that the others are only counted. Thread: any.
using silent_kinds = std::array<std::atomic<bool>, message_sink::kinds>;

// Keeps the messages of one chunk after the other. Thread: one at a time.
class kept_messages final : public message_sink {
public:
    explicit kept_messages(const silent_kinds& silent) : silent_(silent) {}

    void report(const diagnostic& message) override;
    // Messages of descriptions and notes are few, and it shows later only which are told already.
    bool shows(topic kind) const noexcept override;
    void add(topic kind) noexcept override { ++further_[index(kind)]; }
    std::uint64_t count(topic kind) const noexcept override { return kept_count_[index(kind)] + further_[index(kind)]; }
    void set_subject(std::uint64_t subject) noexcept override { subject_ = subject; }

    // Hands over what was reported since the last time.
    void move_to(log_chunk& chunk);

private:
    const silent_kinds& silent_;
    std::vector<kept_message> kept_;
    std::array<std::uint64_t, kinds> kept_count_{};
    std::array<std::uint64_t, kinds> further_{};
    std::uint64_t subject_ = 0;
};

// Cuts a log into chunks of whole lines. Thread: one at a time.
class chunk_cutter {
public:
    // live  the source gives what is there and waits only while nothing is: whole lines are handed on at once
    // size  bytes that a chunk should have; longer lines make it longer
    // end   makes a source that waits end; empty when it never waits
    chunk_cutter(host::byte_source source, bool live, std::size_t size, std::function<void()> end = {});

    // The next chunk; false at the end of the log. What the source throws becomes the chunk's failure.
    bool fill(log_chunk& chunk);

    // Nothing more is wanted, of the source neither. Thread: any.
    void end() const;

private:
    bool read_more(log_chunk& chunk, std::size_t wanted);
    std::size_t read(log_chunk& chunk, char* buffer, std::size_t room);
    void skip_rest_of_line(log_chunk& chunk);

    host::byte_source source_;
    bool live_;
    std::size_t size_;
    std::function<void()> end_;
    // The beginning of the line behind the last chunk.
    std::vector<char> rest_;
    bool ended_ = false;
    std::uint64_t bytes_read_ = 0;
};

} // namespace tavi::tool

#endif
