// From numbers to indices, fast for the few thousand ids of a bus.
#ifndef TOOLS_TAVI_DECODE_ID_TABLE_HPP
#define TOOLS_TAVI_DECODE_ID_TABLE_HPP

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace tavi::tool {

// Open addressing, at most half full. Thread: reading alone by any number.
class id_table {
public:
    static constexpr std::uint32_t none = UINT32_MAX;

    // `none` for an id that was not put in.
    std::uint32_t find(std::uint32_t id) const noexcept { return slots_[place_of(id)].index; }

    // Gives an id its index, a new one when it has one. Requires: index != none.
    void put(std::uint32_t id, std::uint32_t index) {
        if (slots_[place_of(id)].index == none && ++count_ > slots_.size() / 2) {
            grow();
        }
        slots_[place_of(id)] = {id, index};
    }

    // All that was put in, in no order: visit(id, index) with the index to change.
    template<typename Visit>
    void each(const Visit& visit) {
        for (slot& used : slots_) {
            if (used.index != none) {
                visit(used.id, used.index);
            }
        }
    }

private:
    struct slot {
        std::uint32_t id = 0;
        std::uint32_t index = none;
    };

    std::size_t place_of(std::uint32_t id) const noexcept {
        // Multiplying by the golden ratio spreads neighbouring ids.
        std::size_t place = static_cast<std::size_t>((id * UINT64_C(0x9E3779B97F4A7C15)) >> 32) & (slots_.size() - 1);
        while (slots_[place].index != none && slots_[place].id != id) {
            place = (place + 1) & (slots_.size() - 1);
        }
        return place;
    }

    void grow() {
        std::vector<slot> old(slots_.size() * 2);
        old.swap(slots_);
        for (const slot& moved : old) {
            if (moved.index != none) {
                slots_[place_of(moved.id)] = moved;
            }
        }
    }

    std::vector<slot> slots_ = std::vector<slot>(16);
    std::size_t count_ = 0;
};

} // namespace tavi::tool

#endif
