// Decodes a recording by several threads, with the output of one.
#ifndef TOOLS_TAVI_PARALLEL_PARALLEL_DECODER_HPP
#define TOOLS_TAVI_PARALLEL_PARALLEL_DECODER_HPP

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tools/tavi/decode/catalogue.hpp"
#include "tools/tavi/decode/log_sources.hpp"
#include "tools/tavi/decode/selection.hpp"
#include "tools/tavi/decode/unknown_ids.hpp"
#include "tools/tavi/options.hpp"
#include "tools/tavi/output/block_output.hpp"
#include "tools/tavi/parallel/chunk_queue.hpp"
#include "tools/tavi/report/account.hpp"

namespace tavi::tool {

// The threads share the catalogue and the plans by which records are read; extractor, subscriptions and buffers each
// has for itself. The first is the caller's own. Another is started whenever that one met a full chunk, so that a short
// log, or one that is written while it is read, has no other.
//
// An interface that comes for the first time is made known by the thread whose chunk is the earliest that is not
// written yet; others wait for that. So all count interfaces in the log's order.
class parallel_decoder {
public:
    // split    the recording, when it is read in parts; null when a reader reads it ahead
    // sources  those of the recording, in the order in which they come first
    // written  is called after each chunk, by one thread at a time
    // All of them must outlive the decoder. `totals` is counted up.
    parallel_decoder(const decode_options& options, catalogue& known, selection& wanted, block_output& output,
                     diagnostics& messages, account& totals, host::recording* split, log_sources& sources,
                     std::function<void()> written);
    ~parallel_decoder();

    // Decodes the whole log. Throws what ended it: command_error, qor::platform::closed_pipe_error, std::exception.
    void run(chunk_source& source);

    // See frame_decoder. To be asked after `run`.
    const id_counts& unknown_ids() const noexcept { return unknown_ids_; }

private:
    class worker;

    void work(worker& decoder, const std::function<void()>& on_full_chunk) noexcept;
    void start_another();
    void write(log_chunk& chunk);
    void keep(const id_counts& unknown) noexcept;
    void report(const log_chunk& chunk);

    const decode_options& options_;
    catalogue& known_;
    selection& wanted_;
    block_output& output_;
    diagnostics& messages_;
    account& totals_;
    host::recording* split_;
    log_sources& sources_;
    std::function<void()> written_;
    silent_kinds silent_{};
    std::mutex ids_mutex_;
    id_counts unknown_ids_;
    std::unique_ptr<chunk_queue> chunks_;
    std::vector<std::thread> threads_;
    // What places of the next chunk to be written are moved by.
    std::uint64_t extent_ = 0;
    std::set<std::uint64_t> told_subjects_;
};

} // namespace tavi::tool

#endif
