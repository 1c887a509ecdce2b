// An allocator that gives everything back at once: for the records of one package.
#ifndef TAVI_ARENA_HPP
#define TAVI_ARENA_HPP

#include <cstddef>
#include <memory>
#include <vector>

#include "qorc/memory_allocator.h"

namespace tavi::host {

// Hands out memory from blocks that it keeps. Single frees only give back what was handed out last; reset() makes all
// room free again, at the cost of one assignment. Once the blocks are large enough for a round, no round asks the heap.
//
// Thread: one at a time. The arena must outlive what uses its allocator and must not move.
class arena {
public:
    // first_block  bytes of the first block, which is taken when it is first needed; later blocks are larger
    explicit arena(std::size_t first_block = std::size_t{16} * 1024);
    arena(const arena&) = delete;
    arena& operator=(const arena&) = delete;
    ~arena();

    // The table of this arena, valid as long as the arena. Its functions give null when memory ran out.
    qor_memory_allocator_t* allocator() noexcept { return &table_; }

    // Makes all that was handed out invalid. Several blocks are replaced by one that has room for all of them.
    void reset() noexcept;

    // Bytes handed out since the last reset, with the room between them.
    std::size_t used() const noexcept;
    // Bytes taken from the heap.
    std::size_t reserved() const noexcept;

    // `size` bytes; null when memory ran out. `alignment` is a power of two.
    void* allocate(std::size_t size, std::size_t alignment = alignof(std::max_align_t)) noexcept;

private:
    struct block {
        std::unique_ptr<std::byte[]> bytes;
        std::size_t size;
    };

    void* allocate_from_new_block(std::size_t size, std::size_t alignment) noexcept;
    void* reallocate(void* memory, std::size_t size) noexcept;
    void release(void* memory) noexcept;

    qor_memory_allocator_t table_;
    std::size_t first_block_;
    // The last one is in use.
    std::vector<block> blocks_;
    std::byte* next_ = nullptr;
    std::byte* end_ = nullptr;
    // Bytes of the blocks before the last.
    std::size_t earlier_ = 0;
};

} // namespace tavi::host

#endif
