#include "qor_tavi_extractor/src/extractor/subscription_lists.hpp"

#include <algorithm>
#include <utility>

namespace qor::tavi::detail {

namespace {

constexpr float short_chains = 0.25f;
constexpr std::size_t least_capacity = 8;

// A copy with room for one more handle, growing so that a source of n subscriptions costs about 2n copied handles.
subscription_lists::list longer_copy(const subscription_lists::list& list) {
    subscription_lists::list copy;
    copy.reserve(std::max(least_capacity, 2 * list.size()));
    copy.assign(list.begin(), list.end());
    return copy;
}

} // namespace

void subscription_lists::reserve(std::size_t sources) {
    lists_.reserve(sources);
    lists_.max_load_factor(short_chains);
}

void subscription_lists::replace(list& place, list&& changed) {
    if (readers_ != 0) {
        replaced_.push_back(std::move(place));
    }
    place = std::move(changed);
}

void subscription_lists::make_room(uint64_t source_key) {
    list& handles = lists_[source_key];
    if (handles.size() == handles.capacity()) {
        replace(handles, longer_copy(handles));
    }
}

void subscription_lists::insert(uint64_t source_key, uint64_t handle) {
    make_room(source_key);
    list& handles = lists_[source_key];
    const auto place = std::upper_bound(handles.begin(), handles.end(), handle);
    if (place == handles.end() || readers_ == 0) {
        handles.insert(place, handle);
        return;
    }
    list changed = longer_copy(handles);
    changed.insert(changed.begin() + (place - handles.begin()), handle);
    replace(handles, std::move(changed));
}

void subscription_lists::reset(table<uint64_t, list>&& remaining) {
    remaining.max_load_factor(lists_.max_load_factor());
    if (readers_ != 0) {
        replaced_.reserve(replaced_.size() + lists_.size());
        for (auto& [key, list] : lists_) {
            replaced_.push_back(std::move(list));
        }
    }
    lists_ = std::move(remaining);
}

} // namespace qor::tavi::detail
