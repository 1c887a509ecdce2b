#include "tools/tavi/decode/interface_routes.hpp"

#include <algorithm>
#include <cstdio>
#include <unordered_set>

#include "qorc/type_node.h"

namespace tavi::tool {

namespace {

bool is_extended(std::uint32_t id) noexcept {
    return (id & qor::can_extended_bit) != 0;
}

} // namespace

void interface_routes::add(message& added) {
    messages_.push_back(&added);
    const auto [place, is_new] = paths_.try_emplace(added.path, nullptr);
    if (added.address > UINT32_MAX) {
        return;
    }
    if (is_new && added.selected) {
        place->second = targets_.emplace_back(std::make_unique<target>()).get();
        place->second->wanted = &added;
    }
    members_.push_back({static_cast<std::uint32_t>(added.address), &added, place->second});
}

void interface_routes::close() {
    std::vector<std::uint32_t> ids; // of 29 bits
    for (const member& each : members_) {
        if (is_extended(each.id)) {
            ids.push_back(each.id);
        }
    }
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    for (auto first = members_.begin(); first != members_.end();) {
        const auto last = std::find_if(first, members_.end(), [&](const member& each) {
            return each.known->description != first->known->description;
        });
        add_description({first, last}, ids);
        first = last;
    }
    members_ = {};
}

bool interface_routes::is_group(const member& candidate) const noexcept {
    return is_extended(candidate.id) && (j1939_ || (candidate.known->flags & QOR_OBJECT_PARAMETER_GROUP) != 0);
}

// members  those of the description, in its order
// ids      all of 29 bits that any description has
void interface_routes::add_description(std::span<const member> members, std::span<const std::uint32_t> ids) {
    std::unordered_set<std::uint32_t> own_ids;
    std::unordered_map<std::uint32_t, target*> groups;
    for (const member& each : members) {
        append(by_id_, each.id, each.wanted, false);
        own_ids.insert(each.id);
        const std::uint32_t group = qor::parameter_group(each.id);
        if (is_group(each) && groups.try_emplace(group, each.wanted).second) {
            append(by_group_, group, each.wanted, true);
        }
    }
    for (const std::uint32_t id : ids) {
        const auto found = groups.find(qor::parameter_group(id));
        if (found != groups.end() && !own_ids.contains(id)) {
            append(by_id_, id, found->second, true);
        }
    }
}

// Notes an id or group as known and, unless `wanted` is null, adds to its targets.
void interface_routes::append(id_table& table, std::uint32_t key, target* wanted, bool by_group) {
    std::uint32_t number = table.find(key);
    if (number == unknown || (number == not_selected && wanted != nullptr)) {
        number = wanted != nullptr ? static_cast<std::uint32_t>(routes_.size()) : not_selected;
        routes_.resize(std::max<std::size_t>(routes_.size(), number + std::size_t{1}));
        table.put(key, number);
    }
    if (wanted == nullptr) {
        return;
    }
    route& frames = routes_[number];
    if (std::find(frames.targets.begin(), frames.targets.end(), wanted) != frames.targets.end()) {
        return;
    }
    frames.targets.push_back(wanted);
    if (by_group) {
        frames.by_group.push_back(wanted);
    }
    const std::size_t layer = wanted->wanted->layer;
    const auto place = std::lower_bound(frames.layers.begin(), frames.layers.end(), layer);
    if (place == frames.layers.end() || *place != layer) {
        frames.layers.insert(place, layer);
    }
}

void interface_routes::exclude(const host::reader_filter& filter, std::uint16_t source_id) {
    id_table accepted;
    for (const host::reader_filter::term& term : filter.terms()) {
        if (term.source_id.value_or(source_id) != source_id ||
            (term.instance && catalogue::interface_of(*term.instance) != number_)) {
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
        const route& frames = routes_[number];
        const bool is_told =
            frames.by_group.empty() && std::all_of(frames.targets.begin(), frames.targets.end(),
                                                   [](const target* wanted) { return wanted->handle != 0; });
        if (is_told && accepted.find(id) == id_table::none) {
            number = not_selected;
        }
    });
}

std::optional<std::string> interface_routes::reader_filter() {
    bool has_group = false;
    by_group_.each([&](std::uint32_t, std::uint32_t& number) { has_group = has_group || number != not_selected; });
    if (has_group) {
        return std::nullopt;
    }
    std::string expression;
    by_id_.each([&](std::uint32_t id, std::uint32_t& number) {
        if (number != not_selected) {
            char term[40];
            std::snprintf(term, sizeof term, "%s(Address = 0x%X)", expression.empty() ? "" : " OR ",
                          static_cast<unsigned>(id));
            expression += term;
        }
    });
    return expression;
}

} // namespace tavi::tool
