// Lists whose memory outlives their use: a package borrows one, fills it and gives it back with the capacity that it
// has by then, so that a stream of packages allocates nothing of its own.
//
// Borrowing takes place under a lock; giving back does not need it. That lets `process` leave its lock before it calls
// the host's allocator, and still keep the list until the host has all records. A second package may borrow meanwhile,
// on another thread or on this one, when a plug-in or an allocator calls back: it gets another list, and when all are
// lent, one that is freed at its end.
#ifndef QOR_TAVI_EXTRACTOR_SPARE_LISTS_HPP
#define QOR_TAVI_EXTRACTOR_SPARE_LISTS_HPP

#include <array>
#include <atomic>
#include <memory>
#include <type_traits>
#include <vector>

namespace qor::tavi::detail {

template<typename Element>
class spare_lists {
    struct place {
        // Set under the lock, cleared without it: whoever finds it clear sees what the last borrower did to the list.
        std::atomic<bool> is_lent{false};
        std::vector<Element> list;
    };

public:
    class loan {
    public:
        // Requires: the lock under which all borrow. A list of trivial elements comes with those of its last use.
        // Throws: std::bad_alloc, only when all lists are lent.
        explicit loan(spare_lists& lists) : place_(lists.find_free()) {
            if (place_ == nullptr) {
                own_ = std::make_unique<place>();
                place_ = own_.get();
            }
            place_->is_lent.store(true, std::memory_order_relaxed);
        }
        loan(const loan&) = delete;
        loan& operator=(const loan&) = delete;
        ~loan() {
            if constexpr (!std::is_trivially_destructible_v<Element>) {
                place_->list.clear();
            }
            place_->is_lent.store(false, std::memory_order_release);
        }

        std::vector<Element>& list() const noexcept { return place_->list; }

    private:
        std::unique_ptr<place> own_;
        place* place_;
    };

private:
    place* find_free() noexcept {
        for (place& each : places_) {
            if (!each.is_lent.load(std::memory_order_acquire)) {
                return &each;
            }
        }
        return nullptr;
    }

    std::array<place, 4> places_;
};

} // namespace qor::tavi::detail

#endif
