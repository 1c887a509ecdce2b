#include "plugins/signal_storage/catalogue_writer.hpp"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "plugins/signal_storage/node_id.hpp"
#include "plugins/signal_storage/node_row.hpp"

namespace qor::storage {

namespace {

// By number, 0 unused. `order` receives the numbers in the order of the walk.
std::vector<catalogue_writer::position_range> walk_depth_first(const std::vector<pending_node>& nodes,
                                                               std::vector<std::uint32_t>& order) {
    std::vector<catalogue_writer::position_range> ranges(nodes.size());
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

catalogue_writer::catalogue_writer(database& owner)
    : insert_description_(owner, "INSERT INTO description (id, signature, name, context_type, content_size, "
                                 "node_count, view_count) VALUES (?,?,?,?,?,?,?)"),
      insert_node_(owner, insert_node_sql),
      insert_path_(owner, "INSERT INTO node_path_hash (hash, node, position) VALUES (?,?,?)"),
      insert_text_(owner, "INSERT INTO description_text (description, texts) VALUES (?,?)") {}

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
    execution insertion(insert_node_);
    for (const std::uint32_t number : order) {
        const pending_node& node = nodes[number];
        write_node_row(insertion, make_record(node, description_id, number),
                       {make_node_id(description_id, ranges[number].position),
                        make_node_id(description_id, ranges[number].last), node.depth, node.child_count});
    }
    write_paths(description_id, nodes, ranges);
}

// In the order of the index, so that entries are appended: half the time of any other order.
void catalogue_writer::write_paths(std::uint64_t description_id, const std::vector<pending_node>& nodes,
                                   const std::vector<position_range>& ranges) {
    std::vector<std::pair<std::int64_t, std::uint32_t>> entries; // hash as SQLite compares it, number
    entries.reserve(nodes.size());
    for (std::uint32_t number = 1; number < nodes.size(); ++number) {
        entries.emplace_back(static_cast<std::int64_t>(nodes[number].path_hash), number);
    }
    std::sort(entries.begin(), entries.end());
    execution insertion(insert_path_);
    for (const auto& [hash, number] : entries) {
        insertion.bind(1, static_cast<std::uint64_t>(hash));
        insertion.bind(2, make_node_id(description_id, number));
        insertion.bind(3, make_node_id(description_id, ranges[number].position));
        insertion.run();
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
