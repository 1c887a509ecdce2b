// The parts of a catalogue node that are in different fields of the record, by the node's kind: where it is, how many
// elements it has and how large one is. Example: a group of 4 elements of 8 bytes at offset 16 has its count in
// `group.element_count`, a signal in `signal.element_count`; layout_of_node gives {0, 16, 4, 8} for either.
#ifndef QORCPP_NODE_LAYOUT_HPP
#define QORCPP_NODE_LAYOUT_HPP

#include <cstdint>
#include <optional>

#include "qorc/type_node.h"

namespace qor {

// qor_type_node_t::kind. A record may hold other numbers: a switch over the kind ends without default, and what follows
// it is for these.
enum class node_kind : std::uint8_t {
    view = QOR_TYPE_NODE_VIEW,
    object = QOR_TYPE_NODE_OBJECT,
    group = QOR_TYPE_NODE_GROUP,
    signal = QOR_TYPE_NODE_SIGNAL,
};

constexpr node_kind kind_of(const qor_type_node_t& node) noexcept {
    return node_kind{node.kind};
}

// "view", "object", "group", "signal"; empty for another number.
constexpr const char* node_kind_name(node_kind kind) noexcept {
    switch (kind) {
    case node_kind::view:
        return "view";
    case node_kind::object:
        return "object";
    case node_kind::group:
        return "group";
    case node_kind::signal:
        return "signal";
    }
    return "";
}

constexpr bool is_node_kind(std::uint8_t kind) noexcept {
    return *node_kind_name(node_kind{kind}) != '\0';
}

// Calls visit with what the node's kind adds to the record: a qor_view_node_t, qor_object_node_t, qor_group_node_t or
// qor_signal_node_t, const if the node is. Returns false, without a call, for another number.
template<typename Node, typename Visit>
constexpr bool visit_node(Node& node, Visit&& visit) {
    switch (kind_of(node)) {
    case node_kind::view:
        visit(node.view);
        return true;
    case node_kind::object:
        visit(node.object);
        return true;
    case node_kind::group:
        visit(node.group);
        return true;
    case node_kind::signal:
        visit(node.signal);
        return true;
    }
    return false;
}

struct node_layout {
    // Of an object; 0 for the other kinds.
    std::uint64_t address;
    // In the parent, of a group or a signal; 0 for an object.
    std::uint32_t offset;
    // 1 for a node that is not an array.
    std::uint32_t element_count;
    // In bytes.
    std::uint32_t element_size;

    bool operator==(const node_layout&) const = default;
};

// Nothing for a view, which takes no bytes, and for another number.
constexpr std::optional<node_layout> layout_of_node(const qor_type_node_t& node) noexcept {
    std::optional<node_layout> layout;
    visit_node(node, [&layout](const auto& fields) {
        if constexpr (requires { fields.address; }) {
            layout = node_layout{fields.address, 0, fields.element_count, fields.element_size};
        } else if constexpr (requires { fields.offset; }) {
            layout = node_layout{0, fields.offset, fields.element_count, fields.element_size};
        }
    });
    return layout;
}

// The field that holds the element count; null where layout_of_node gives nothing.
constexpr std::uint32_t* element_count_of(qor_type_node_t& node) noexcept {
    std::uint32_t* count = nullptr;
    visit_node(node, [&count](auto& fields) {
        if constexpr (requires { fields.element_count; }) {
            count = &fields.element_count;
        }
    });
    return count;
}

} // namespace qor

#endif
