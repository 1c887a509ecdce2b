#include "plugins/nmea_processor/subscriptions.hpp"

#include <algorithm>
#include <string_view>
#include <utility>

namespace nmea_processor {

std::optional<byte_range> find_range(const qor_type_node_sequence_t& hierarchy, uint64_t position,
                                     uint64_t extent) noexcept {
    if (hierarchy.nodes == nullptr || hierarchy.count < 2) {
        return std::nullopt;
    }
    const qor_type_node_t& view = hierarchy.nodes[0];
    const qor_type_node_t& object = hierarchy.nodes[1];
    if (view.kind != QOR_TYPE_NODE_VIEW || object.kind != QOR_TYPE_NODE_OBJECT || view.name == nullptr ||
        object.name == nullptr) {
        return std::nullopt;
    }
    const object_layout* const layout = find_object(view.name, object.name, object.object.address,
                                                    object.object.element_count, object.object.element_size);
    if (layout == nullptr || extent == 0 || position > layout->size() || extent > layout->size() - position) {
        return std::nullopt;
    }
    return byte_range{layout->begin + position, layout->begin + position + extent};
}

void subscriptions::begin_package() noexcept {
    for (auto& [handle, entry] : by_handle_) {
        entry.owed.clear();
    }
}

void subscriptions::serve(const image& values) {
    const auto updates = values.updates();
    for (auto& [handle, entry] : by_handle_) {
        const byte_range& range = entry.range;
        const bool updated = std::any_of(updates.begin(), updates.end(),
                                         [&range](const byte_range& update) { return update.meets(range); });
        if (updated) {
            const auto bytes = values.bytes().subspan(range.begin, range.end - range.begin);
            entry.owed.insert(entry.owed.end(), bytes.begin(), bytes.end());
        }
    }
}

subscriptions::records subscriptions::fetch(uint64_t handle) {
    const auto found = by_handle_.find(handle);
    if (found == by_handle_.end()) {
        return {};
    }
    const byte_range& range = found->second.range;
    return {std::exchange(found->second.owed, {}), range.end - range.begin};
}

} // namespace nmea_processor
