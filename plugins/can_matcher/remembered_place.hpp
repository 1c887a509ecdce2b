// Whether a handle is in an ascending list of handles, asked over and over for a list that seldom changes.
//
// Each source hands its own list to the matcher with every package; a list changes only with subscriptions. So the
// place at which a binary search ended is remembered, and next time two comparisons show whether it still holds: all
// before the place are less than the handle, all from the place on are not. A wrong place costs a search, never a wrong
// answer.
//
// Example: the list 4, 7, 9. The search for 7 ends at place 1. Next time 4 < 7 and 7 <= 7 hold, so the place is right,
// and the handle there is 7.
#ifndef PLUGINS_CAN_MATCHER_REMEMBERED_PLACE_HPP
#define PLUGINS_CAN_MATCHER_REMEMBERED_PLACE_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qor::can_matcher {

// Of one handle in the list of its source.
class remembered_place {
public:
    // Whether `handle`, always the same, is in the list. Requires: an ascending list that is not empty.
    bool find(std::span<const std::uint64_t> handles, std::uint64_t handle) noexcept {
        std::size_t place = place_;
        const bool is_right = place <= handles.size() && (place == 0 || handles[place - 1] < handle) &&
                              (place == handles.size() || handles[place] >= handle);
        if (!is_right) {
            const auto found = std::lower_bound(handles.begin(), handles.end(), handle);
            place = static_cast<std::size_t>(found - handles.begin());
            place_ = static_cast<std::uint32_t>(place);
        }
        // After the end only handles greater than all others would be.
        return handles[std::min(place, handles.size() - 1)] == handle;
    }

private:
    std::uint32_t place_ = 0;
};

} // namespace qor::can_matcher

#endif
