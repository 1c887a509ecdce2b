#include "tools/tavi/decode/interface_routes.hpp"

#include <algorithm>

#include "qorc/type_node.h"

namespace tavi::tool {

// Notes an id or group as known and, unless `wanted` is null, adds to its targets.
void interface_routes::append(id_table& table, std::uint32_t key, target* wanted) {
    std::uint32_t number = table.find(key);
    if (number == unknown || (number == not_selected && wanted != nullptr)) {
        number = wanted != nullptr ? static_cast<std::uint32_t>(routes_.size()) : not_selected;
        routes_.resize(std::max<std::size_t>(routes_.size(), number + std::size_t{1}));
        table.put(key, number);
    }
    if (wanted != nullptr) {
        routes_[number].targets.push_back(wanted);
    }
}

bool interface_routes::add(message& added) {
    if (!paths_.insert(added.path).second) {
        return false;
    }
    messages_.push_back(&added);
    if (added.address > UINT32_MAX) {
        return true;
    }
    target* wanted = nullptr;
    if (added.selected) {
        targets_.push_back(std::make_unique<target>());
        wanted = targets_.back().get();
        wanted->wanted = &added;
    }
    const auto id = static_cast<std::uint32_t>(added.address);
    const bool extended = (id & qor::can_extended_bit) != 0;
    const std::uint32_t group = qor::parameter_group(id);
    if (extended && (j1939_ || (added.flags & QOR_OBJECT_PARAMETER_GROUP) != 0)) {
        if (wanted != nullptr) {
            wanted->by_group = true;
        }
        append(by_group_, group, wanted);
        for (const std::uint32_t other : extended_) {
            if (qor::parameter_group(other) == group) {
                append(by_id_, other, wanted);
            }
        }
        return true;
    }
    if (extended && by_id_.find(id) == unknown) {
        extended_.push_back(id);
        if (const std::uint32_t same = by_group_.find(group); same != unknown) {
            for (std::size_t at = 0; at < routes_[same].targets.size(); ++at) {
                append(by_id_, id, routes_[same].targets[at]);
            }
        }
    }
    append(by_id_, id, wanted);
    return true;
}

void interface_routes::exclude(const host::reader_filter& filter, std::uint16_t source_id) {
    id_table accepted;
    for (const host::reader_filter::term& term : filter.terms()) {
        if (term.source_id.value_or(source_id) != source_id || term.instance.value_or(number_) != number_) {
            continue;
        }
        if (!term.address) {
            return;
        }
        if (*term.address <= UINT32_MAX) {
            accepted.put(static_cast<std::uint32_t>(*term.address), 0);
        }
    }
    by_id_.each([&](std::uint32_t id, std::uint32_t& number) {
        const auto& targets = routes_[number].targets;
        const bool is_told = std::all_of(targets.begin(), targets.end(),
                                         [](const target* wanted) { return !wanted->by_group && wanted->handle != 0; });
        if (is_told && accepted.find(id) == id_table::none) {
            number = not_selected;
        }
    });
}

} // namespace tavi::tool
