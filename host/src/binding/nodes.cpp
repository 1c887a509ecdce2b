#include "tavi/nodes.hpp"

#include <algorithm>

#include "qorcpp/node_layout.hpp"

namespace tavi::host {

const qor_type_node_t* nodes::find(std::string_view name) const noexcept {
    const auto found = std::find_if(begin(), end(), [&](const auto& node) { return text_of(node.name) == name; });
    return found != end() ? found : nullptr;
}

std::uint32_t element_count(const qor_type_node_t& node) noexcept {
    const auto layout = qor::layout_of_node(node);
    return layout ? layout->element_count : 1;
}

std::uint32_t element_size(const qor_type_node_t& node) noexcept {
    const auto layout = qor::layout_of_node(node);
    return layout ? layout->element_size : 0;
}

std::uint32_t offset_in_parent(const qor_type_node_t& node) noexcept {
    const auto layout = qor::layout_of_node(node);
    return layout ? layout->offset : 0;
}

} // namespace tavi::host
