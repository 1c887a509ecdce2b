#include "tools/tavi/parallel/chunk_queue.hpp"

#include <utility>

namespace tavi::tool {

chunk_queue::chunk_queue(std::size_t count, chunk_source& source, std::function<void(log_chunk&)> write)
    : source_(source), write_(std::move(write)), chunks_(count), decoded_(count) {
    for (log_chunk& chunk : chunks_) {
        free_.push_back(&chunk);
    }
}

log_chunk* chunk_queue::take() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return stopped_ || ended_ || (!reading_ && !free_.empty()); });
    if (stopped_ || ended_) {
        return nullptr;
    }
    reading_ = true;
    log_chunk& chunk = *free_.back();
    free_.pop_back();
    chunk.number = next_to_read_;
    lock.unlock();
    chunk.failure = nullptr;
    chunk.is_reading_failure = false;
    const bool filled = source_.fill(chunk);
    lock.lock();
    reading_ = false;
    next_to_read_ += filled ? 1 : 0;
    ended_ = ended_ || !filled || chunk.failure != nullptr;
    changed_.notify_all();
    return filled ? &chunk : nullptr;
}

void chunk_queue::give_back(log_chunk& chunk) {
    std::unique_lock lock(mutex_);
    // What follows a failure is not read any more.
    ended_ = ended_ || chunk.failure != nullptr;
    decoded_[chunk.number % decoded_.size()] = &chunk;
    if (writing_) {
        return;
    }
    writing_ = true;
    while (!stopped_) {
        log_chunk*& next = decoded_[next_to_write_ % decoded_.size()];
        if (next == nullptr) {
            break;
        }
        log_chunk& written = *std::exchange(next, nullptr);
        lock.unlock();
        try {
            write_(written);
        } catch (...) {
            stop(std::current_exception());
        }
        lock.lock();
        ++next_to_write_;
        free_.push_back(&written);
        changed_.notify_all();
    }
    writing_ = false;
}

void chunk_queue::wait_for_turn(const log_chunk& chunk, const std::function<bool()>& enough) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return stopped_ || next_to_write_ == chunk.number || enough(); });
    if (stopped_) {
        throw abandoned();
    }
}

void chunk_queue::news() {
    const std::lock_guard lock(mutex_);
    changed_.notify_all();
}

void chunk_queue::stop(std::exception_ptr failure) noexcept {
    const std::lock_guard lock(mutex_);
    if (!stopped_) {
        stopped_ = true;
        failure_ = std::move(failure);
        // One may wait for more of the log, which can be long in coming.
        source_.end();
    }
    changed_.notify_all();
}

} // namespace tavi::tool
