#include "plugins/memory_matcher/subscription_index.hpp"

#include <algorithm>

namespace memory_matcher {

std::optional<qor_match_outcome_t> match_block(const subscription& subscription, const memory_block& block,
                                               bool lenient) noexcept {
    if (subscription.cycle != 0 && subscription.cycle != block.cycle) {
        return std::nullopt;
    }
    // Differences, not sums: an address near the end of the 64-bit space must not wrap.
    if (subscription.position < block.address || subscription.position - block.address > block.size) {
        return std::nullopt;
    }
    const uint64_t offset = subscription.position - block.address;
    const uint64_t there = std::min(block.size - offset, subscription.extent);
    if (there != subscription.extent && (!lenient || there == 0)) {
        return std::nullopt;
    }
    return qor_match_outcome_t{subscription.handle, block_header_size + offset, there, there};
}

void subscription_index::add(const subscription& subscription) {
    by_handle_[subscription.handle] = subscription;
    sorted_ = false;
}

void subscription_index::remove(uint64_t handle) {
    sorted_ &= by_handle_.erase(handle) == 0;
}

const subscription* subscription_index::find(uint64_t handle) const {
    const auto found = by_handle_.find(handle);
    return found != by_handle_.end() ? &found->second : nullptr;
}

// Once after all changes, not at each: a host subscribes to many things before the first package comes.
void subscription_index::sort_by_position() {
    if (sorted_) {
        return;
    }
    by_position_.clear();
    by_position_.reserve(by_handle_.size());
    for (const auto& [handle, subscription] : by_handle_) {
        by_position_.push_back(subscription);
    }
    std::sort(by_position_.begin(), by_position_.end(),
              [](const subscription& left, const subscription& right) { return left.position < right.position; });
    sorted_ = true;
}

size_t subscription_index::match(const memory_block& block, std::span<const uint64_t> handles, bool lenient,
                                 qor_match_outcome_t* outcomes) {
    sort_by_position();
    auto element = std::lower_bound(
        by_position_.begin(), by_position_.end(), block.address,
        [](const subscription& subscription, uint64_t address) { return subscription.position < address; });
    size_t count = 0;
    for (; element != by_position_.end() && element->position - block.address <= block.size; ++element) {
        const auto outcome = match_block(*element, block, lenient);
        if (outcome && std::binary_search(handles.begin(), handles.end(), element->handle)) {
            outcomes[count++] = *outcome;
        }
    }
    std::sort(outcomes, outcomes + count,
              [](const auto& left, const auto& right) { return left.subscription_handle < right.subscription_handle; });
    return count;
}

} // namespace memory_matcher
