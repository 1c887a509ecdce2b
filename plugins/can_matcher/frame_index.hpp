// Which subscriptions wait for a frame: from a 32-bit key (a frame id or a parameter group) to a list of them.
#ifndef PLUGINS_CAN_MATCHER_FRAME_INDEX_HPP
#define PLUGINS_CAN_MATCHER_FRAME_INDEX_HPP

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "plugins/can_matcher/subscription.hpp"

namespace qor::can_matcher {

// Where a handle stood in the lists of the last batches, or would have stood: a place to look first, right or wrong. As
// each source has its own list, there is one for each remainder of the list's first handle.
// Thread: any number at once, also through const.
class remembered_places {
public:
    remembered_places() = default;
    remembered_places(const remembered_places&) noexcept {}
    remembered_places& operator=(const remembered_places&) noexcept { return *this; }

    std::size_t get(std::uint64_t first) const noexcept { return slot(first).load(std::memory_order_relaxed); }
    void set(std::uint64_t first, std::size_t place) const noexcept {
        slot(first).store(static_cast<std::uint32_t>(place), std::memory_order_relaxed);
    }

private:
    std::atomic<std::uint32_t>& slot(std::uint64_t first) const noexcept { return places_[first % places_.size()]; }

    mutable std::array<std::atomic<std::uint32_t>, 8> places_{};
};

struct index_entry {
    std::uint64_t handle;
    // Owner: the one who keeps the subscriptions.
    const subscription* target;
    // Here rather than with the target, which is looked at only when the handle is requested or the ids differ.
    std::uint32_t id;
    remembered_places places;
};

// Open addressing, a quarter to a half full: a key that nobody waits for costs one look.
class frame_index {
public:
    void insert(std::uint32_t key, std::uint64_t handle, const subscription& target);
    // An entry that is not there is no failure.
    void erase(std::uint32_t key, std::uint64_t handle);
    void clear();

    // In ascending order of handles; valid until the next change.
    std::span<const index_entry> find(std::uint32_t key) const noexcept {
        if (slots_.empty()) {
            return {};
        }
        const slot& found = slots_[place_of(key)];
        return found.list == 0 ? std::span<const index_entry>() : lists_[found.list - 1];
    }

private:
    struct slot {
        std::uint32_t key;
        // 1 + its position in lists_, 0 for a free slot.
        std::uint32_t list;
    };

    // Where the key stands, or the free slot where it would be put. Requires: there are slots.
    std::size_t place_of(std::uint32_t key) const noexcept {
        // The high bits of a multiplicative hash are the well mixed ones.
        std::size_t place = key * UINT64_C(0x9E3779B97F4A7C15) >> 32 & (slots_.size() - 1);
        while (slots_[place].list != 0 && slots_[place].key != key) {
            place = (place + 1) & (slots_.size() - 1);
        }
        return place;
    }

    void grow();

    // A power of two, or none. Keys stay when their lists have become empty.
    std::vector<slot> slots_;
    std::vector<std::vector<index_entry>> lists_;
};

} // namespace qor::can_matcher

#endif
