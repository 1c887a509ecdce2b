#include "qorc/memory_allocator.h"

#include <bit>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

namespace {

// A null context is answered with null by every entry, as hosts may test for.

void* heap_malloc(size_t size, void* context) {
    return context != nullptr ? std::malloc(size) : nullptr;
}

void heap_free(void* memory, void* context) {
    if (context != nullptr) {
        std::free(memory);
    }
}

void* heap_realloc(void* memory, size_t size, void* context) {
    return context != nullptr ? std::realloc(memory, size) : nullptr;
}

void* heap_calloc(size_t count, size_t size, void* context) {
    const bool overflows = size != 0 && count > std::numeric_limits<size_t>::max() / size;
    return context != nullptr && !overflows ? std::calloc(count, size) : nullptr;
}

// The C heap has no aligned allocation that is the same on every platform: the block is taken larger, and the pointer
// to its beginning stands right before the aligned address.
void* heap_aligned_malloc(size_t alignment, size_t size, void* context) {
    if (context == nullptr || !std::has_single_bit(alignment)) {
        return nullptr;
    }
    const size_t extra = alignment + sizeof(void*);
    if (extra < alignment || size > std::numeric_limits<size_t>::max() - extra) {
        return nullptr;
    }
    void* const block = std::malloc(size + extra);
    if (block == nullptr) {
        return nullptr;
    }
    void* aligned = static_cast<unsigned char*>(block) + sizeof(void*);
    size_t room = size + alignment;
    std::align(alignment, size, aligned, room);
    std::memcpy(static_cast<unsigned char*>(aligned) - sizeof(void*), &block, sizeof(void*));
    return aligned;
}

void heap_aligned_free(void* memory, void* context) {
    if (context == nullptr || memory == nullptr) {
        return;
    }
    void* block = nullptr;
    std::memcpy(&block, static_cast<unsigned char*>(memory) - sizeof(void*), sizeof(void*));
    std::free(block);
}

qor_memory_allocator_t heap = {heap_malloc,         heap_free,         heap_realloc, heap_calloc,
                               heap_aligned_malloc, heap_aligned_free, &heap};

} // namespace

qor_memory_allocator_t* qor_get_default_allocator(void) {
    return &heap;
}
