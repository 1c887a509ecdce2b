#include "plugins/can_matcher/frame_index.hpp"

#include <algorithm>
#include <bit>
#include <utility>

namespace qor::can_matcher {

namespace {

constexpr std::size_t first_slot_count = 64;

auto position_of(std::vector<index_entry>& list, std::uint64_t handle) {
    return std::lower_bound(list.begin(), list.end(), handle,
                            [](const index_entry& entry, std::uint64_t value) { return entry.handle < value; });
}

} // namespace

void frame_index::insert(frame_key key, std::uint64_t handle, const subscription& target) {
    if (lists_.size() * 2 >= slots_.size()) {
        grow();
    }
    slot& taken = slots_[place_of(key)];
    if (taken.list == 0) {
        lists_.emplace_back();
        taken = {key, static_cast<std::uint32_t>(lists_.size())};
    }
    entry_list& list = lists_[taken.list - 1];
    const index_entry entry{handle, &target, target.id(), {}};
    const auto at = position_of(list.entries, handle);
    if (at != list.entries.end() && at->handle == handle) {
        list.ended -= at->target == nullptr ? 1 : 0;
        *at = entry;
    } else {
        list.entries.insert(at, entry);
    }
}

void frame_index::erase(frame_key key, std::uint64_t handle) noexcept {
    if (slots_.empty()) {
        return;
    }
    const slot& taken = slots_[place_of(key)];
    if (taken.list == 0) {
        return;
    }
    entry_list& list = lists_[taken.list - 1];
    const auto found = position_of(list.entries, handle);
    if (found == list.entries.end() || found->handle != handle || found->target == nullptr) {
        return;
    }
    found->target = nullptr;
    if (++list.ended * 2 >= list.entries.size()) {
        std::erase_if(list.entries, [](const index_entry& entry) { return entry.target == nullptr; });
        list.ended = 0;
    }
}

void frame_index::clear() noexcept {
    slots_.clear();
    lists_.clear();
}

// Keeps the lists that have entries, at most a quarter of the slots.
void frame_index::grow() {
    const auto kept = static_cast<std::size_t>(
        std::count_if(lists_.begin(), lists_.end(), [](const entry_list& list) { return !list.entries.empty(); }));
    std::vector<entry_list> lists;
    lists.reserve(kept);
    std::vector<slot> slots(std::max(first_slot_count, std::bit_ceil(4 * kept)));
    slots.swap(slots_);
    for (slot& old : slots) {
        if (old.list != 0 && !lists_[old.list - 1].entries.empty()) {
            lists.push_back(std::move(lists_[old.list - 1]));
            slots_[place_of(old.key)] = {old.key, static_cast<std::uint32_t>(lists.size())};
        }
    }
    lists_ = std::move(lists);
}

} // namespace qor::can_matcher
