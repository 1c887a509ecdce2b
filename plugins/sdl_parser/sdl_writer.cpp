#include "plugins/sdl_parser/sdl_writer.hpp"

namespace sdl_parser {

namespace {

const char* text_or_null(const std::string& text) {
    return text.empty() ? nullptr : text.c_str();
}

qor_type_node_t record_of(const sdl_node& node, uint64_t parent_id) {
    qor_type_node_t record = node.record;
    record.parent_id = parent_id;
    record.name = node.name.c_str();
    record.comment = text_or_null(node.comment);
    if (record.kind == QOR_TYPE_NODE_SIGNAL) {
        record.signal.unit = text_or_null(node.unit);
        record.signal.signal_suffix = text_or_null(node.unit);
        record.signal.signal_suffix_length = node.unit.size();
        record.signal.value_table = text_or_null(node.value_table);
    }
    return record;
}

// All siblings in one call; the depth is bounded by the reader.
void write_siblings(const std::vector<sdl_node>& nodes, uint64_t parent_id, qor::sdk::node_writer& catalogue) {
    std::vector<qor_type_node_t> records;
    records.reserve(nodes.size());
    for (const sdl_node& node : nodes) {
        records.push_back(record_of(node, parent_id));
    }
    const std::vector<uint64_t> ids = catalogue.add(records);
    for (size_t index = 0; index < nodes.size(); ++index) {
        if (!nodes[index].children.empty()) {
            write_siblings(nodes[index].children, ids[index], catalogue);
        }
    }
}

} // namespace

void write_description(const std::vector<sdl_node>& views, qor::sdk::node_writer& catalogue) {
    write_siblings(views, 0, catalogue);
}

} // namespace sdl_parser
