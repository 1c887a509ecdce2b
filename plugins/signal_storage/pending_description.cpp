#include "plugins/signal_storage/pending_description.hpp"

#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>

#include "plugins/signal_storage/node_id.hpp"
#include "qorcpp/call_frame.hpp"
#include "qorcpp/fnv.hpp"

namespace qor::storage {

namespace {

constexpr std::size_t first_characters = 65536;

const char* kind_name(std::uint8_t kind) noexcept {
    constexpr const char* names[] = {"description", "view", "object", "group", "signal"};
    return names[kind];
}

bool may_be_below(std::uint8_t kind, std::uint8_t parent_kind) noexcept {
    switch (kind) {
    case QOR_TYPE_NODE_VIEW:
        return parent_kind == 0;
    case QOR_TYPE_NODE_OBJECT:
        return parent_kind == QOR_TYPE_NODE_VIEW || parent_kind == QOR_TYPE_NODE_OBJECT;
    default:
        return parent_kind == QOR_TYPE_NODE_OBJECT || parent_kind == QOR_TYPE_NODE_GROUP;
    }
}

} // namespace

qor_type_node_t make_record(const pending_node& source, std::uint64_t description_id, std::uint32_t number) noexcept {
    qor_type_node_t node{};
    node.id = make_node_id(description_id, number);
    node.parent_id = source.parent != 0 ? make_node_id(description_id, source.parent) : 0;
    node.description_id = description_id;
    node.kind = source.kind;
    node.name = source.name;
    node.comment = source.comment;
    switch (source.kind) {
    case QOR_TYPE_NODE_VIEW:
        node.view = source.view;
        break;
    case QOR_TYPE_NODE_OBJECT:
        node.object = source.object.fields;
        node.group_ids = source.object.group_ids;
        break;
    case QOR_TYPE_NODE_GROUP:
        node.group = source.group;
        break;
    default:
        node.signal = source.signal;
        break;
    }
    return node;
}

pending_description::pending_description(std::uint32_t number, bool keep)
    : number_(number), keep_(keep), kinds_(1), characters_(keep ? first_characters : 1) {
    nodes_.push_back({});
}

std::uint32_t pending_description::find(std::uint64_t node_id) const {
    const std::uint64_t number = node_number(node_id);
    if (description_of(node_id) != number_ || number == 0 || number >= kinds_.size()) {
        throw std::invalid_argument("node id '" + std::to_string(node_id) + "' is not one of this description context");
    }
    return static_cast<std::uint32_t>(number);
}

// Gives the number of the parent.
std::uint32_t pending_description::check(const qor_type_node_t& node) const {
    if (node.name == nullptr || *node.name == '\0') {
        throw std::invalid_argument("a node has no name");
    }
    const auto refuse = [&](const std::string& text) {
        throw std::invalid_argument(std::string("node '").append(node.name).append("': ") + text);
    };
    if (node.kind < QOR_TYPE_NODE_VIEW || node.kind > QOR_TYPE_NODE_SIGNAL) {
        refuse("kind " + std::to_string(node.kind) + " is not between 1 and 4");
    }
    const std::uint32_t parent = node.parent_id == 0 ? 0 : find(node.parent_id);
    if (!may_be_below(node.kind, kinds_[parent])) {
        refuse(std::string("a ") + kind_name(node.kind) + " cannot be directly below a " + kind_name(kinds_[parent]));
    }
    if (node.kind == QOR_TYPE_NODE_SIGNAL && node.signal.signal_suffix_length != 0 &&
        node.signal.signal_suffix == nullptr) {
        refuse("the suffix has a length and no text");
    }
    return parent;
}

void pending_description::add(const qor_type_node_t* nodes, std::uint64_t count, std::uint64_t* ids) {
    if (count == 0) {
        return;
    }
    check_argument(nodes, "nodes");
    if (count > std::numeric_limits<std::uint32_t>::max() - kinds_.size()) {
        throw std::invalid_argument("a description cannot have more than 4294967295 nodes");
    }
    std::uint32_t parent = 0;
    for (std::uint64_t i = 0; i < count; ++i) {
        parent = check(nodes[i]);
        if (nodes[i].parent_id != nodes[0].parent_id) {
            throw std::invalid_argument(std::string("node '") + nodes[i].name + "': is not below the same parent");
        }
    }
    const std::size_t first = kinds_.size();
    const pending_node above = keep_ ? nodes_[parent] : pending_node{};
    try {
        for (std::uint64_t i = 0; i < count; ++i) {
            kinds_.push_back(nodes[i].kind);
            if (keep_) {
                append(nodes[i], parent);
            }
        }
    } catch (...) { // out of memory
        kinds_.resize(first);
        if (keep_) {
            nodes_.shrink(first);
            nodes_[parent] = above;
            if (above.last_child != 0) {
                nodes_[above.last_child].next_sibling = 0;
            }
        }
        throw;
    }
    for (std::uint64_t i = 0; ids != nullptr && i < count; ++i) {
        ids[i] = make_node_id(number_, first + i);
    }
}

void pending_description::append(const qor_type_node_t& node, std::uint32_t parent) {
    pending_node added;
    added.name = keep_text(node.name);
    added.comment = keep_text(node.comment);
    added.parent = parent;
    added.depth = nodes_[parent].depth + 1;
    added.kind = node.kind;
    added.path_hash = parent == 0 ? fnv1a(added.name) : fnv1a(added.name, fnv1a(".", nodes_[parent].path_hash));
    switch (node.kind) {
    case QOR_TYPE_NODE_VIEW:
        added.view = node.view;
        break;
    case QOR_TYPE_NODE_OBJECT:
        added.object = {node.object, keep_text(node.group_ids)};
        break;
    case QOR_TYPE_NODE_GROUP:
        added.group = node.group;
        break;
    default:
        added.signal = node.signal;
        added.signal.presence = keep_text(node.signal.presence);
        added.signal.unit = keep_text(node.signal.unit);
        added.signal.value_table = keep_text(node.signal.value_table);
        added.signal.signal_suffix = keep_suffix(node.signal, added.signal.unit);
        break;
    }
    nodes_.push_back(added);
    const auto number = static_cast<std::uint32_t>(nodes_.size() - 1);
    pending_node& above = nodes_[parent];
    (above.last_child != 0 ? nodes_[above.last_child].next_sibling : above.first_child) = number;
    above.last_child = number;
    ++above.child_count;
}

void pending_description::set_value_table(std::uint64_t node_id, const char* value_table) {
    check_argument(value_table, "value_table");
    const std::uint32_t node = find(node_id);
    if (kinds_[node] != QOR_TYPE_NODE_SIGNAL) {
        throw std::invalid_argument("node id '" + std::to_string(node_id) + "' is not that of a signal");
    }
    if (keep_) {
        nodes_[node].signal.value_table = keep_text(value_table);
    }
}

void pending_description::add_text(std::uint64_t node_id, const char* key, const char* text) {
    check_argument(key, "key");
    check_argument(text, "text");
    const std::uint32_t node = node_id == 0 ? 0 : find(node_id);
    if (*key == '\0') {
        throw std::invalid_argument("a text of a node has an empty key");
    }
    if (!keep_) {
        return;
    }
    if (node != 0 && std::string_view(key) == "comment") {
        nodes_[node].comment = keep_text(text);
    } else {
        texts_.push_back({node, keep_text(key), keep_text(text)});
    }
}

// The suffix usually is the unit's text.
const char* pending_description::keep_suffix(const qor_signal_node_t& signal, const char* kept_unit) {
    if (signal.signal_suffix_length == 0) {
        return nullptr;
    }
    const bool is_unit = signal.signal_suffix == signal.unit && std::strlen(kept_unit) == signal.signal_suffix_length;
    return is_unit ? kept_unit : keep_text(signal.signal_suffix, signal.signal_suffix_length);
}

const char* pending_description::keep_text(const char* text) {
    return text != nullptr ? keep_text(text, std::strlen(text)) : nullptr;
}

const char* pending_description::keep_text(const char* text, std::size_t size) {
    char* const copy = static_cast<char*>(characters_.allocate(size + 1, 1));
    std::memcpy(copy, text, size);
    copy[size] = '\0';
    return copy;
}

} // namespace qor::storage
