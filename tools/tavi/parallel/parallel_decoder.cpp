#include "tools/tavi/parallel/parallel_decoder.hpp"

#include <algorithm>
#include <optional>
#include <system_error>
#include <utility>

#include "tools/tavi/decode/frame_decoder.hpp"
#include "tools/tavi/output/row_writer.hpp"

namespace tavi::tool {

namespace {

// Rows of one chunk that are kept at most; more are written when it is the chunk's turn.
constexpr std::size_t most_rows = std::size_t{4} << 20;
constexpr std::size_t first_rows = std::size_t{64} << 10;

// Rows of the chunk that is decoded now.
class chunk_rows final : public row_output {
public:
    // spill  writes rows that became too many
    explicit chunk_rows(std::function<void(std::string_view)> spill)
        : row_output(first_rows), spill_(std::move(spill)) {}

    void move_to(log_chunk& chunk) {
        chunk.rows_size = std::exchange(used_, 0);
        chunk.rows.swap(block_);
    }

private:
    void make_room(std::size_t count) override {
        if (used_ + count > most_rows && used_ != 0) {
            spill_({block_.data(), std::exchange(used_, 0)});
        }
        if (block_.size() - used_ < count) {
            block_.resize(std::max(2 * block_.size(), used_ + count));
        }
    }

    std::function<void(std::string_view)> spill_;
};

} // namespace

// What one thread decodes with.
class parallel_decoder::worker {
public:
    worker(parallel_decoder& owner, catalogue& known)
        : owner_(owner), known_(known), messages_(owner.silent_), rows_([this](std::string_view rows) {
              owner_.chunks_->wait_for_turn(*chunk_, [] { return false; });
              owner_.output_.write_through(rows);
          }),
          writer_(rows_, row_style_of(owner.options_, owner.output_)),
          decoder_(owner.options_, known, owner.wanted_, writer_, messages_, counts_, owner.sources_,
                   [this](const qor_recorded_source_t& source) { return number_of(source); }) {
        known_.report_to(messages_);
        if (owner.split_ != nullptr) {
            part_.emplace(*owner.split_);
            decoder_.begin(*part_);
        }
    }
    ~worker() {
        known_.report_to(owner_.messages_);
        owner_.keep(decoder_.unknown_ids());
    }
    worker(const worker&) = delete;
    worker& operator=(const worker&) = delete;

    // Throws: abandoned.
    void decode(log_chunk& chunk) {
        chunk_ = &chunk;
        chunk.extent = 0;
        try {
            chunk.is_text ? decode_text(chunk) : decoder_.decode(chunk.packages.batch(), chunk.counts);
        } catch (const abandoned&) {
            throw;
        } catch (...) {
            chunk.failure = std::current_exception();
            chunk.failure_place = decoder_.place();
            chunk.is_reading_failure = false;
        }
        chunk.counts = decoder_.counts();
        chunk.totals = std::exchange(counts_, {});
        rows_.move_to(chunk);
        messages_.move_to(chunk);
    }

private:
    void decode_text(log_chunk& chunk) {
        part_->set_chunk(chunk.whole_text());
        host::recording_batch batch;
        while (part_->next(batch)) {
            decoder_.decode(*part_, batch);
        }
        decoder_.count_excluded(*part_);
        chunk.extent = part_->extent();
        if (chunk.failure != nullptr) {
            chunk.failure_place = chunk.extent;
        }
    }

    std::optional<std::size_t> number_of(const qor_recorded_source_t& source) {
        log_sources& sources = owner_.sources_;
        const auto decided = [&] { return sources.find(source.name) || sources.size() == log_sources::limit; };
        owner_.chunks_->wait_for_turn(*chunk_, decided);
        if (decided()) {
            return sources.find(source.name);
        }
        const std::size_t number = sources.add(source);
        owner_.chunks_->news();
        return number;
    }

