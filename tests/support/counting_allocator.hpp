// An allocator that knows its blocks: what is left over, what was freed that it never gave, and the failure of the nth
// allocation.
#ifndef TESTS_SUPPORT_COUNTING_ALLOCATOR_HPP
#define TESTS_SUPPORT_COUNTING_ALLOCATOR_HPP

#include <cstdlib>
#include <functional>
#include <mutex>
#include <new>
#include <set>
#include <utility>
#include <vector>

#include "qorc/memory_allocator.h"

namespace tavi::test {

class counting_allocator : public qor_memory_allocator_t {
public:
    counting_allocator() {
        malloc = [](std::size_t size, void* context) { return of(context).keep(std::malloc(size)); };
        free = [](void* memory, void* context) { of(context).release(memory); };
        realloc = [](void* memory, std::size_t size, void* context) -> void* {
            of(context).forget(memory);
            return of(context).keep(std::realloc(memory, size));
        };
        calloc = [](std::size_t count, std::size_t size, void* context) {
            return of(context).note(count, size) ? of(context).keep(std::calloc(count, size)) : nullptr;
        };
        aligned_malloc = [](std::size_t alignment, std::size_t size, void* context) {
            return of(context).keep(std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment));
        };
        aligned_free = free;
        context = this;
    }
    counting_allocator(const counting_allocator&) = delete;
    counting_allocator& operator=(const counting_allocator&) = delete;

    std::vector<std::pair<std::size_t, std::size_t>> callocs; // count and size of each
    std::size_t allocations = 0;
    std::size_t fail_at = 0;         // the allocation with this number gives null; 0 for none
    std::size_t frees = 0;           // null and what is allocated anew counted
    std::size_t foreign = 0;         // blocks freed here that came from elsewhere
    std::function<void()> call_back; // what each call does first

    std::size_t alive() const { return blocks_.size(); }

private:
    static counting_allocator& of(void* context) { return *static_cast<counting_allocator*>(context); }

    void call_host_back() const {
        if (call_back) {
            const auto copy = call_back; // since it may change itself
            copy();
        }
    }
    // Both give null or false where the test itself is without memory.
    bool note(std::size_t count, std::size_t size) {
        const std::lock_guard lock(mutex_);
        try {
            callocs.emplace_back(count, size);
            return true;
        } catch (const std::bad_alloc&) {
            return false;
        }
    }
    void* keep(void* memory) {
        call_host_back();
        const std::lock_guard lock(mutex_);
        try {
            if (++allocations != fail_at && memory != nullptr) {
                blocks_.insert(memory);
                return memory;
            }
        } catch (const std::bad_alloc&) {
            // as a failure of this allocator
        }
        std::free(memory);
        return nullptr;
    }
    void forget(void* memory) {
        const std::lock_guard lock(mutex_);
        ++frees;
        foreign += memory != nullptr && blocks_.erase(memory) == 0;
    }
    void release(void* memory) {
        call_host_back();
        forget(memory);
        std::free(memory);
    }

    std::mutex mutex_;
    std::set<void*> blocks_;
};

} // namespace tavi::test

#endif
