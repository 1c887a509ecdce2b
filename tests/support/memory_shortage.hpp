// Allocations of the process that fail on demand: those of the C heap, which operator new uses as well, in all of the
// process's libraries. A test program that uses this compiles tests/support/memory_shortage.cpp.
//
//     for (memory_shortage::sweep sweep; sweep.next();) {
//         const auto result = sweep.during([&] { return call(...); });
//         ... what has to hold whichever allocation failed
//     }
#ifndef TESTS_SUPPORT_MEMORY_SHORTAGE_HPP
#define TESTS_SUPPORT_MEMORY_SHORTAGE_HPP

#include <cstddef>
#include <limits>
#include <utility>

namespace tavi::test {

// While the object exists the allocations with the numbers `first` to `last` fail, counted from 1 across all threads.
// There is one object at a time.
class memory_shortage {
public:
    static constexpr std::size_t for_good = std::numeric_limits<std::size_t>::max();

    // False where the heap of the build cannot be replaced (thread sanitizer, other C libraries): nothing fails then.
    static bool is_possible();

    // Blocks of the heap that are allocated now, by whatever library; for differences only.
    static std::size_t live_blocks();

    explicit memory_shortage(std::size_t first, std::size_t last = for_good);
    ~memory_shortage();
    memory_shortage(const memory_shortage&) = delete;
    memory_shortage& operator=(const memory_shortage&) = delete;

    // Whether an allocation failed by now.
    bool struck() const;

    // Each allocation of an operation in turn, once and then for good, until the operation needs no more of them.
    class sweep {
    public:
        // False when the last round went through without a failing allocation both ways.
        bool next();
        // Requires: next() returned true.
        template<typename Operation>
        auto during(Operation&& operation) {
            const struct round {
                explicit round(sweep& owner)
                    : owner(owner), shortage(owner.number_, owner.good_ ? for_good : owner.number_) {}
                ~round() { owner.struck_ = shortage.struck(); }
                sweep& owner;
                memory_shortage shortage;
            } running(*this);
            return operation();
        }
        // Whether an allocation failed in this round.
        bool struck() const { return struck_; }
        std::size_t number() const { return number_; }

    private:
        std::size_t number_ = 0;
        bool good_ = false;
        bool struck_ = true;
    };
};

} // namespace tavi::test

#endif