    parallel_decoder& owner_;
    catalogue& known_;
    log_chunk* chunk_ = nullptr;
    frame_counts counts_;
    kept_messages messages_;
    chunk_rows rows_;
    row_writer writer_;
    frame_decoder decoder_;
    std::optional<host::recording_part> part_;
};

parallel_decoder::parallel_decoder(const decode_options& options, catalogue& known, selection& wanted,
                                   block_output& output, diagnostics& messages, account& totals, host::recording* split,
                                   log_sources& sources, std::function<void()> written)
    : options_(options), known_(known), wanted_(wanted), output_(output), messages_(messages), totals_(totals),
      split_(split), sources_(sources), written_(std::move(written)) {}

parallel_decoder::~parallel_decoder() = default;

void parallel_decoder::run(chunk_source& source) {
    // One to decode and one to wait for its turn for each thread.
    chunks_ = std::make_unique<chunk_queue>(2 * options_.jobs, source, [this](log_chunk& chunk) { write(chunk); });
    {
        worker first(*this, known_);
        work(first, [this] { start_another(); });
        for (std::thread& other : threads_) {
            other.join();
        }
    }
    if (chunks_->failure() != nullptr) {
        std::rethrow_exception(chunks_->failure());
    }
}

void parallel_decoder::work(worker& decoder, const std::function<void()>& on_full_chunk) noexcept {
    try {
        while (log_chunk* const chunk = chunks_->take()) {
            if (on_full_chunk && chunk->is_full) {
                on_full_chunk();
            }
            decoder.decode(*chunk);
            chunks_->give_back(*chunk);
        }
    } catch (const abandoned&) {
        // Another told why.
    } catch (...) {
        chunks_->stop(std::current_exception());
    }
}

// A thread that cannot start leaves its work to the others.
void parallel_decoder::start_another() {
    if (threads_.size() + 1 >= options_.jobs) {
        return;
    }
    try {
        threads_.emplace_back([this] {
            std::unique_ptr<catalogue> known;
            std::unique_ptr<worker> decoder;
            try {
                known = known_.another();
                decoder = std::make_unique<worker>(*this, *known);
            } catch (const std::exception&) {
                return;
            }
            work(*decoder, {});
        });
    } catch (const std::system_error&) {
        return;
    }
}

// One at a time, in the order of the log.
void parallel_decoder::write(log_chunk& chunk) {
    std::exception_ptr failure;
    try {
        output_.write_through(chunk.whole_rows());
    } catch (...) {
        failure = std::current_exception();
    }
    // It was read and decoded all the same.
    totals_ += chunk.totals;
    report(chunk);
    if (failure != nullptr) {
        std::rethrow_exception(failure);
    }
    if (chunk.failure != nullptr) {
        const std::uint64_t place = extent_ + chunk.failure_place;
        chunk.is_reading_failure ? rethrow_reading_failure(chunk.failure, totals_.log, place, chunk.counts)
                                 : rethrow_with_place(chunk.failure, totals_.log, place, chunk.counts);
    }
    extent_ += chunk.extent;
    written_();
}

// Counts that there is no memory for are left out: they are for a hint only.
void parallel_decoder::keep(const id_counts& unknown) noexcept {
    try {
        const std::lock_guard lock(ids_mutex_);
        unknown_ids_.add(unknown);
    } catch (const std::exception&) {
        return;
    }
}

void parallel_decoder::report(const log_chunk& chunk) {
    std::set<std::uint64_t> subjects;
    for (const kept_message& message : chunk.messages) {
        if (message.subject == 0 || !told_subjects_.contains(message.subject)) {
            const bool is_placed = message.line != 0 || message.counts != host::recording_place::line;
            messages_.report({message.kind, message.file, is_placed ? extent_ + message.line : 0, message.column,
                              message.cause, message.source_line, message.hint, message.counts});
            if (message.subject != 0) {
                subjects.insert(message.subject);
            }
        }
    }
    told_subjects_.merge(subjects);
    for (std::size_t kind = 0; kind < message_sink::kinds; ++kind) {
        messages_.add(static_cast<topic>(kind), chunk.further_messages[kind]);
        silent_[kind].store(!messages_.shows(static_cast<topic>(kind)), std::memory_order_relaxed);
    }
    if (!chunk.printed.empty()) {
        messages_.print(chunk.printed);
    }
}

} // namespace tavi::tool
