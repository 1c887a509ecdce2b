#include "tests/dbc_parser/recorded_description.hpp"

#include <sstream>

#include "introspection/xtypes/type_kind.hpp"
#include "plugins/dbc_parser/dbc_mapper.hpp"
#include "plugins/dbc_parser/dbc_reader.hpp"
#include "plugins/dbc_parser/text_encoding.hpp"

namespace {

using qor::introspection::xtypes::kind_name;
using qor::introspection::xtypes::type_kind;

// Nothing for a text that is not there.
std::string text_of(const char* before, const char* text, const char* behind) {
    return text != nullptr ? std::string(before) + text + behind : "";
}

void print_signal(std::ostream& line, const qor_signal_node_t& signal) {
    line << ' ' << signal.offset << '+' << signal.bit_offset << '|' << signal.bit_length << '@'
         << int{signal.byte_order} << ' ' << signal.element_size << " bytes " << kind_name(type_kind{signal.raw_kind});
    if (signal.converted_kind != signal.raw_kind || signal.numerator_x1 != 1 || signal.denominator_x0 != 1) {
        line << " = " << kind_name(type_kind{signal.converted_kind}) << '(' << signal.numerator_x1 << "*x"
             << std::showpos << signal.numerator_x0 << std::noshowpos << ")/" << signal.denominator_x0;
    }
    if (signal.minimum != 0 || signal.maximum != 0) {
        line << " [" << signal.minimum << '|' << signal.maximum << ']';
    }
    if (signal.unit != nullptr) {
        const std::string suffix(signal.signal_suffix, signal.signal_suffix_length);
        line << " '" << signal.unit << "'" << (suffix != signal.unit ? " suffix " + suffix : "");
    }
    line << ((signal.multiplexing & QOR_MULTIPLEXING_SELECTOR) != 0 ? " selector" : "")
         << ((signal.multiplexing & QOR_MULTIPLEXING_MULTIPLEXED) != 0 ? " if" : "")
         << text_of(" ", signal.presence, "") << text_of(" {", signal.value_table, "}");
}

std::string line_of(const qor_type_node_t& node, const std::string& path) {
    std::ostringstream line;
    line << path;
    if (node.kind == QOR_TYPE_NODE_OBJECT) {
        line << " @" << node.object.address << ' ' << node.object.element_size << " bytes"
             << (node.object.flags == QOR_OBJECT_PARAMETER_GROUP ? ", group" : "");
    } else if (node.kind == QOR_TYPE_NODE_SIGNAL) {
        print_signal(line, node.signal);
    }
    line << text_of(" \"", node.comment, "\"") << '\n';
    return line.str();
}

uint32_t add_nodes(void* context, const qor_type_node_t* nodes, uint64_t count, uint64_t* ids, qor_error_details_t**) {
    auto& description = *static_cast<recorded_description*>(context);
    for (uint64_t index = 0; index < count; ++index) {
        const qor_type_node_t& node = nodes[index];
        std::string path = node.parent_id != 0 ? description.nodes.at(node.parent_id - 1).path + "." : "";
        path += node.name;
        description.written += line_of(node, path);
        const bool has_presence = node.kind == QOR_TYPE_NODE_SIGNAL && node.signal.presence != nullptr;
        description.nodes.push_back({node, path, has_presence ? node.signal.presence : ""});
        ids[index] = description.nodes.size();
    }
    return 0;
}

uint32_t add_text(void* context, uint64_t id, const char* key, const char* text, qor_error_details_t**) {
    auto& description = *static_cast<recorded_description*>(context);
    description.written += id != 0 ? description.nodes.at(id - 1).path + ' ' : "";
    description.written += std::string(key) + ": " + text + '\n';
    return 0;
}

} // namespace

recorded_description read_dbc(std::string_view text) {
    recorded_description description;
    dbc_parser::dbc_cursor cursor(dbc_parser::without_byte_order_mark(text));
    const dbc_parser::warning_sink tell = [&](size_t offset, const std::string& cause) {
        const auto place = cursor.place_of(offset);
        description.told += std::to_string(place.line) + ':' + std::to_string(place.column) + ' ' + cause + '\n';
    };
    try {
        auto file = dbc_parser::read_file(cursor, tell, nullptr);
        dbc_parser::settle_names_and_layout(file, tell);
        qor_signal_storage_context_t context{};
        context.add_nodes = add_nodes;
        context.add_text = add_text;
        context.context = &description;
        dbc_parser::write_file(file, context);
    } catch (const dbc_parser::statement_error& fault) {
        tell(fault.offset, fault.what());
    }
    return description;
}
