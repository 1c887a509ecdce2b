// One node as a row of the table `node`, there and back.
#ifndef PLUGINS_SIGNAL_STORAGE_NODE_ROW_HPP
#define PLUGINS_SIGNAL_STORAGE_NODE_ROW_HPP

#include <cstdint>

#include "plugins/signal_storage/statement.hpp"
#include "qorc/type_node.h"

namespace qor::storage {

// Where a node stands in the tree, see the schema.
struct node_place {
    std::uint64_t position;
    std::uint64_t last;
    std::uint64_t depth; // 1 for a view
    std::uint64_t child_count;
};

// The columns of a row, the id first, in the order that the functions below count on. A macro, so that SQL texts stay
// literals.
#define QOR_NODE_COLUMNS                                                                                               \
    "n.id, n.position, n.last, n.depth, n.child_count, n.parent, n.kind, n.name, n.comment, n.cycle, n.address, "      \
    "n.flags, n.offset, n.element_count, n.element_size, n.bit_offset, n.bit_length, n.raw_kind, n.converted_kind, "   \
    "n.encoding, n.byte_order, n.multiplexing, n.presence, n.numerator_x2, n.numerator_x1, n.numerator_x0, "           \
    "n.denominator_x2, n.denominator_x1, n.denominator_x0, n.minimum, n.maximum, n.unit, n.value_table, n.suffix"

// Takes a row in that order.
extern const char* const insert_node_sql;

// Inserts one row; only fields of the node's kind are kept. The texts of `node` must live until the call returns.
void write_node_row(execution& insertion, const qor_type_node_t& node, const node_place& place);

// The row that `row` stands at. Texts point into the row: valid until its next step.
// Throws: std::runtime_error for values that no writer makes.
qor_type_node_t read_node_row(const execution& row, const database& source);
node_place read_node_place(const execution& row) noexcept;

} // namespace qor::storage

#endif
