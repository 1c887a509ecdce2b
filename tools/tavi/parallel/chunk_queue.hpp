// Chunks of a log on their way through several threads: cut one after the other, decoded side by side, written one
// after the other in the log's order.
#ifndef TOOLS_TAVI_PARALLEL_CHUNK_QUEUE_HPP
#define TOOLS_TAVI_PARALLEL_CHUNK_QUEUE_HPP

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <mutex>
#include <vector>

#include "tools/tavi/parallel/log_chunk.hpp"

namespace tavi::tool {

// The run has ended elsewhere; whoever gets this gives up.
struct abandoned {};

// Thread: any. Each thread takes a chunk, decodes it, gives it back and so on. Reading and writing are done by the
// threads themselves, one at a time each: whoever comes when there is something to read or write does it.
class chunk_queue {
public:
    // count  chunks that exist, all there ever are
    // write  is called for each chunk in order; what it throws ends the run, as does a chunk's failure that it throws
    chunk_queue(std::size_t count, chunk_source& source, std::function<void(log_chunk&)> write);

    // The next chunk of the log, to be decoded; null when there is none or the run has ended.
    log_chunk* take();

    // Takes back a decoded chunk, with or without a failure, and writes what can be written.
    void give_back(log_chunk& chunk);

    // Waits until all before a taken chunk are written, or until `enough` says so (asked again after each `news`).
    // Throws: abandoned.
    void wait_for_turn(const log_chunk& chunk, const std::function<bool()>& enough);

    // Makes those who wait ask again.
    void news();

    // Ends the run for all.
    void stop(std::exception_ptr failure) noexcept;

    // What ended the run; null when all was done. To be asked when no thread is left.
    const std::exception_ptr& failure() const noexcept { return failure_; }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    chunk_source& source_;
    std::function<void(log_chunk&)> write_;
    std::vector<log_chunk> chunks_;
    std::vector<log_chunk*> free_;
    // Decoded chunks that wait for earlier ones, by number modulo their count.
    std::vector<log_chunk*> decoded_;
    std::size_t next_to_read_ = 0;
    std::size_t next_to_write_ = 0;
    bool reading_ = false;
    bool writing_ = false;
    bool ended_ = false;
    bool stopped_ = false;
    std::exception_ptr failure_;
};

} // namespace tavi::tool

#endif
