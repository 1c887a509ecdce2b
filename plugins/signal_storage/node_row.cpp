#include "plugins/signal_storage/node_row.hpp"

#include <array>
#include <bit>
#include <cmath>

namespace qor::storage {

namespace {

// Columns in the order of QOR_NODE_COLUMNS; parameters of the insertion are one more.
enum column : int {
    id,
    position,
    last,
    depth,
    child_count,
    parent,
    kind,
    name,
    comment,
    cycle,
    address,
    flags,
    offset,
    element_count,
    element_size,
    bit_offset,
    bit_length,
    raw_kind,
    converted_kind,
    encoding,
    byte_order,
    multiplexing,
    presence,
    first_double,
    unit = first_double + 8,
    value_table,
    suffix,
};

using double_field = double qor_signal_node_t::*;

constexpr std::array<double_field, 8> double_fields = {
    &qor_signal_node_t::numerator_x2,   &qor_signal_node_t::numerator_x1,   &qor_signal_node_t::numerator_x0,
    &qor_signal_node_t::denominator_x2, &qor_signal_node_t::denominator_x1, &qor_signal_node_t::denominator_x0,
    &qor_signal_node_t::minimum,        &qor_signal_node_t::maximum,
};

using double_bytes = std::array<std::uint8_t, 8>;

double_bytes to_bytes(double value) noexcept {
    double_bytes bytes;
    for (unsigned i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(std::bit_cast<std::uint64_t>(value) >> (8 * i));
    }
    return bytes;
}

double from_bytes(const std::uint8_t* bytes) noexcept {
    std::uint64_t bits = 0;
    for (unsigned i = 0; i < 8; ++i) {
        bits |= std::uint64_t{bytes[i]} << (8 * i);
    }
    return std::bit_cast<double>(bits);
}

// SQLite takes a NaN for NULL, so that one goes in as its eight bytes, low byte first. Whole numbers go in as
// integers: most coefficients are 0 or 1 and then need no room at all. `bytes` must live until the row is written.
void bind_double(execution& insertion, int parameter, double value, double_bytes& bytes) {
    constexpr double exact_integers = 9007199254740992.0; // 2^53
    if (std::isnan(value)) {
        bytes = to_bytes(value);
        insertion.bind(parameter, bytes);
    } else if (std::fabs(value) < exact_integers && std::trunc(value) == value &&
               !(value == 0 && std::signbit(value))) {
        insertion.bind(parameter, static_cast<std::uint64_t>(static_cast<std::int64_t>(value)));
    } else {
        insertion.bind(parameter, value);
    }
}

double read_double(const execution& row, int column, const database& source) {
    switch (row.type(column)) {
    case SQLITE_INTEGER:
        return static_cast<double>(row.integer(column));
    case SQLITE_FLOAT:
        return row.real(column);
    case SQLITE_BLOB:
        if (row.size(column) == sizeof(double)) {
            return from_bytes(row.blob(column));
        }
        break;
    default:
        break;
    }
    source.fail("the file is damaged: node '" + std::to_string(row.integer(id)) + "' lacks a coefficient");
}

template<typename T>
void read_unsigned(const execution& row, int column, T& target) noexcept {
    target = static_cast<T>(static_cast<std::uint64_t>(row.integer(column)));
}

void bind_signal(execution& insertion, const qor_signal_node_t& signal, std::array<double_bytes, 8>& bytes) {
    const auto bind = [&](int column, std::uint64_t value) { insertion.bind(column + 1, value); };
    bind(offset, signal.offset);
    bind(element_count, signal.element_count);
    bind(element_size, signal.element_size);
    bind(bit_offset, signal.bit_offset);
    bind(bit_length, signal.bit_length);
    bind(raw_kind, signal.raw_kind);
    bind(converted_kind, signal.converted_kind);
    bind(encoding, signal.encoding);
    bind(byte_order, signal.byte_order);
    bind(multiplexing, signal.multiplexing);
    insertion.bind(presence + 1, signal.presence);
    for (int i = 0; i < static_cast<int>(double_fields.size()); ++i) {
        const auto field = static_cast<std::size_t>(i);
        bind_double(insertion, first_double + i + 1, signal.*double_fields[field], bytes[field]);
    }
    insertion.bind(unit + 1, signal.unit);
    insertion.bind(value_table + 1, signal.value_table);
    if (signal.signal_suffix_length != 0) {
        insertion.bind(suffix + 1, std::string_view(signal.signal_suffix, signal.signal_suffix_length));
    }
}

void read_signal(const execution& row, qor_signal_node_t& signal, const database& source) {
    read_unsigned(row, offset, signal.offset);
    read_unsigned(row, element_count, signal.element_count);
    read_unsigned(row, element_size, signal.element_size);
    read_unsigned(row, bit_offset, signal.bit_offset);
    read_unsigned(row, bit_length, signal.bit_length);
    read_unsigned(row, raw_kind, signal.raw_kind);
    read_unsigned(row, converted_kind, signal.converted_kind);
    read_unsigned(row, encoding, signal.encoding);
    read_unsigned(row, byte_order, signal.byte_order);
    read_unsigned(row, multiplexing, signal.multiplexing);
    signal.presence = row.text(presence);
    for (int i = 0; i < static_cast<int>(double_fields.size()); ++i) {
        signal.*double_fields[static_cast<std::size_t>(i)] = read_double(row, first_double + i, source);
    }
    signal.unit = row.text(unit);
    signal.value_table = row.text(value_table);
    signal.signal_suffix = row.text(suffix);
    signal.signal_suffix_length = signal.signal_suffix != nullptr ? row.size(suffix) : 0;
}

} // namespace

const char* const insert_node_sql =
    "INSERT INTO node (id, position, last, depth, child_count, parent, kind, name, comment, cycle, address, flags, "
    "offset, "
    "element_count, element_size, bit_offset, bit_length, raw_kind, converted_kind, encoding, byte_order, "
    "multiplexing, presence, numerator_x2, numerator_x1, numerator_x0, denominator_x2, denominator_x1, "
    "denominator_x0, minimum, maximum, unit, value_table, suffix) VALUES "
    "(?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?,?)";

void write_node_row(execution& insertion, const qor_type_node_t& node, const node_place& place) {
    const auto bind = [&](int column, std::uint64_t value) { insertion.bind(column + 1, value); };
    insertion.clear();
    bind(position, place.position);
    bind(last, place.last);
    bind(depth, place.depth);
    bind(child_count, place.child_count);
    bind(id, node.id);
    bind(parent, node.parent_id);
    bind(kind, node.kind);
    insertion.bind(name + 1, node.name);
    insertion.bind(comment + 1, node.comment);
    std::array<double_bytes, 8> bytes;
    switch (node.kind) {
    case QOR_TYPE_NODE_VIEW:
        bind(cycle, node.view.cycle);
        break;
    case QOR_TYPE_NODE_OBJECT:
        bind(address, node.object.address);
        bind(flags, node.object.flags);
        bind(element_count, node.object.element_count);
        bind(element_size, node.object.element_size);
        insertion.bind(presence + 1, node.group_ids);
        break;
    case QOR_TYPE_NODE_GROUP:
        bind(offset, node.group.offset);
        bind(element_count, node.group.element_count);
        bind(element_size, node.group.element_size);
        break;
    default:
        bind_signal(insertion, node.signal, bytes);
        break;
    }
    insertion.run();
}

qor_type_node_t read_node_row(const execution& row, const database& source) {
    qor_type_node_t node{};
    read_unsigned(row, id, node.id);
    read_unsigned(row, parent, node.parent_id);
    read_unsigned(row, kind, node.kind);
    node.name = row.text(name);
    node.comment = row.text(comment);
    node.description_id = node.id >> 32;
    switch (node.kind) {
    case QOR_TYPE_NODE_VIEW:
        read_unsigned(row, cycle, node.view.cycle);
        break;
    case QOR_TYPE_NODE_OBJECT:
        read_unsigned(row, address, node.object.address);
        read_unsigned(row, flags, node.object.flags);
        read_unsigned(row, element_count, node.object.element_count);
        read_unsigned(row, element_size, node.object.element_size);
        node.group_ids = row.text(presence);
        break;
    case QOR_TYPE_NODE_GROUP:
        read_unsigned(row, offset, node.group.offset);
        read_unsigned(row, element_count, node.group.element_count);
        read_unsigned(row, element_size, node.group.element_size);
        break;
    case QOR_TYPE_NODE_SIGNAL:
        read_signal(row, node.signal, source);
        break;
    default:
        source.fail("the file is damaged: node '" + std::to_string(node.id) + "' is of no known kind");
    }
    if (node.name == nullptr) {
        source.fail("the file is damaged: node '" + std::to_string(node.id) + "' has no name");
    }
    return node;
}

node_place read_node_place(const execution& row) noexcept {
    const auto value = [&](int column) { return static_cast<std::uint64_t>(row.integer(column)); };
    return {value(position), value(last), value(depth), value(child_count)};
}

} // namespace qor::storage
