// The subscriptions of each source, in ascending order of handles, which is the order of subscribing.
//
// A package reads the list of its source while plug-ins, allocators and log sinks run, and each of these may call the
// extractor back and change that list. So a list that is being read is not changed in place: the changed list is a
// copy, and the old one is kept until the last reader is gone. Only a handle above the last one, where the list has
// capacity for it, is added in place, since a reader never looks beyond the size that it saw.
//
// Example: a matcher that is asked about {2, 3} subscribes. The list becomes {2, 3, 4}; the matcher goes on reading
// {2, 3}, the next package is matched against all three.
#ifndef QOR_TAVI_EXTRACTOR_SUBSCRIPTION_LISTS_HPP
#define QOR_TAVI_EXTRACTOR_SUBSCRIPTION_LISTS_HPP

#include <cstddef>
#include <cstdint>
#include <vector>

#include "qor_tavi_extractor/src/extractor/table.hpp"

namespace qor::tavi::detail {

// Thread: used under the extractor's lock. Each operation that throws std::bad_alloc leaves the lists as they were.
class subscription_lists {
public:
    using list = std::vector<uint64_t>;

    // What was in a list when the reader was made stays where it is, unchanged, as long as the reader lives.
    class reader {
    public:
        explicit reader(subscription_lists& lists) noexcept : lists_(lists) { ++lists_.readers_; }
        reader(const reader&) = delete;
        reader& operator=(const reader&) = delete;
        ~reader() {
            if (--lists_.readers_ == 0 && !lists_.replaced_.empty()) {
                lists_.replaced_.clear();
            }
        }

    private:
        subscription_lists& lists_;
    };

    subscription_lists() : lists_(initial_bucket_count) {}

    // Gives the table short bucket chains for this many sources: it is consulted for packages.
    void reserve(std::size_t sources);

    // The list of a source, made when it is missing. The reference is valid until `reset`.
    const list& of(uint64_t source_key) { return lists_[source_key]; }

    // Makes the next insertion of a handle above all others succeed.
    void make_room(uint64_t source_key);
    void insert(uint64_t source_key, uint64_t handle);

    // Replaces all lists by those of `remaining`, which is empty as a rule.
    void reset(table<uint64_t, list>&& remaining);

private:
    void replace(list& place, list&& changed);

    table<uint64_t, list> lists_;
    std::size_t readers_ = 0;
    // What readers may still look at.
    std::vector<list> replaced_;
};

} // namespace qor::tavi::detail

#endif
