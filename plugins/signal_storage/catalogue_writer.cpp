#include "plugins/signal_storage/catalogue_writer.hpp"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "plugins/signal_storage/checked_row.hpp"
#include "plugins/signal_storage/description_row.hpp"
#include "plugins/signal_storage/description_table.hpp"
#include "plugins/signal_storage/node_id.hpp"
#include "plugins/signal_storage/node_row.hpp"
#include "plugins/signal_storage/path_bucket.hpp"

namespace qor::storage {

namespace {

void append_json_text(std::string& json, std::string_view text) {
    constexpr char digits[] = "0123456789ABCDEF";
    json += '"';
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < ' ') {
            json += "\\u00";
            json += digits[byte >> 4];
            json += digits[byte & 15];
            continue;
        }
        if (character == '"' || character == '\\') {
            json += '\\';
        }
        json += character;
    }
    json += '"';
}

} // namespace

// Where the nodes are when the tree is walked depth first, counted from 1. By number, 0 unused.
struct catalogue_writer::tree {
    explicit tree(const pending_nodes& nodes) : positions(nodes.size()), lasts(nodes.size()) {
        order.reserve(nodes.size());
        std::uint32_t node = nodes[0].first_child;
        std::uint32_t position = 0;
        while (node != 0) {
            positions[node] = ++position;
            order.push_back(node);
            if (nodes[node].first_child != 0) {
                node = nodes[node].first_child;
                continue;
            }
            lasts[node] = position;
            while (node != 0 && nodes[node].next_sibling == 0) {
                node = nodes[node].parent;
                lasts[node] = position;
            }
            node = nodes[node].next_sibling; // that of number 0 is 0
        }
    }

    node_row row(const pending_nodes& nodes, std::uint64_t description_id, std::uint32_t number) const {
        const pending_node& node = nodes[number];
        node_row row;
        row.place = {make_node_id(description_id, positions[number]), make_node_id(description_id, lasts[number]),
                     node.depth, node.child_count};
        row.node = make_record(node, description_id, number);
        if (node.kind == QOR_TYPE_NODE_SIGNAL && node.signal.signal_suffix_length != 0) {
            row.suffix = {node.signal.signal_suffix, node.signal.signal_suffix_length};
        }
        return row;
    }

    std::vector<std::uint32_t> order; // the numbers in the order of the walk
    std::vector<std::uint32_t> positions;
    std::vector<std::uint32_t> lasts; // position of the last node below; the node's own when there is none
};

catalogue_writer::catalogue_writer(database& owner)
    : insert_description_(owner, insert_sql("description", columns_of<description_row>())),
      insert_node_(owner, insert_sql("node", columns_of<node_row>())),
      insert_path_bucket_(owner, insert_sql("path_bucket", columns_of<path_bucket_row>())),
      insert_text_(owner, "INSERT INTO description_text (description, texts) VALUES (?,?)"),
      count_description_(owner, "UPDATE catalogue SET description_count = description_count + 1") {}

void catalogue_writer::write(const description_identity& identity, std::uint64_t description_id,
                             const pending_description& content) {
    const pending_nodes& nodes = content.nodes();
    const tree tree(nodes);
    std::vector<row_digest> hashes;
    hashes.reserve(tree.order.size());
    for (const std::uint32_t number : tree.order) {
        hashes.push_back(hash_row(tree.row(nodes, description_id, number)));
    }
    description_row row{description_id,        identity.signature.c_str(), identity.name.c_str(), identity.context_type,
                        identity.content_size, tree.order.size(),          nodes[0].child_count,  {}};
    const digest whole = digest_of(row, hashes);
    row.digest = whole;
    execution insertion(insert_description_);
    insert_row(insertion, row, hash_row(row), 0);
    execution(count_description_).run();
    write_nodes(description_id, content, tree, hashes, seal_of(whole));
    write_paths(description_id, content, tree.positions, seal_of(whole));
    write_texts(description_id, content);
}

void catalogue_writer::write_nodes(std::uint64_t description_id, const pending_description& content, const tree& tree,
                                   const std::vector<row_digest>& hashes, row_digest seal) {
    execution insertion(insert_node_);
    auto hash = hashes.begin();
    for (const std::uint32_t number : tree.order) {
        insert_row(insertion, tree.row(content.nodes(), description_id, number), *hash++, seal);
    }
}

void catalogue_writer::write_paths(std::uint64_t description_id, const pending_description& content,
                                   const std::vector<std::uint32_t>& positions, row_digest seal) {
    execution insertion(insert_path_bucket_);
    std::uint64_t number = 0;
    for (const std::vector<std::uint8_t>& entries : make_path_buckets(content.nodes(), positions)) {
        const path_bucket_row row{make_node_id(description_id, number++), entries};
        insert_row(insertion, row, hash_row(row), seal);
    }
}

// As one row of JSON, since a row a text took longer than all nodes: [[number of the node, key, text], ...]. Of two
// texts of one key the later one stays.
void catalogue_writer::write_texts(std::uint64_t description_id, const pending_description& content) {
    if (content.texts().empty()) {
        return;
    }
    std::vector<const pending_text*> texts;
    texts.reserve(content.texts().size());
    for (const pending_text& text : content.texts()) {
        texts.push_back(&text);
    }
    const auto compare = [](const pending_text* left, const pending_text* right) {
        return left->node != right->node ? left->node < right->node
                                         : std::string_view(left->key) < std::string_view(right->key);
    };
    std::stable_sort(texts.begin(), texts.end(), compare);
    std::string json;
    for (std::size_t at = 0; at < texts.size(); ++at) {
        if (at + 1 == texts.size() || compare(texts[at], texts[at + 1])) {
            json += json.empty() ? "[[" : ",\n[";
            json += std::to_string(texts[at]->node);
            append_json_text(json += ',', texts[at]->key);
            append_json_text(json += ',', texts[at]->text);
            json += ']';
        }
    }
    json += ']';
    execution insertion(insert_text_);
    insertion.bind(1, description_id);
    insertion.bind(2, std::string_view(json));
    insertion.run();
}

} // namespace qor::storage
