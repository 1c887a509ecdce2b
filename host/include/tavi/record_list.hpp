// The records of one package, in a list that is used again for the next.
#ifndef TAVI_RECORD_LIST_HPP
#define TAVI_RECORD_LIST_HPP

#include <cstddef>
#include <cstdint>
#include <span>

#include "qorc/dynamic_data.h"
#include "tavi/arena.hpp"

namespace tavi::host {

// The bytes of a record: what a record_plan reads.
inline std::span<const std::uint8_t> bytes_of(const qor_dynamic_data_t& record) noexcept {
    return {record.sequence.data, static_cast<std::size_t>(record.sequence.sequence_length)};
}

// Filled by extractor::process. The records live in an arena of the list's own, so that a list that was used before
// takes no memory from the heap. Thread: one at a time.
class record_list {
public:
    class iterator {
    public:
        using value_type = const qor_dynamic_data_t;
        using difference_type = std::ptrdiff_t;

        iterator() = default;
        explicit iterator(const qor_dynamic_data_t* const* at) noexcept : at_(at) {}
        const qor_dynamic_data_t& operator*() const noexcept { return **at_; }
        const qor_dynamic_data_t* operator->() const noexcept { return *at_; }
        iterator& operator++() noexcept {
            ++at_;
            return *this;
        }
        iterator operator++(int) noexcept { return iterator(at_++); }
        bool operator==(const iterator&) const = default;

    private:
        const qor_dynamic_data_t* const* at_ = nullptr;
    };

    // The records stay valid until the next process, clear or the end of the list.
    std::size_t size() const noexcept { return count_; }
    bool empty() const noexcept { return count_ == 0; }
    iterator begin() const noexcept { return iterator(records_); }
    iterator end() const noexcept { return iterator(records_ + count_); }
    // Requires: index < size().
    const qor_dynamic_data_t& operator[](std::size_t index) const noexcept { return *records_[index]; }

    void clear() noexcept {
        records_ = nullptr;
        count_ = 0;
        memory_.reset();
    }

private:
    friend class extractor;

    arena memory_;
    const qor_dynamic_data_t* const* records_ = nullptr;
    std::size_t count_ = 0;
};

} // namespace tavi::host

#endif
