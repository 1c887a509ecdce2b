#include "tests/dbc_parser/recorded_description.hpp"

#include "plugins/dbc_parser/dbc_mapper.hpp"
#include "plugins/dbc_parser/dbc_reader.hpp"
#include "plugins/dbc_parser/text_encoding.hpp"

namespace {

std::string text_of(const char* text) {
    return text != nullptr ? text : "";
}

uint32_t add_nodes(void* context, const qor_type_node_t* nodes, uint64_t count, uint64_t* ids, qor_error_details_t**) {
    auto& description = *static_cast<recorded_description*>(context);
    for (uint64_t index = 0; index < count; ++index) {
        const qor_type_node_t& node = nodes[index];
        recorded_node recorded;
        recorded.record = node;
        const std::string parent = node.parent_id != 0 ? description.nodes.at(node.parent_id - 1).path + "." : "";
        recorded.path = parent + text_of(node.name);
        recorded.comment = text_of(node.comment);
        if (node.kind == QOR_TYPE_NODE_SIGNAL) {
            recorded.unit = text_of(node.signal.unit);
            recorded.value_table = text_of(node.signal.value_table);
            recorded.presence = text_of(node.signal.presence);
        }
        description.nodes.push_back(std::move(recorded));
        ids[index] = description.nodes.size();
    }
    return 0;
}

uint32_t add_text(void* context, uint64_t id, const char* key, const char* text, qor_error_details_t**) {
    auto& description = *static_cast<recorded_description*>(context);
    const std::string path = id != 0 ? description.nodes.at(id - 1).path : "";
    description.texts[path + " " + key] = text;
    return 0;
}

} // namespace

const recorded_node& recorded_description::at(const std::string& path) const {
    static const recorded_node none;
    for (const recorded_node& node : nodes) {
        if (node.path == "CAN." + path) {
            return node;
        }
    }
    return none;
}

recorded_description read_dbc(std::string_view text) {
    recorded_description description;
    dbc_parser::dbc_cursor cursor(dbc_parser::without_byte_order_mark(text));
    const auto told = [&](size_t offset, const std::string& cause) {
        const auto place = cursor.place_of(offset);
        return std::to_string(place.line) + ":" + std::to_string(place.column) + " " + cause;
    };
    const dbc_parser::warning_sink warn = [&](size_t offset, const std::string& cause) {
        description.warnings.push_back(told(offset, cause));
    };
    try {
        auto file = dbc_parser::read_file(cursor, warn, nullptr);
        dbc_parser::settle_names_and_layout(file, warn);
        qor_signal_storage_context_t context{};
        context.add_nodes = add_nodes;
        context.add_text = add_text;
        context.context = &description;
        dbc_parser::write_file(file, context);
    } catch (const dbc_parser::statement_error& fault) {
        description.refusal = told(fault.offset, fault.what());
    }
    return description;
}
