// What every function of this library is wrapped in: exceptions of its body become a status and a details record.
#ifndef QORC_BOUNDARY_HPP
#define QORC_BOUNDARY_HPP

#include <limits>
#include <new>

#include "qorc/exception_status.hpp"
#include "qorc/memory_allocator.h"

namespace qorc {

using qor::check_argument;

// Runs `body` and returns 0, or the status of the exception that left it.
template<typename Body>
std::uint32_t at_boundary(qor_error_details_t** error, Body&& body) noexcept {
    try {
        body();
        return QOR_STATUS_OK;
    } catch (...) {
        return qor::translate_standard_exception(error);
    }
}

// `count` records of `size` bytes, all zero. Throws: std::bad_alloc.
inline void* allocate_zeroed(const qor_memory_allocator_t& allocator, std::uint64_t count, std::size_t size) {
    if (count > std::numeric_limits<std::size_t>::max() / size) {
        throw std::bad_alloc();
    }
    void* const memory = allocator.calloc(static_cast<std::size_t>(count), size, allocator.context);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

// `size` bytes of undefined value. Throws: std::bad_alloc.
inline void* allocate(const qor_memory_allocator_t& allocator, std::uint64_t size) {
    if (size > std::numeric_limits<std::size_t>::max()) {
        throw std::bad_alloc();
    }
    void* const memory = allocator.malloc(static_cast<std::size_t>(size), allocator.context);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

inline void release(const qor_memory_allocator_t& allocator, void* memory) {
    if (memory != nullptr) {
        allocator.free(memory, allocator.context);
    }
}

// A block on its way into a record, given back when something fails before it got there.
class block_owner {
public:
    block_owner(const qor_memory_allocator_t& allocator, void* memory) noexcept
        : allocator_(allocator), memory_(memory) {}
    block_owner(const block_owner&) = delete;
    block_owner& operator=(const block_owner&) = delete;
    ~block_owner() { release(allocator_, memory_); }

    void* get() const noexcept { return memory_; }

    void* give_up() noexcept {
        void* const memory = memory_;
        memory_ = nullptr;
        return memory;
    }

private:
    const qor_memory_allocator_t& allocator_;
    void* memory_;
};

} // namespace qorc

#endif
