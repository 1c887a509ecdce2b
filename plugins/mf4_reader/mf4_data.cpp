// A transposed block holds the first bytes of all its records, then the second ones, and so on; what does not fill a
// record follows as it is. With records of 3 bytes, abcdefgh is stored as adbecf gh.
#include "plugins/mf4_reader/mf4_data.hpp"

#include <utility>

namespace tavi::mf4 {

namespace {

constexpr std::size_t deflated_header_size = 24; // in the data of a DZ block
constexpr std::size_t deflated_chunk = std::size_t{16} << 10;

bool is_list(const block& found) noexcept {
    return found.id == "DL" || found.id == "LD";
}

bool is_plain(const block& found) noexcept {
    return found.id == "DT" || found.id == "SD" || found.id == "DV" || found.id == "RD";
}

} // namespace

data_stream::data_stream(file& source, std::uint64_t first, bool is_open)
    : file_(source), is_open_(is_open), allowance_(source.size() + block_header_size) {
    if (first != 0) {
        next_block_ = first;
    }
}

void data_stream::fill(std::size_t count) {
    window_.erase(window_.begin(), window_.begin() + static_cast<std::ptrdiff_t>(begin_));
    begin_ = 0;
    const std::size_t target = std::max(count, window_size);
    while (window_.size() < count && damage_ == nullptr) {
        if (produced_ == announced_ && !open_next()) {
            break;
        }
        const std::size_t held = window_.size();
        std::size_t produced = 0;
        window_.resize(target);
        const auto room = std::span(window_).subspan(held).first(
            static_cast<std::size_t>(std::min<std::uint64_t>(target - held, announced_ - produced_)));
        if (is_deflated_) {
            inflate_some(room, produced);
        } else {
            read_plain(room, produced);
        }
        produced_ += produced;
        window_.resize(held + produced);
    }
}

void data_stream::resume() {
    position_ += window_.size() - begin_ + (announced_ - produced_);
    window_.clear();
    begin_ = 0;
    produced_ = announced_;
    damage_ = nullptr;
}

void data_stream::set_damage(const char* cause, std::uint64_t place) noexcept {
    damage_ = cause;
    damage_place_ = place;
}

// ---- Blocks

// False at the end and at a damaged place.
bool data_stream::open_next() {
    produced_ = announced_ = 0;
    while (produced_ == announced_) {
        const auto next = next_in_list();
        if (!next || damage_ != nullptr) {
            return false;
        }
        if (*next == 0) {
            continue; // a list may have room for further blocks
        }
        const block opened = file_.find_block(*next);
        const std::uint64_t length = std::max<std::uint64_t>(opened.length, block_header_size);
        if (length > allowance_ && opened.offset + length <= file_.size()) {
            set_damage("the blocks of the data are linked more than once", *next);
            return false;
        }
        allowance_ -= std::min(allowance_, length);
        if (is_list(opened)) {
            open_list(opened);
        } else if (opened.id == "HL") {
            next_list_ = opened.links[0];
        } else {
            open_block(opened);
            if (damage_ != nullptr) {
                damage_place_ = *next;
                return false;
            }
        }
    }
    return true;
}

std::optional<std::uint64_t> data_stream::next_in_list() {
    if (next_block_) {
        return std::exchange(next_block_, std::nullopt);
    }
    if (list_index_ < list_count_) {
        std::array<std::uint8_t, 8> link{};
        const std::uint64_t place = list_place_ + block_header_size + 8 * (1 + list_index_++);
        if (file_.read(place, link) < link.size()) {
            set_damage("the recording ends within a list of data blocks", place);
        }
        return load<std::uint64_t>(link, 0);
    }
    if (next_list_ == 0) {
        return std::nullopt;
    }
    const std::uint64_t place = std::exchange(next_list_, 0);
    const block list = file_.find_block(place);
    if (!is_list(list)) {
        set_damage("a list of data blocks is missing", place);
    }
    return place;
}

void data_stream::open_list(const block& list) {
    list_place_ = list.offset;
    list_index_ = 0;
    list_count_ =
        std::min<std::uint64_t>(list.number<std::uint32_t>(4), list.link_count == 0 ? 0 : list.link_count - 1);
    next_list_ = list.links[0];
}

void data_stream::open_block(const block& opened) {
    block_place_ = opened.offset;
    is_deflated_ = opened.id == "DZ";
    columns_ = 0;
    if (is_deflated_) {
        open_deflated(opened);
        return;
    }
    if (!is_plain(opened)) {
        damage_ = "a data block is missing";
        return;
    }
    place_ = opened.offset + block_header_size + 8 * opened.link_count;
    left_ = is_open_ && opened.length <= block_header_size && opened.id == "DT"
                ? file_.size() - std::min(file_.size(), place_)
                : std::max<std::uint64_t>(opened.length, block_header_size) - block_header_size;
    announced_ = left_;
}

void data_stream::open_deflated(const block& opened) {
    const auto method = opened.number<std::uint8_t>(2);
    announced_ = opened.number<std::uint64_t>(8);
    left_ = opened.number<std::uint64_t>(16);
    place_ = opened.offset + block_header_size + deflated_header_size;
    const bool has_sizes = opened.length >= block_header_size + deflated_header_size &&
                           left_ <= opened.length - block_header_size - deflated_header_size &&
                           announced_ / 1100 <= left_; // deflate shortens by 1032 at most
    if (!has_sizes || opened.data_size < deflated_header_size) {
        announced_ = 0;
        damage_ = "the sizes of a deflated block are damaged";
        return;
    }
    deflated_.clear();
    deflated_begin_ = 0;
    if (inflater_) {
        inflater_->restart();
    } else {
        inflater_.emplace();
    }
    if (method == 1) {
        columns_ = opened.number<std::uint32_t>(4);
        transposed_.clear();
    }
    if (method > 1 || (method == 1 && (columns_ == 0 || announced_ > largest_transposed))) {
        damage_ = method > 1 ? "a data block is compressed by an unknown method"
                             : "a transposed block has no columns, or more than 16 MiB";
    }
}

// ---- Bytes

void data_stream::read_plain(std::span<std::uint8_t> room, std::size_t& count) {
    count = file_.read(place_, room);
    place_ += count;
    left_ -= count;
    if (count < room.size()) {
        set_damage("the recording ends within a data block", block_place_);
    }
}

void data_stream::inflate_some(std::span<std::uint8_t> room, std::size_t& count) {
    if (columns_ != 0) {
        if (transposed_.empty()) {
            inflate_transposed();
        }
        const std::uint64_t rows = announced_ / columns_;
        for (std::uint64_t at = produced_; damage_ == nullptr && count < room.size(); ++at, ++count) {
            room[count] = transposed_[at < rows * columns_ ? at % columns_ * rows + at / columns_ : at];
        }
        return;
    }
    auto state = qor::sdk::inflater::state::unfinished;
    while (count < room.size() || (produced_ + count == announced_ && state == qor::sdk::inflater::state::unfinished)) {
        if (deflated_begin_ == deflated_.size() && left_ != 0) {
            deflated_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(left_, deflated_chunk)));
            deflated_.resize(file_.read(place_, deflated_));
            deflated_begin_ = 0;
            place_ += deflated_.size();
            left_ = deflated_.empty() ? 0 : left_ - deflated_.size();
        }
        // A byte more than the block announces shows that its size is damaged.
        std::array<std::uint8_t, 1> beyond{};
        const bool is_full = count == room.size();
        const auto step = inflater_->inflate(std::span(deflated_).subspan(deflated_begin_),
                                             is_full ? std::span<std::uint8_t>(beyond) : room.subspan(count));
        deflated_begin_ += step.consumed;
        count += is_full ? 0 : step.produced;
        state = step.state;
        const bool has_ended = state == qor::sdk::inflater::state::finished;
        if (state == qor::sdk::inflater::state::damaged || (is_full && step.produced != 0) ||
            (has_ended && produced_ + count != announced_) || (step.consumed + step.produced == 0 && !has_ended)) {
            set_damage(left_ == 0 && place_ >= file_.size() ? "the recording ends within a data block"
                                                            : "the compressed data of a block are damaged",
                       block_place_);
            return;
        }
    }
}

void data_stream::inflate_transposed() {
    const std::uint64_t columns = std::exchange(columns_, 0);
    transposed_.resize(static_cast<std::size_t>(announced_));
    std::size_t count = 0;
    inflate_some(transposed_, count);
    columns_ = columns;
}

} // namespace tavi::mf4
