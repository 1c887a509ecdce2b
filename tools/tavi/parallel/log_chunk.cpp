#include "tools/tavi/parallel/log_chunk.hpp"

#include <algorithm>
#include <utility>

namespace tavi::tool {

namespace {

// The reader takes no longer line than this.
constexpr std::size_t longest_line = host::candump_reader::default_block_size;

} // namespace

void kept_messages::report(const diagnostic& message) {
    ++kept_count_[index(message.kind)];
    kept_.push_back({message.kind, std::string(message.file), message.line, message.column, std::string(message.cause),
                     std::string(message.source_line), std::string(message.hint), subject_});
}

bool kept_messages::shows(topic kind) const noexcept {
    return kind == topic::left_out || kind == topic::description || kind == topic::note ||
           (kept_count_[index(kind)] < shown_of_a_kind && !silent_[index(kind)].load(std::memory_order_relaxed));
}

void kept_messages::move_to(log_chunk& chunk) {
    chunk.messages.clear();
    chunk.messages.swap(kept_);
    chunk.further_messages = std::exchange(further_, {});
    kept_count_ = {};
}

chunk_cutter::chunk_cutter(host::byte_source source, bool live, std::size_t size, std::function<void()> end)
    : source_(std::move(source)), live_(live), size_(std::clamp<std::size_t>(size, 1, longest_line)),
      end_(std::move(end)) {}

void chunk_cutter::end() const {
    if (end_) {
        end_();
    }
}

bool chunk_cutter::fill(log_chunk& chunk) {
    chunk.text.resize(std::max({chunk.text.size(), size_, rest_.size()}));
    std::copy(rest_.begin(), rest_.end(), chunk.text.begin());
    chunk.text_size = rest_.size();
    chunk.failure = nullptr;
    rest_.clear();
    bytes_read_ = 0;
    std::size_t whole = chunk.whole_text().rfind('\n') + 1; // bytes of whole lines
    while (!ended_ && (whole == 0 || (!live_ && chunk.text_size < size_)) && chunk.text_size < longest_line) {
        const std::size_t before = chunk.text_size;
        if (!read_more(chunk, before < size_ ? size_ : longest_line)) {
            break;
        }
        const auto stop = chunk.whole_text().substr(before).rfind('\n');
        whole = stop == std::string_view::npos ? whole : before + stop + 1;
    }
    if (chunk.failure != nullptr) {
        chunk.text_size = whole;
    } else if (!ended_ && whole != 0) {
        rest_.assign(chunk.text.begin() + static_cast<std::ptrdiff_t>(whole),
                     chunk.text.begin() + static_cast<std::ptrdiff_t>(chunk.text_size));
        chunk.text_size = whole;
    } else if (whole == 0 && chunk.text_size == longest_line) {
        skip_rest_of_line(chunk);
    }
    chunk.bytes_read = bytes_read_;
    return chunk.text_size != 0 || chunk.failure != nullptr;
}

// Makes the chunk as long as `wanted` if it can; false at the end.
bool chunk_cutter::read_more(log_chunk& chunk, std::size_t wanted) {
    chunk.text.resize(std::max(chunk.text.size(), wanted));
    chunk.text_size += read(chunk, chunk.text.data() + chunk.text_size, wanted - chunk.text_size);
    return !ended_;
}

std::size_t chunk_cutter::read(log_chunk& chunk, char* buffer, std::size_t room) {
    std::size_t count = 0;
    try {
        count = source_(buffer, room);
    } catch (...) {
        chunk.failure = std::current_exception();
    }
    bytes_read_ += count;
    ended_ = count == 0;
    return count;
}

void chunk_cutter::skip_rest_of_line(log_chunk& chunk) {
    while (!ended_) {
        rest_.resize(size_);
        const std::size_t count = read(chunk, rest_.data(), rest_.size());
        const auto begin = rest_.begin();
        const auto end = begin + static_cast<std::ptrdiff_t>(count);
        const auto stop = std::find(begin, end, '\n');
        if (stop != end) {
            rest_.erase(end, rest_.end());
            rest_.erase(begin, stop + 1);
            return;
        }
    }
    rest_.clear();
}

} // namespace tavi::tool
