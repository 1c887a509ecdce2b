// Whether a handle is in an ascending list of handles, asked over and over for lists that seldom change.
//
// Each source hands its own list to the matcher with every package; a list changes only with subscriptions. So the
// place at which a binary search ended is remembered, and next time two comparisons show whether it still holds: all
// before the place are less than the handle, all from the place on are not. A wrong place costs a search, never a wrong
// answer. Lists of different sources are told apart by the remainder of their first handle.
//
// Example: the list 4, 7, 9. The search for 7 ends at place 1, which is remembered for lists that begin with 4. Next
// time 4 < 7 and 7 <= 7 hold, so the place is right, and the handle there is 7. The search for 8, a handle of another
// source, ends at place 2; next time 7 < 8 and 8 <= 9 hold, and the handle there is not 8: it is not in the list.
#ifndef PLUGINS_CAN_MATCHER_REMEMBERED_PLACES_HPP
#define PLUGINS_CAN_MATCHER_REMEMBERED_PLACES_HPP

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qor::can_matcher {

// Of one handle. Thread: any number at once, also through const.
class remembered_places {
public:
    remembered_places() = default;
    remembered_places(const remembered_places&) noexcept {}
    remembered_places& operator=(const remembered_places&) noexcept { return *this; }

    // Whether `handle`, always the same, is in the list. Requires: an ascending list that is not empty.
    bool find(std::span<const std::uint64_t> handles, std::uint64_t handle) const noexcept {
        std::atomic<std::uint32_t>& remembered = places_[handles.front() % places_.size()];
        std::size_t place = remembered.load(std::memory_order_relaxed);
        const bool is_right = place <= handles.size() && (place == 0 || handles[place - 1] < handle) &&
                              (place == handles.size() || handles[place] >= handle);
        if (!is_right) {
            const auto found = std::lower_bound(handles.begin(), handles.end(), handle);
            place = static_cast<std::size_t>(found - handles.begin());
            remembered.store(static_cast<std::uint32_t>(place), std::memory_order_relaxed);
        }
        // After the end only handles greater than all others would be. Of which source a frame is cannot be predicted,
        // so that another comparison here would cost more than this one.
        return handles[std::min(place, handles.size() - 1)] == handle;
    }

private:
    mutable std::array<std::atomic<std::uint32_t>, 8> places_{};
};

} // namespace qor::can_matcher

#endif
