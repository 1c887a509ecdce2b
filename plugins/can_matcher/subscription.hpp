// What the matcher keeps of one subscription, and how it meets a frame whose id fits already.
#ifndef PLUGINS_CAN_MATCHER_SUBSCRIPTION_HPP
#define PLUGINS_CAN_MATCHER_SUBSCRIPTION_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

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

class subscription {
public:
    // hierarchy  the nodes from the view down to what was subscribed to
    // position   absolute position of its first byte
    // size       its bytes
    //
    // Nothing when no frame can carry it: no object in the hierarchy, an address that is no frame id.
    // Throws: std::invalid_argument for an invalid presence text or list of ids.
    static std::optional<subscription> make(const qor_type_node_sequence_t& hierarchy, std::uint64_t position,
                                            std::uint64_t size);

    // With bit 31 for 29-bit ids.
    std::uint32_t id() const noexcept { return id_; }
    bool is_extended() const noexcept { return (id_ & can_extended_bit) != 0; }
    // Whether frames of its parameter group may be of its message, whatever their id: in all formats, in "j1939".
    bool is_parameter_group() const noexcept { return is_parameter_group_; }
    bool is_j1939_group() const noexcept { return is_j1939_group_; }

    // Whether a frame of its parameter group, in a format in which that counts, is of its message by the group: when no
    // message of the description has the frame's id. Requires: parameter_group(frame_id) == parameter_group(id()).
    bool takes_by_group(std::uint32_t frame_id) const noexcept {
        return frame_id != id_ && !std::binary_search(group_ids_.begin(), group_ids_.end(), frame_id);
    }

    // Whether a frame that arrived in this format is of the subscription's message. Remote and error frames are of
    // none.
    bool fits(const can_frame_view& frame, bool is_j1939) const noexcept;

    // Where its bytes lie in the payload of a frame that fits; nothing when they are not in it.
    std::optional<extent> locate(const can_frame_view& frame, bool lenient) const noexcept;

private:
    subscription() = default;

    std::uint32_t id_ = 0;
    bool is_parameter_group_ = false;
    bool is_j1939_group_ = false;
    bool is_signal_ = false;
    // In the data of the frame.
    std::uint64_t offset_ = 0;
    std::uint64_t size_ = 0;
    presence presence_;
    // Of other messages of the description, ascending.
    std::vector<std::uint32_t> group_ids_;
};

} // namespace qor::can_matcher

#endif
