// Which subscriptions a frame may match: from a source and a 32-bit id (of a frame or a parameter group) to a list of
// them.
//
// A hash table with open addressing: an array of slots, a power of two and at most half of them taken. A key has its
// slot at a multiplicative hash, or at the first free one after it. Keys whose lists became empty are taken out only
// when the table grows, so that a look-up may stop at the first free slot: a key without subscriptions mostly costs one
// look.
// Example, with 64 slots: two keys hash to slot 31. The first to come takes it, the other slot 32. The look-up of a
// third key, which hashes there too, sees 31, 32 and the free slot 33, and finds nothing.
//
// An entry that ends stays in its list without a target until half of the list has ended: a list of n costs n moves for
// every n / 2 ends, not n for each.
#ifndef PLUGINS_CAN_MATCHER_FRAME_INDEX_HPP
#define PLUGINS_CAN_MATCHER_FRAME_INDEX_HPP

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "plugins/can_matcher/remembered_place.hpp"
#include "plugins/can_matcher/subscription.hpp"

namespace qor::can_matcher {

struct index_entry {
    std::uint64_t handle;
    // Owner: the one who keeps the subscriptions. Null for one that has ended.
    const subscription* target;
    // Both here rather than with the target, which is read only for handles that are in the list and when ids differ.
    std::uint32_t id;
    // Of the handle in the list of its source.
    remembered_place place;
};

struct frame_key {
    // 0 when the host does not say.
    std::uint64_t source;
    std::uint32_t id;

    bool operator==(const frame_key&) const = default;
};

class frame_index {
public:
    void insert(frame_key key, std::uint64_t handle, const subscription& target);
    // An entry that is not there is no failure.
    void erase(frame_key key, std::uint64_t handle) noexcept;
    void clear() noexcept;

    // In ascending order of handles; valid until the next change.
    std::span<index_entry> find(frame_key key) noexcept {
        if (slots_.empty()) {
            return {};
        }
        const slot& found = slots_[place_of(key)];
        return found.list == 0 ? std::span<index_entry>() : std::span(lists_[found.list - 1].entries);
    }

private:
    struct slot {
        frame_key key;
        // 1 + its position in lists_, 0 for a free slot.
        std::uint32_t list;
    };
    struct entry_list {
        std::vector<index_entry> entries;
        std::size_t ended = 0;
    };

    // The key's slot, or the free one that it would get. Requires: there are slots.
    std::size_t place_of(frame_key key) const noexcept {
        // The high bits of a multiplicative hash are the well mixed ones.
        std::size_t place = (key.source ^ key.id) * UINT64_C(0x9E3779B97F4A7C15) >> 32 & (slots_.size() - 1);
        while (slots_[place].list != 0 && slots_[place].key != key) {
            place = (place + 1) & (slots_.size() - 1);
        }
        return place;
    }

    void grow();

    // A power of two, or none.
    std::vector<slot> slots_;
    std::vector<entry_list> lists_;
};

} // namespace qor::can_matcher

#endif
