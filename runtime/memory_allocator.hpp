// Allocator tables: one of our own over the standard heap, and a class over anyone's.
#ifndef RUNTIME_MEMORY_ALLOCATOR_HPP
#define RUNTIME_MEMORY_ALLOCATOR_HPP

#include <cstddef>
#include <memory>

#include "qorc/memory_allocator.h"

namespace qor::runtime {

// The standard heap. Entries of the record that are called with a null context give null or do nothing. Thread: any.
class default_memory_allocator : public qor_memory_allocator_t {
public:
    // The one of the process, destroyed at its exit.
    static default_memory_allocator& instance();

    default_memory_allocator();
    default_memory_allocator(const default_memory_allocator&) = delete;
    default_memory_allocator& operator=(const default_memory_allocator&) = delete;
    virtual ~default_memory_allocator();

    virtual void* malloc(std::size_t size);
    virtual void free(void* memory);
    virtual void* realloc(void* memory, std::size_t size);
    virtual void* calloc(std::size_t count, std::size_t size);
    virtual void* aligned_malloc(std::size_t alignment, std::size_t size);
    virtual void aligned_free(void* memory);
};

// Calls the functions of a table, which must outlive the object. Nothing is tested: neither the table's fields nor
// what they return.
class memory_allocator : public std::enable_shared_from_this<memory_allocator> {
public:
    explicit memory_allocator(qor_memory_allocator_t* table) noexcept : table(table) {}
    virtual ~memory_allocator();

    virtual void* malloc(std::size_t size);
    virtual void free(void* memory);
    virtual void* realloc(void* memory, std::size_t size);
    virtual void* calloc(std::size_t count, std::size_t size);
    virtual void* aligned_malloc(std::size_t alignment, std::size_t size);
    virtual void aligned_free(void* memory);

    qor_memory_allocator_t* const table;
};

// A new object over default_memory_allocator::instance().
std::shared_ptr<memory_allocator> make_default_allocator();

} // namespace qor::runtime

#endif
