#include "tavi/arena.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>

namespace tavi::host {

namespace {

// In front of each block that is handed out: its size, so that it can be copied and given back.
constexpr std::size_t header_size = alignof(std::max_align_t);
static_assert(header_size >= sizeof(std::size_t));

constexpr std::size_t smallest_block = 256;

std::size_t size_of(const void* memory) noexcept {
    std::size_t size;
    std::memcpy(&size, static_cast<const std::byte*>(memory) - header_size, sizeof size);
    return size;
}

arena& arena_of(void* context) noexcept {
    return *static_cast<arena*>(context);
}

} // namespace

arena::arena(std::size_t first_block) : table_{}, first_block_(std::max(first_block, smallest_block)) {
    table_.malloc = [](std::size_t size, void* context) { return arena_of(context).allocate(size); };
    table_.free = [](void* memory, void* context) { arena_of(context).release(memory); };
    table_.realloc = [](void* memory, std::size_t size, void* context) {
        return arena_of(context).reallocate(memory, size);
    };
    table_.calloc = [](std::size_t count, std::size_t size, void* context) -> void* {
        if (size != 0 && count > std::numeric_limits<std::size_t>::max() / size) {
            return nullptr;
        }
        void* const memory = arena_of(context).allocate(count * size);
        return memory != nullptr ? std::memset(memory, 0, count * size) : nullptr;
    };
    table_.aligned_malloc = [](std::size_t alignment, std::size_t size, void* context) {
        return arena_of(context).allocate(size, alignment);
    };
    table_.aligned_free = table_.free;
    table_.context = this;
}

arena::~arena() = default;

void* arena::allocate(std::size_t size, std::size_t alignment) noexcept {
    alignment = std::max(alignment, header_size);
    const std::size_t room = static_cast<std::size_t>(end_ - next_);
    // Distance from the free room to the first aligned place that leaves room for the header.
    const std::size_t address = reinterpret_cast<std::uintptr_t>(next_) + header_size;
    const std::size_t gap = header_size + (~address + 1) % alignment;
    if (room < gap || room - gap < size) {
        return allocate_from_new_block(size, alignment);
    }
    std::byte* const memory = next_ + gap;
    std::memcpy(memory - header_size, &size, sizeof size);
    next_ = memory + size;
    return memory;
}

void* arena::allocate_from_new_block(std::size_t size, std::size_t alignment) noexcept {
    constexpr std::size_t most = std::numeric_limits<std::ptrdiff_t>::max();
    if (alignment > most / 4 || size > most / 4) {
        return nullptr;
    }
    const std::size_t wanted =
        std::max(blocks_.empty() ? first_block_ : blocks_.back().size * 2, size + alignment + header_size);
    try {
        blocks_.reserve(blocks_.size() + 1);
        block fresh{std::unique_ptr<std::byte[]>(new std::byte[wanted]), wanted};
        earlier_ += blocks_.empty() ? 0 : blocks_.back().size;
        blocks_.push_back(std::move(fresh));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    next_ = blocks_.back().bytes.get();
    end_ = next_ + wanted;
    return allocate(size, alignment);
}

void* arena::reallocate(void* memory, std::size_t size) noexcept {
    if (memory == nullptr) {
        return allocate(size);
    }
    const std::size_t old_size = size_of(memory);
    std::byte* const bytes = static_cast<std::byte*>(memory);
    if (bytes + old_size == next_ && size <= static_cast<std::size_t>(end_ - bytes)) {
        std::memcpy(bytes - header_size, &size, sizeof size);
        next_ = bytes + size;
        return memory;
    }
    void* const moved = allocate(size);
    return moved != nullptr ? std::memcpy(moved, memory, std::min(size, old_size)) : nullptr;
}

void arena::release(void* memory) noexcept {
    if (memory == nullptr) {
        return;
    }
    std::byte* const bytes = static_cast<std::byte*>(memory);
    if (bytes + size_of(memory) == next_) {
        next_ = bytes - header_size;
    }
}

void arena::reset() noexcept {
    if (blocks_.size() > 1) {
        const std::size_t total = reserved();
        if (auto* const bytes = new (std::nothrow) std::byte[total]) {
            blocks_.resize(1);
            blocks_.front() = {std::unique_ptr<std::byte[]>(bytes), total};
        } else {
            blocks_.erase(blocks_.begin(), blocks_.end() - 1);
        }
        end_ = blocks_.front().bytes.get() + blocks_.front().size;
    }
    earlier_ = 0;
    next_ = blocks_.empty() ? nullptr : blocks_.front().bytes.get();
}

std::size_t arena::used() const noexcept {
    return blocks_.empty() ? 0 : earlier_ + static_cast<std::size_t>(next_ - blocks_.back().bytes.get());
}

std::size_t arena::reserved() const noexcept {
    std::size_t total = 0;
    for (const block& each : blocks_) {
        total += each.size;
    }
    return total;
}

} // namespace tavi::host
