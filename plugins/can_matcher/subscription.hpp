// What the matcher keeps of one subscription, and how it meets a frame whose id fits already.
#ifndef PLUGINS_CAN_MATCHER_SUBSCRIPTION_HPP
#define PLUGINS_CAN_MATCHER_SUBSCRIPTION_HPP

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "qorc/type_node.h"
#include "qorcpp/can_frame.hpp"
#include "qorcpp/presence.hpp"

namespace qor::can_matcher {

// As the outputs of qor_data_matcher_support_t::match.
struct extent {
    std::uint64_t offset;
    std::uint64_t size;
    std::uint64_t expected_size;
};

// Where a handle stood in the lists of the last batches, or would have stood: a place to look first, right or wrong. As
// each source has its own list, there is one for each remainder of the list's first handle.
// Thread: any number at once, also through const.
class remembered_places {
public:
    remembered_places() = default;
    remembered_places(const remembered_places&) noexcept {}
    remembered_places& operator=(const remembered_places&) noexcept { return *this; }

    std::size_t get(std::uint64_t first) const noexcept { return slot(first).load(std::memory_order_relaxed); }
    void set(std::uint64_t first, std::size_t place) const noexcept {
        slot(first).store(static_cast<std::uint32_t>(place), std::memory_order_relaxed);
    }

private:
    std::atomic<std::uint32_t>& slot(std::uint64_t first) const noexcept { return places_[first % places_.size()]; }

    mutable std::array<std::atomic<std::uint32_t>, 8> places_{};
};

class subscription {
public:
    // hierarchy  the nodes from the view down to what was subscribed to
    // position   absolute position of its first byte
    // size       its bytes
    //
    // Nothing when no frame can carry it: no object in the hierarchy, an address that is no frame id.
    // Throws: std::invalid_argument for a presence text that is none.
    static std::optional<subscription> make(const qor_type_node_sequence_t& hierarchy, std::uint64_t position,
                                            std::uint64_t size);

    // With bit 31 for 29-bit ids.
    std::uint32_t id() const noexcept { return id_; }
    bool is_extended() const noexcept { return (id_ & can_extended_bit) != 0; }
    // Its message is always known by its parameter group.
    bool is_parameter_group() const noexcept { return is_parameter_group_; }

    // Whether a frame that arrived in this format is of the subscription's message. Remote and error frames are of
    // none.
    bool fits(const can_frame_view& frame, bool is_j1939) const noexcept;

    // Where its bytes lie in the payload of a frame that fits; nothing when they are not in it.
    std::optional<extent> locate(const can_frame_view& frame, bool lenient) const noexcept;

    const remembered_places& last_places() const noexcept { return last_places_; }

private:
    subscription() = default;

    std::uint32_t id_ = 0;
    bool is_parameter_group_ = false;
    bool is_signal_ = false;
    // In the data of the frame.
    std::uint64_t offset_ = 0;
    std::uint64_t size_ = 0;
    presence presence_;
    remembered_places last_places_;
};

} // namespace qor::can_matcher

#endif
