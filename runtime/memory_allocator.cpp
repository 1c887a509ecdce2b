#include "runtime/memory_allocator.hpp"

#include <cstdlib>

namespace qor::runtime {

namespace {

default_memory_allocator* object(void* context) {
    return static_cast<default_memory_allocator*>(context);
}

} // namespace

default_memory_allocator& default_memory_allocator::instance() {
    static default_memory_allocator allocator;
    return allocator;
}

default_memory_allocator::default_memory_allocator() {
    qor_memory_allocator_t& record = *this;
    record.malloc = [](std::size_t size, void* context) -> void* {
        return context != nullptr ? object(context)->malloc(size) : nullptr;
    };
    record.free = [](void* memory, void* context) {
        if (context != nullptr) {
            object(context)->free(memory);
        }
    };
    record.realloc = [](void* memory, std::size_t size, void* context) -> void* {
        return context != nullptr ? object(context)->realloc(memory, size) : nullptr;
    };
    record.calloc = [](std::size_t count, std::size_t size, void* context) -> void* {
        return context != nullptr ? object(context)->calloc(count, size) : nullptr;
    };
    record.aligned_malloc = [](std::size_t alignment, std::size_t size, void* context) -> void* {
        return context != nullptr ? object(context)->aligned_malloc(alignment, size) : nullptr;
    };
    record.aligned_free = [](void* memory, void* context) {
        if (context != nullptr) {
            object(context)->aligned_free(memory);
        }
    };
    record.context = this;
}

default_memory_allocator::~default_memory_allocator() = default;

void* default_memory_allocator::malloc(std::size_t size) {
    return std::malloc(size);
}

void default_memory_allocator::free(void* memory) {
    std::free(memory);
}

void* default_memory_allocator::realloc(void* memory, std::size_t size) {
    return std::realloc(memory, size);
}

void* default_memory_allocator::calloc(std::size_t count, std::size_t size) {
    return std::calloc(count, size);
}

void* default_memory_allocator::aligned_malloc(std::size_t alignment, std::size_t size) {
    const qor_memory_allocator_t& heap = *qor_get_default_allocator();
    return heap.aligned_malloc(alignment, size, heap.context);
}

void default_memory_allocator::aligned_free(void* memory) {
    const qor_memory_allocator_t& heap = *qor_get_default_allocator();
    heap.aligned_free(memory, heap.context);
}

memory_allocator::~memory_allocator() = default;

void* memory_allocator::malloc(std::size_t size) {
    return table->malloc(size, table->context);
}

void memory_allocator::free(void* memory) {
    table->free(memory, table->context);
}

void* memory_allocator::realloc(void* memory, std::size_t size) {
    return table->realloc(memory, size, table->context);
}

void* memory_allocator::calloc(std::size_t count, std::size_t size) {
    return table->calloc(count, size, table->context);
}

void* memory_allocator::aligned_malloc(std::size_t alignment, std::size_t size) {
    return table->aligned_malloc(alignment, size, table->context);
}

void memory_allocator::aligned_free(void* memory) {
    table->aligned_free(memory, table->context);
}

std::shared_ptr<memory_allocator> make_default_allocator() {
    return std::make_shared<memory_allocator>(&default_memory_allocator::instance());
}

} // namespace qor::runtime
