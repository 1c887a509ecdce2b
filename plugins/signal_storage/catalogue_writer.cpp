#include "plugins/signal_storage/catalogue_writer.hpp"

#include <algorithm>
#include <tuple>

#include "plugins/signal_storage/node_id.hpp"
#include "plugins/signal_storage/node_row.hpp"

namespace qor::storage {

namespace {

// Where each node stands when the tree is walked depth first; by number, 0 unused.
struct position_range {
    std::uint32_t position;
    std::uint32_t last; // of the nodes below; the node's own when there are none
};

std::vector<position_range> walk_depth_first(const std::vector<pending_node>& nodes,
                                             std::vector<std::uint32_t>& order) {
    std::vector<position_range> ranges(nodes.size());
    order.reserve(nodes.size());
    std::uint32_t node = nodes[0].first_child;
    std::uint32_t position = 0;
    while (node != 0) {
        ranges[node].position = ++position;
        order.push_back(node);
        if (nodes[node].first_child != 0) {
            node = nodes[node].first_child;
            continue;
        }
        ranges[node].last = position;
        while (node != 0 && nodes[node].next_sibling == 0) {
            node = nodes[node].parent;
            ranges[node].last = position;
        }
        node = nodes[node].next_sibling; // that of number 0 is 0
    }
    return ranges;
}

qor_type_node_t make_record(const pending_node& source, std::uint64_t id, std::uint64_t parent_id) {
    qor_type_node_t node{};
    node.id = id;
    node.parent_id = parent_id;
    node.kind = source.kind;
    node.name = source.name;
    node.comment = source.comment;
    switch (source.kind) {
    case QOR_TYPE_NODE_VIEW:
        node.view = source.view;
        break;
    case QOR_TYPE_NODE_OBJECT:
        node.object = source.object;
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

} // namespace

catalogue_writer::catalogue_writer(database& owner)
    : insert_description_(owner, "INSERT INTO description (id, signature, name, context_type, content_size, "
                                 "node_count, view_count) VALUES (?,?,?,?,?,?,?)"),
      insert_node_(owner, insert_node_sql),
      insert_path_(owner, "INSERT INTO node_path_hash (hash, node, position) VALUES (?,?,?)"),
      insert_text_(owner, "INSERT OR REPLACE INTO node_text (node, key, text) VALUES (?,?,?)"),
      highest_id_(owner, "SELECT max(id) FROM description") {}

void catalogue_writer::write(const description_identity& identity, std::uint64_t description_id,
                             const pending_description& content) {
    write_description(identity, description_id, content);
    write_nodes(description_id, content);
    write_texts(description_id, content);
}

void catalogue_writer::write_description(const description_identity& identity, std::uint64_t description_id,
                                         const pending_description& content) {
    execution insertion(insert_description_);
    insertion.bind(1, description_id);
    insertion.bind(2, std::string_view(identity.signature));
    insertion.bind(3, std::string_view(identity.name));
    insertion.bind(4, std::uint64_t{identity.context_type});
    insertion.bind(5, identity.content_size);
    insertion.bind(6, std::uint64_t{content.nodes().size() - 1});
    insertion.bind(7, std::uint64_t{content.nodes()[0].child_count});
    insertion.run();
}

void catalogue_writer::write_nodes(std::uint64_t description_id, const pending_description& content) {
    const std::vector<pending_node>& nodes = content.nodes();
    std::vector<std::uint32_t> order;
    const std::vector<position_range> ranges = walk_depth_first(nodes, order);
    {
        execution insertion(insert_node_);
        for (const std::uint32_t number : order) {
            const pending_node& node = nodes[number];
            const std::uint64_t parent_id = node.parent != 0 ? make_node_id(description_id, node.parent) : 0;
            write_node_row(insertion, make_record(node, make_node_id(description_id, number), parent_id),
                           {make_node_id(description_id, ranges[number].position),
                            make_node_id(description_id, ranges[number].last), node.child_count});
        }
    }
    // In the order of the index, so that entries are appended: half the time of any other order.
    std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        return std::tuple(static_cast<std::int64_t>(nodes[a].path_hash), a) <
               std::tuple(static_cast<std::int64_t>(nodes[b].path_hash), b);
    });
    execution insertion(insert_path_);
    for (const std::uint32_t number : order) {
        insertion.bind(1, nodes[number].path_hash);
        insertion.bind(2, make_node_id(description_id, number));
        insertion.bind(3, make_node_id(description_id, ranges[number].position));
        insertion.run();
    }
}

void catalogue_writer::write_texts(std::uint64_t description_id, const pending_description& content) {
    if (content.texts().empty()) {
        return;
    }
    execution insertion(insert_text_);
    for (const pending_text& text : content.texts()) {
        insertion.bind(1, make_node_id(description_id, text.node));
        insertion.bind(2, text.key);
        insertion.bind(3, text.text);
        insertion.run();
    }
}

std::uint64_t catalogue_writer::highest_description_id() {
    execution row(highest_id_);
    return row.next() ? static_cast<std::uint64_t>(row.integer(0)) : 0;
}

} // namespace qor::storage
