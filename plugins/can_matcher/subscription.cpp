#include "plugins/can_matcher/subscription.hpp"

#include <algorithm>

namespace qor::can_matcher {

namespace {

constexpr std::uint64_t largest_offset = UINT32_MAX;

const qor_type_node_t* last_object(const qor_type_node_sequence_t& hierarchy) noexcept {
    for (std::uint64_t i = hierarchy.count; i-- > 0;) {
        if (hierarchy.nodes[i].kind == QOR_TYPE_NODE_OBJECT) {
            return &hierarchy.nodes[i];
        }
    }
    return nullptr;
}

} // namespace

std::optional<subscription> subscription::make(const qor_type_node_sequence_t& hierarchy, std::uint64_t position,
                                               std::uint64_t size) {
    const qor_type_node_t* const object = last_object(hierarchy);
    if (object == nullptr || object->object.address > UINT32_MAX || position < object->object.address ||
        position - object->object.address > largest_offset) {
        return std::nullopt;
    }
    const qor_type_node_t& subscribed = hierarchy.nodes[hierarchy.count - 1];
    subscription result;
    result.id_ = static_cast<std::uint32_t>(object->object.address);
    result.is_parameter_group_ = result.is_extended() && (object->object.flags & QOR_OBJECT_PARAMETER_GROUP) != 0;
    result.is_signal_ = subscribed.kind == QOR_TYPE_NODE_SIGNAL;
    result.offset_ = position - object->object.address;
    result.size_ = size;
    if (result.is_signal_ && subscribed.signal.presence != nullptr) {
        result.presence_ = presence(subscribed.signal.presence);
    }
    return result;
}

bool subscription::fits(const can_frame_view& frame, bool is_j1939) const noexcept {
    if ((frame.id & (can_remote_bit | can_error_bit)) != 0) {
        return false;
    }
    if (is_parameter_group_ || (is_j1939 && is_extended())) {
        return (frame.id & can_extended_bit) != 0 && parameter_group(frame.id) == parameter_group(id_);
    }
    return frame.id == id_;
}

std::optional<extent> subscription::locate(const can_frame_view& frame, bool lenient) const noexcept {
    const std::uint64_t behind = frame.data.size() > offset_ ? frame.data.size() - offset_ : 0;
    const std::uint64_t there = std::min(size_, behind);
    const bool is_cut = there < size_;
    if (lenient && is_cut && (is_signal_ || (there == 0 && offset_ != 0))) {
        return std::nullopt;
    }
    if (!presence_.conditions().empty() && !presence_.holds(frame.data)) {
        return std::nullopt;
    }
    return extent{can_header_size + offset_, there, lenient ? there : size_};
}

} // namespace qor::can_matcher
