// Which subscriptions a frame may match: from a 32-bit key (a frame id or a parameter group) to a list of them.
//
// A hash table with open addressing: an array of slots, a power of two and at most half of them taken. A key has its
// slot at a multiplicative hash, or at the first free one after it. Keys are never taken out, only their lists become
// empty, so that a look-up may stop at the first free slot: a key without subscriptions mostly costs one look.
// Example, with 64 slots: keys 0x0C0 and 0x040 both hash to slot 31. The first to come takes it, the other slot 32. The
// look-up of 0x085, which hashes there too, sees 31, 32 and the free slot 33, and finds nothing.
#ifndef PLUGINS_CAN_MATCHER_FRAME_INDEX_HPP
#define PLUGINS_CAN_MATCHER_FRAME_INDEX_HPP

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "plugins/can_matcher/remembered_places.hpp"
#include "plugins/can_matcher/subscription.hpp"

namespace qor::can_matcher {

struct index_entry {
    std::uint64_t handle;
    // Owner: the one who keeps the subscriptions.
    const subscription* target;
    // Both here rather than with the target, which is read only for handles that are in the list and when ids differ.
    std::uint32_t id;
    // Of the handle in the lists of the sources.
    remembered_places places;
};

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

    // The key's slot, or the free one that it would get. Requires: there are slots.
    std::size_t place_of(std::uint32_t key) const noexcept {
        // The high bits of a multiplicative hash are the well mixed ones.
        std::size_t place = key * UINT64_C(0x9E3779B97F4A7C15) >> 32 & (slots_.size() - 1);
        while (slots_[place].list != 0 && slots_[place].key != key) {
            place = (place + 1) & (slots_.size() - 1);
        }
        return place;
    }

    void grow();

    // A power of two, or none.
    std::vector<slot> slots_;
    std::vector<std::vector<index_entry>> lists_;
};

} // namespace qor::can_matcher

#endif
