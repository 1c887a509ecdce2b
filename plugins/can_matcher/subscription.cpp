#include "plugins/can_matcher/subscription.hpp"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <string>
#include <string_view>

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

// "5,12": ascending.
std::vector<std::uint32_t> parse_ids(std::string_view text) {
    std::vector<std::uint32_t> ids;
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at != end) {
        std::uint32_t id = 0;
        const auto [stop, failure] = std::from_chars(at, end, id);
        if (failure != std::errc() || (stop != end && (*stop != ',' || stop + 1 == end)) ||
            (!ids.empty() && id <= ids.back())) {
            throw std::invalid_argument("invalid list of ids '" + std::string(text) + "': expected an id at " +
                                        std::to_string(at - text.data() + 1));
        }
        ids.push_back(id);
        at = stop == end ? end : stop + 1;
    }
    return ids;
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
    if (result.is_extended()) {
        result.is_parameter_group_ = (object->object.flags & QOR_OBJECT_PARAMETER_GROUP) != 0;
        result.is_j1939_group_ = (object->object.flags & QOR_OBJECT_ID_ALONE) == 0;
        result.group_ids_ = parse_ids(object->group_ids != nullptr ? object->group_ids : "");
    }
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
    const bool counts = is_j1939 ? is_j1939_group_ : is_parameter_group_;
    return frame.id == id_ || (counts && (frame.id & can_extended_bit) != 0 &&
                               parameter_group(frame.id) == parameter_group(id_) && takes_by_group(frame.id));
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
