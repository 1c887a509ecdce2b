#include "tools/tavi/interface_routes.hpp"

#include "qorc/type_node.h"
#include "qorcpp/can_frame.hpp"

namespace tavi::tool {

route& interface_routes::route_of(id_table& table, std::uint32_t key) {
    const std::uint32_t index = table.insert(key, static_cast<std::uint32_t>(routes_.size()));
    return index == routes_.size() ? routes_.emplace_back() : routes_[index];
}

bool interface_routes::add(message& added) {
    if (!paths_.insert(added.path).second) {
        return false;
    }
    if (added.address > UINT32_MAX) {
        return true;
    }
    target* wanted = nullptr;
    if (added.selected) {
        targets_.push_back(std::make_unique<target>());
        wanted = targets_.back().get();
        wanted->wanted = &added;
    }
    const auto append = [&](route& to) {
        if (wanted != nullptr) {
            to.targets.push_back(wanted);
        }
    };
    const auto id = static_cast<std::uint32_t>(added.address);
    const bool extended = (id & qor::can_extended_bit) != 0;
    const std::uint32_t group = qor::parameter_group(id);
    if (extended && (j1939_ || (added.flags & QOR_OBJECT_PARAMETER_GROUP) != 0)) {
        append(route_of(by_group_, group));
        for (const auto& [other, to] : extended_) {
            if (qor::parameter_group(other) == group) {
                append(*to);
            }
        }
        return true;
    }
    const bool is_new = by_id_.find(id) == id_table::none;
    route& to = route_of(by_id_, id);
    if (extended && is_new) {
        extended_.emplace_back(id, &to);
        if (const std::uint32_t same = by_group_.find(group); same != id_table::none) {
            to.targets = routes_[same].targets;
        }
    }
    append(to);
    return true;
}

route* interface_routes::find(std::uint32_t id) noexcept {
    std::uint32_t index = by_id_.find(id);
    if (index == id_table::none && (id & qor::can_extended_bit) != 0) {
        index = by_group_.find(qor::parameter_group(id));
    }
    return index == id_table::none ? nullptr : &routes_[index];
}

} // namespace tavi::tool
