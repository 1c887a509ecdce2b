// The subscriptions of one matcher, by handle and by the address of their first byte.
#ifndef PLUGINS_MEMORY_MATCHER_SUBSCRIPTION_INDEX_HPP
#define PLUGINS_MEMORY_MATCHER_SUBSCRIPTION_INDEX_HPP

#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

#include "plugins/memory_matcher/memory_block.hpp"
#include "qorc/extensibility/data_matcher.h"

namespace memory_matcher {

struct subscription {
    uint64_t handle;
    // Address of the first byte.
    uint64_t position;
    uint64_t extent;
    // 0 for any.
    uint32_t cycle;
};

// What a block has of a subscription. Strict: all of it or nothing. Lenient: a block that covers only the beginning
// gives what is there, and wants no more, so that a reader decodes what is covered.
std::optional<qor_match_outcome_t> match_block(const subscription& subscription, const memory_block& block,
                                               bool lenient) noexcept;

class subscription_index {
public:
    // A handle that is there already is replaced.
    void add(const subscription& subscription);
    void remove(uint64_t handle);
    const subscription* find(uint64_t handle) const;

    // The outcomes of those `handles` (ascending) that a block serves, in their order. Costs a search by address and
    // what the block serves; nothing for subscriptions elsewhere. Room in `outcomes` for all handles.
    size_t match(const memory_block& block, std::span<const uint64_t> handles, bool lenient,
                 qor_match_outcome_t* outcomes);

private:
    void sort_by_position();

    std::unordered_map<uint64_t, subscription> by_handle_;
    std::vector<subscription> by_position_;
    bool sorted_ = true;
};

} // namespace memory_matcher

#endif
