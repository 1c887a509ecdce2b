// What every function of this library is wrapped in: exceptions of its body become a status and a details record.
#ifndef QORC_BOUNDARY_HPP
#define QORC_BOUNDARY_HPP

#include <exception>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>

#include "qorc/error_details.h"
#include "qorc/memory_allocator.h"

namespace qorc {

// Throws: std::invalid_argument "argument 'NAME' was not initialized" for a null pointer.
template<typename Pointer>
void require(const Pointer& argument, const char* name) {
    if (argument == nullptr) {
        throw std::invalid_argument(std::string("argument '") + name + "' was not initialized");
    }
}

// System codes come out as the errno value that they stand for.
inline std::uint32_t status_of(const std::error_code& code) noexcept {
    const std::error_condition condition = code.default_error_condition();
    if (condition.category() != std::generic_category() || condition.value() == 0) {
        return QOR_STATUS_FAILURE;
    }
    return QOR_STATUS_FAMILY_GENERIC | (static_cast<std::uint32_t>(condition.value()) & 0xFFFFu);
}

// Runs `body` and returns 0, or the status of the exception that left it.
template<typename Body>
std::uint32_t at_boundary(qor_error_details_t** error, Body&& body) noexcept {
    try {
        body();
        return QOR_STATUS_OK;
    } catch (const std::bad_alloc&) {
        return qor_error_details_create(error, QOR_STATUS_OUT_OF_MEMORY, "memory allocation failed");
    } catch (const std::invalid_argument& failure) {
        return qor_error_details_create(error, QOR_STATUS_INVALID_ARGUMENT, failure.what());
    } catch (const std::system_error& failure) {
        return qor_error_details_create(error, status_of(failure.code()), failure.what());
    } catch (const std::exception& failure) {
        return qor_error_details_create(error, QOR_STATUS_FAILURE, failure.what());
    } catch (...) {
        return qor_error_details_create(error, QOR_STATUS_FAILURE, "unknown error");
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
