// A list that grows without moving what it has, in blocks: growing never takes the old and the new list at once, and
// blocks fit into memory that others gave back.
#ifndef PLUGINS_SIGNAL_STORAGE_BLOCK_LIST_HPP
#define PLUGINS_SIGNAL_STORAGE_BLOCK_LIST_HPP

#include <cstddef>
#include <utility>
#include <vector>

namespace qor::storage {

template<typename T>
class block_list {
public:
    std::size_t size() const noexcept { return size_; }

    // Requires: index < size().
    T& operator[](std::size_t index) noexcept { return blocks_[index / block_size][index % block_size]; }
    const T& operator[](std::size_t index) const noexcept { return blocks_[index / block_size][index % block_size]; }

    // Changes nothing when it throws.
    void push_back(const T& element) {
        if (size_ == blocks_.size() * block_size) {
            std::vector<T> block;
            block.reserve(block_size);
            blocks_.push_back(std::move(block));
        }
        blocks_[size_ / block_size].push_back(element);
        ++size_;
    }

    // Ends with element size - 1. Requires: size <= size().
    void shrink(std::size_t size) noexcept {
        while (size_ > size) {
            blocks_[--size_ / block_size].pop_back();
        }
    }

private:
    static constexpr std::size_t block_size = 256;

    std::vector<std::vector<T>> blocks_; // each with room for a whole block; the last ones may be empty
    std::size_t size_ = 0;
};

} // namespace qor::storage

#endif
