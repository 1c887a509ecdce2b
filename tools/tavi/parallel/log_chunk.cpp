#include "tools/tavi/parallel/log_chunk.hpp"

#include <algorithm>
#include <utility>

namespace tavi::tool {

namespace {

constexpr std::size_t longest_record = QOR_RECORDING_LONGEST_RECORD;

} // namespace

void kept_messages::report(const diagnostic& message) {
    ++kept_count_[index(message.kind)];
    kept_.push_back({message.kind, std::string(message.file), message.line, message.column, std::string(message.cause),
                     std::string(message.source_line), std::string(message.hint), message.counts, subject_});
}

bool kept_messages::shows(topic kind) const noexcept {
    return kind == topic::left_out || kind == topic::description || kind == topic::note ||
           (kept_count_[index(kind)] < shown_of_a_kind && !silent_[index(kind)].load(std::memory_order_relaxed));
}

void kept_messages::move_to(log_chunk& chunk) {
    chunk.messages.clear();
    chunk.messages.swap(kept_);
    chunk.further_messages = std::exchange(further_, {});
    chunk.printed = std::exchange(printed_, {});
    kept_count_ = {};
}

std::string_view kept_batch::keep(std::string_view text) {
    const std::size_t at = bytes_.size();
    bytes_.append(text);
    return {bytes_.data() + at, text.size()};
}

// All bytes go into one text, which does not move since it has room for all of them from the beginning.
void kept_batch::assign(const host::recording_batch& batch) {
    packages_.assign(batch.packages.begin(), batch.packages.end());
    faults_.assign(batch.faults.begin(), batch.faults.end());
    std::size_t size = 0;
    for (const qor_recorded_package_t& package : packages_) {
        size += static_cast<std::size_t>(package.payload_size) + (package.text != nullptr ? package.text_size : 0) +
                (package.time_text != nullptr ? package.time_text_size : 0);
    }
    for (const host::recording_fault& fault : faults_) {
        size += fault.text.size() + fault.cause.size() + fault.hint.size();
    }
    bytes_.clear();
    bytes_.reserve(size);
    for (qor_recorded_package_t& package : packages_) {
        const auto payload =
            keep({reinterpret_cast<const char*>(package.payload), static_cast<std::size_t>(package.payload_size)});
        package.payload = reinterpret_cast<const std::uint8_t*>(payload.data());
        package.headroom = 0;
        if (package.text != nullptr) {
            package.text = keep({package.text, package.text_size}).data();
        }
        if (package.time_text != nullptr) {
            package.time_text = keep({package.time_text, package.time_text_size}).data();
        }
    }
    for (host::recording_fault& fault : faults_) {
        fault.text = keep(fault.text);
        fault.cause = keep(fault.cause);
        fault.hint = keep(fault.hint);
    }
}

chunk_cutter::chunk_cutter(host::byte_source source, record_end find_end, std::span<const char> first, bool live,
                           std::size_t size, std::function<void()> end)
    : source_(std::move(source)), find_end_(std::move(find_end)), live_(live),
      size_(std::clamp<std::size_t>(size, 1, longest_record)), end_(std::move(end)), rest_(first.begin(), first.end()) {
}

void chunk_cutter::end() const {
    if (end_) {
        end_();
    }
}

bool chunk_cutter::fill(log_chunk& chunk) {
    chunk.text.resize(std::max({chunk.text.size(), size_, rest_.size()}));
    std::copy(rest_.begin(), rest_.end(), chunk.text.begin());
    chunk.text_size = rest_.size();
    rest_.clear();
    const auto find_whole = [&](std::size_t from) {
        return from + find_end_({chunk.text.data() + from, chunk.text_size - from});
    };
    std::size_t whole = chunk.text_size != 0 ? find_whole(0) : 0; // bytes of whole records
    while (!ended_ && (whole == 0 || (!live_ && chunk.text_size < size_)) && chunk.text_size < longest_record) {
        if (!read_more(chunk, chunk.text_size < size_ ? size_ : longest_record)) {
            break;
        }
        whole = find_whole(whole);
    }
    if (chunk.failure != nullptr) {
        chunk.text_size = whole;
    } else if (!ended_ && whole != 0) {
        rest_.assign(chunk.text.begin() + static_cast<std::ptrdiff_t>(whole),
                     chunk.text.begin() + static_cast<std::ptrdiff_t>(chunk.text_size));
        chunk.text_size = whole;
    } else if (whole == 0 && chunk.text_size == longest_record) {
        skip_rest_of_record(chunk);
    }
    chunk.is_full = chunk.text_size >= size_ / 2;
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
        chunk.is_reading_failure = true;
    }
    ended_ = count == 0;
    return count;
}

void chunk_cutter::skip_rest_of_record(log_chunk& chunk) {
    while (!ended_) {
        rest_.resize(size_);
        rest_.resize(read(chunk, rest_.data(), rest_.size()));
        if (const std::size_t end = first_end(rest_); end != 0) {
            rest_.erase(rest_.begin(), rest_.begin() + static_cast<std::ptrdiff_t>(end));
            return;
        }
    }
    rest_.clear();
}

// The end of the first record that ends in the data, 0 when none does. find_end gives that of the last one: the
// shortest beginning in which it finds one is found by bisection.
std::size_t chunk_cutter::first_end(std::span<const char> data) const {
    if (data.empty() || find_end_(data) == 0) {
        return 0;
    }
    std::size_t without = 0;
    std::size_t with = data.size();
    while (with - without > 1) {
        const std::size_t middle = without + (with - without) / 2;
        (find_end_(data.first(middle)) == 0 ? without : with) = middle;
    }
    return find_end_(data.first(with));
}

batch_reader::batch_reader(host::recording& recording, log_sources& sources, std::function<void()> end)
    : recording_(recording), sources_(sources), end_(std::move(end)),
      counts_(recording.properties().places == QOR_RECORDING_PLACES_LINES ? host::recording_place::line
                                                                          : host::recording_place::byte) {}

bool batch_reader::fill(log_chunk& chunk) {
    chunk.text_size = 0;
    chunk.is_text = false;
    chunk.counts = counts_;
    chunk.packages.clear();
    host::recording_batch batch;
    try {
        do {
            if (!recording_.next(batch)) {
                return false;
            }
        } while (batch.packages.empty() && batch.faults.empty());
        const auto known = recording_.sources();
        while (sources_.size() < std::min(known.size(), log_sources::limit)) {
            sources_.add(known[sources_.size()]);
        }
        chunk.packages.assign(batch);
        chunk.is_full = batch.packages.size() >= host::package_reader::usual_batch / 2;
    } catch (...) {
        chunk.failure = std::current_exception();
        chunk.is_reading_failure = true;
        chunk.failure_place = recording_.properties().place;
    }
    return true;
}

} // namespace tavi::tool
