#include "tavi/nodes.hpp"

#include <algorithm>

namespace tavi::host {

const qor_type_node_t* nodes::find(std::string_view name) const noexcept {
    const auto found = std::find_if(begin(), end(), [&](const auto& node) { return text_of(node.name) == name; });
    return found != end() ? found : nullptr;
}

std::uint32_t element_count(const qor_type_node_t& node) noexcept {
    switch (node.kind) {
    case QOR_TYPE_NODE_OBJECT:
        return node.object.element_count;
    case QOR_TYPE_NODE_GROUP:
        return node.group.element_count;
    case QOR_TYPE_NODE_SIGNAL:
        return node.signal.element_count;
    default:
        return 1;
    }
}

std::uint32_t element_size(const qor_type_node_t& node) noexcept {
    switch (node.kind) {
    case QOR_TYPE_NODE_OBJECT:
        return node.object.element_size;
    case QOR_TYPE_NODE_GROUP:
        return node.group.element_size;
    case QOR_TYPE_NODE_SIGNAL:
        return node.signal.element_size;
    default:
        return 0;
    }
}

std::uint32_t offset_in_parent(const qor_type_node_t& node) noexcept {
    switch (node.kind) {
    case QOR_TYPE_NODE_GROUP:
        return node.group.offset;
    case QOR_TYPE_NODE_SIGNAL:
        return node.signal.offset;
    default:
        return 0;
    }
}

} // namespace tavi::host
