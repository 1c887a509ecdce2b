// A part of a log, and what its decoding gave: rows, messages and counts, kept until those of earlier parts are out.
#ifndef TOOLS_TAVI_PARALLEL_LOG_CHUNK_HPP
#define TOOLS_TAVI_PARALLEL_LOG_CHUNK_HPP

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tavi/recording.hpp"
#include "tools/tavi/decode/log_sources.hpp"
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
    host::recording_place counts;
    std::uint64_t subject; // see message_sink::set_subject
};

// Packages and faults of a batch with all that they point to.
class kept_batch {
public:
    // Copies them.
    void assign(const host::recording_batch& batch);
    void clear() noexcept {
        packages_.clear();
        faults_.clear();
    }
    host::recording_batch batch() const noexcept { return {packages_, faults_}; }

private:
    std::string_view keep(std::string_view text);

    std::vector<qor_recorded_package_t> packages_;
    std::vector<host::recording_fault> faults_;
    std::string bytes_;
};

// Buffers are used again for later chunks.
struct log_chunk {
    // Counts from 0 in the order of the log.
    std::size_t number = 0;
    // Whole records, the last one of a log as it is; or packages of a reader that cannot be split.
    std::vector<char> text;
    std::size_t text_size = 0;
    kept_batch packages;
    host::recording_place counts = host::recording_place::line;
    bool is_text = true;
    // Large enough that another thread is worth while.
    bool is_full = false;

    std::vector<char> rows;
    std::size_t rows_size = 0;
    std::vector<kept_message> messages;
    // By topic: how many more there were.
    std::array<std::uint64_t, message_sink::kinds> further_messages{};
    // Printed after them.
    std::string printed;
    frame_counts totals;
    // What places of the next chunk are moved by.
    std::uint64_t extent = 0;
    // What ended the run after all of that; null in general. Where, in this chunk.
    std::exception_ptr failure;
    std::uint64_t failure_place = 0;
    bool is_reading_failure = false;

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
    void print(std::string_view text) override { printed_ += text; }

    // Hands over what was reported since the last time.
    void move_to(log_chunk& chunk);

private:
    const silent_kinds& silent_;
    std::vector<kept_message> kept_;
    std::array<std::uint64_t, kinds> kept_count_{};
    std::array<std::uint64_t, kinds> further_{};
    std::uint64_t subject_ = 0;
    std::string printed_;
};

// Gives the chunks of a log, in order. Thread: one at a time, `end` any.
class chunk_source {
public:
    virtual ~chunk_source() = default;

    // The next chunk; false at the end of the log. What reading throws becomes the chunk's failure.
    virtual bool fill(log_chunk& chunk) = 0;

    // Nothing more is needed: a read that waits ends.
    virtual void end() const = 0;
};

// Cuts a log into chunks of whole records.
class chunk_cutter final : public chunk_source {
public:
    // Bytes of whole records at the beginning of the data, see host::recording::find_end.
    using record_end = std::function<std::size_t(std::span<const char> data)>;

    // first     bytes that come before those of the source
    // live      the source gives what is there and waits only while nothing is: whole records are handed on at once
    // size      bytes that a chunk should have; longer records make it longer
    // end       makes a source that waits end; empty when it never waits
    chunk_cutter(host::byte_source source, record_end find_end, std::span<const char> first, bool live,
                 std::size_t size, std::function<void()> end = {});

    bool fill(log_chunk& chunk) override;
    void end() const override;

private:
    bool read_more(log_chunk& chunk, std::size_t wanted);
    std::size_t read(log_chunk& chunk, char* buffer, std::size_t room);
    void skip_rest_of_record(log_chunk& chunk);
    std::size_t first_end(std::span<const char> data) const;

    host::byte_source source_;
    record_end find_end_;
    bool live_;
    std::size_t size_;
    std::function<void()> end_;
    // The beginning of the record after the last chunk.
    std::vector<char> rest_;
    bool ended_ = false;
};

// Reads a recording that cannot be split, ahead of those that decode it. The sources of its packages are those of
// `sources`, by the same numbers.
class batch_reader final : public chunk_source {
public:
    batch_reader(host::recording& recording, log_sources& sources, std::function<void()> end);

    bool fill(log_chunk& chunk) override;
    void end() const override { end_(); }

private:
    host::recording& recording_;
    log_sources& sources_;
    std::function<void()> end_;
    host::recording_place counts_;
};

} // namespace tavi::tool

#endif
