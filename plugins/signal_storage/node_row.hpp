// A row of the table `node`: one node and its place in the tree.
#ifndef PLUGINS_SIGNAL_STORAGE_NODE_ROW_HPP
#define PLUGINS_SIGNAL_STORAGE_NODE_ROW_HPP

#include <cstdint>
#include <string_view>

#include "qorc/type_node.h"

namespace qor::storage {

// Positions count from 1 in a depth-first walk over the description, parents first. As keys they carry the id of the
// description in the high 32 bits, as ids do.
struct node_place {
    std::uint64_t position;
    std::uint64_t last;  // position of the last node below; the node's own when there is none
    std::uint64_t depth; // 1 for a view
    std::uint64_t child_count;
};

struct node_row {
    node_place place{};
    // Its suffix is in `suffix`, and its description_id is a part of the id.
    qor_type_node_t node{};
    std::string_view suffix;

    static constexpr int id_column = 0;

    // The columns of the table, see checked_row.hpp. The node's kind decides which of them it uses. Columns without a
    // type keep reals as they are: a REAL column would make 0.0 of -0.0.
    template<typename Row, typename Visitor>
    static void visit_columns(Row& row, Visitor&& visit) {
        auto& place = row.place;
        auto& node = row.node;
        auto& view = node.view;
        auto& object = node.object;
        auto& group = node.group;
        auto& signal = node.signal;
        // The field if the node is of that kind, else `other`, else null.
        const auto of = [&](std::uint8_t kind, auto& field, decltype(&field) other = nullptr) {
            return node.kind == kind ? &field : other;
        };
        const auto of_signal = [&](auto& field, decltype(&field) other = nullptr) {
            return of(QOR_TYPE_NODE_SIGNAL, field, other);
        };
        visit("id", "INTEGER NOT NULL", &node.id); // the first: id_column
        visit("position", "INTEGER PRIMARY KEY", &place.position);
        visit("last", "INTEGER NOT NULL", &place.last);
        visit("depth", "INTEGER NOT NULL", &place.depth);
        visit("child_count", "INTEGER NOT NULL", &place.child_count);
        visit("parent", "INTEGER NOT NULL", &node.parent_id);
        visit("kind", "INTEGER NOT NULL", &node.kind); // before those that depend on it
        visit("name", "TEXT NOT NULL", &node.name);
        visit("comment", "TEXT", &node.comment);
        visit("cycle", "INTEGER", of(QOR_TYPE_NODE_VIEW, view.cycle));
        visit("address", "INTEGER", of(QOR_TYPE_NODE_OBJECT, object.address));
        visit("flags", "INTEGER", of(QOR_TYPE_NODE_OBJECT, object.flags));
        visit("group_ids", "TEXT", of(QOR_TYPE_NODE_OBJECT, node.group_ids));
        visit("offset", "INTEGER", of(QOR_TYPE_NODE_GROUP, group.offset, of_signal(signal.offset)));
        visit("element_count", "INTEGER",
              of(QOR_TYPE_NODE_OBJECT, object.element_count,
                 of(QOR_TYPE_NODE_GROUP, group.element_count, of_signal(signal.element_count))));
        visit("element_size", "INTEGER",
              of(QOR_TYPE_NODE_OBJECT, object.element_size,
                 of(QOR_TYPE_NODE_GROUP, group.element_size, of_signal(signal.element_size))));
        visit("bit_offset", "INTEGER", of_signal(signal.bit_offset));
        visit("bit_length", "INTEGER", of_signal(signal.bit_length));
        visit("raw_kind", "INTEGER", of_signal(signal.raw_kind));
        visit("converted_kind", "INTEGER", of_signal(signal.converted_kind));
        visit("encoding", "INTEGER", of_signal(signal.encoding));
        visit("byte_order", "INTEGER", of_signal(signal.byte_order));
        visit("multiplexing", "INTEGER", of_signal(signal.multiplexing));
        visit("presence", "TEXT", of_signal(signal.presence));
        visit("numerator_x2", "", of_signal(signal.numerator_x2));
        visit("numerator_x1", "", of_signal(signal.numerator_x1));
        visit("numerator_x0", "", of_signal(signal.numerator_x0));
        visit("denominator_x2", "", of_signal(signal.denominator_x2));
        visit("denominator_x1", "", of_signal(signal.denominator_x1));
        visit("denominator_x0", "", of_signal(signal.denominator_x0));
        visit("minimum", "", of_signal(signal.minimum));
        visit("maximum", "", of_signal(signal.maximum));
        visit("unit", "TEXT", of_signal(signal.unit));
        visit("value_table", "TEXT", of_signal(signal.value_table));
        visit("suffix", "TEXT", of_signal(row.suffix));
    }
};

} // namespace qor::storage

#endif
