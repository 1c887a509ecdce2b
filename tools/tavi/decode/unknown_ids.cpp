#include "tools/tavi/decode/unknown_ids.hpp"

#include <algorithm>
#include <cstdio>
#include <unordered_set>

#include "qorcpp/can_frame.hpp"

namespace tavi::tool {

namespace {

constexpr std::size_t shown_ids = 5;

std::string id_text(std::uint32_t id) {
    char text[16];
    std::snprintf(text, sizeof text, (id & qor::can_extended_bit) != 0 ? "%08X" : "%03X",
                  static_cast<unsigned>(id & ~qor::can_extended_bit));
    return text;
}

std::string frames_text(std::uint64_t count) {
    return std::to_string(count) + (count == 1 ? " frame" : " frames");
}

// Parameter groups of the messages with 29-bit ids that are meant for one of the interfaces; nothing when no message is
// meant for any.
std::unordered_set<std::uint32_t> groups_of(const std::vector<std::string>& interfaces, const catalogue& catalogue,
                                            selection& selection, bool& any) {
    std::unordered_set<std::uint32_t> groups;
    for (const message& candidate : selection.messages()) {
        const bool serves = std::any_of(interfaces.begin(), interfaces.end(), [&](const std::string& name) {
            return catalogue.serves(candidate.description, name);
        });
        any = any || serves;
        const auto id = static_cast<std::uint32_t>(candidate.address);
        if (serves && candidate.address <= UINT32_MAX && (id & qor::can_extended_bit) != 0) {
            groups.insert(qor::parameter_group(id));
        }
    }
    return groups;
}

} // namespace

void id_counts::add(std::uint32_t id, std::uint32_t frames) {
    const std::uint32_t before = counts_.find(id);
    if (before != id_table::none) {
        counts_.put(id, std::min(before, id_table::none - 1 - frames) + frames);
    } else if (ids_.size() < most_ids) {
        ids_.push_back(id);
        counts_.put(id, frames);
    } else {
        full_ = true;
    }
}

void id_counts::add(const id_counts& other) {
    for (const std::uint32_t id : other.ids_) {
        add(id, other.counts_.find(id));
    }
    full_ = full_ || other.full_;
}

std::vector<id_counts::entry> id_counts::sorted() const {
    std::vector<entry> entries;
    entries.reserve(ids_.size());
    for (const std::uint32_t id : ids_) {
        entries.emplace_back(id, counts_.find(id));
    }
    std::sort(entries.begin(), entries.end(), [](const entry& left, const entry& right) {
        return left.second != right.second ? left.second > right.second : left.first < right.first;
    });
    return entries;
}

std::string unknown_ids_note(const id_counts& ids, const std::vector<std::string>& interfaces,
                             const catalogue& catalogue, selection& selection) {
    bool any = false;
    const auto groups = groups_of(interfaces, catalogue, selection, any);
    const auto entries = ids.sorted();
    if (!any || entries.empty() || ids.is_full()) {
        return {};
    }
    std::string text = "tavi: note: no frame has an id of the descriptions; most frequent: ";
    for (std::size_t at = 0; at < std::min(entries.size(), shown_ids); ++at) {
        text += (at == 0 ? "" : ", ") + id_text(entries[at].first) + " (" + frames_text(entries[at].second) + ')';
    }
    text += entries.size() > shown_ids ? " of " + std::to_string(entries.size()) + " ids\n" : "\n";
    std::uint64_t fitting = 0;
    for (const auto& [id, frames] : entries) {
        const bool fits = (id & qor::can_extended_bit) != 0 && groups.contains(qor::parameter_group(id));
        fitting += fits ? frames : 0;
    }
    if (fitting != 0) {
        text += "  hint: 29-bit ids of " + frames_text(fitting) + " fit by parameter group: --j1939\n";
    }
    return text;
}

} // namespace tavi::tool
