#include "plugins/can_matcher/frame_index.hpp"

#include <algorithm>

namespace qor::can_matcher {

namespace {

constexpr std::size_t first_slot_count = 64;

auto position_of(std::vector<index_entry>& list, std::uint64_t handle) {
    return std::lower_bound(list.begin(), list.end(), handle,
                            [](const index_entry& entry, std::uint64_t value) { return entry.handle < value; });
}

} // namespace

void frame_index::insert(std::uint32_t key, std::uint64_t handle, const subscription& target) {
    if (lists_.size() * 2 >= slots_.size()) {
        grow();
    }
    slot& place = slots_[place_of(key)];
    if (place.list == 0) {
        lists_.emplace_back();
        place = {key, static_cast<std::uint32_t>(lists_.size())};
    }
    auto& list = lists_[place.list - 1];
    list.insert(position_of(list, handle), {handle, &target, target.id(), {}});
}

void frame_index::erase(std::uint32_t key, std::uint64_t handle) {
    if (slots_.empty()) {
        return;
    }
    const slot& place = slots_[place_of(key)];
    if (place.list == 0) {
        return;
    }
    auto& list = lists_[place.list - 1];
    const auto found = position_of(list, handle);
    if (found != list.end() && found->handle == handle) {
        list.erase(found);
    }
}

void frame_index::clear() {
    slots_.clear();
    lists_.clear();
}

void frame_index::grow() {
    std::vector<slot> larger(slots_.empty() ? first_slot_count : slots_.size() * 2);
    larger.swap(slots_);
    for (const slot& old : larger) {
        if (old.list != 0) {
            slots_[place_of(old.key)] = old;
        }
    }
}

} // namespace qor::can_matcher
