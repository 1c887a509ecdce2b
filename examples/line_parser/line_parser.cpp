// A parser in a page: descriptions of type "lines", one signal a line, with object, address, signal, byte and bits:
//
//     Engine 192 Speed 0 16
//     Engine 192 Torque 2 8
//
// Signals are unsigned and little-endian; the lines of an object follow each other. ../c_line_parser is the same in C.
#include <sstream>
#include <stdexcept>
#include <string>

#include "introspection/xtypes/type_kind.hpp"
#include "qor_plugin_sdk/description_parser.hpp"

namespace {

class line_parser : public qor::sdk::description_parser<line_parser> {
public:
    explicit line_parser(qor_service_locator_t*)
        : description_parser(QOR_CONTEXT_TYPE_GENERAL, {{"lines", "Signals line by line", "lines", 0, {}}}) {}

    void parse(const qor::sdk::description& source, qor::sdk::node_writer& catalogue) {
        std::istringstream text{std::string(source.text())};
        const uint64_t view_id = add(catalogue, {}, QOR_TYPE_NODE_VIEW, 0, "Lines");
        std::string line;
        std::string last_object;
        uint64_t object_id = 0;
        for (size_t number = 1; std::getline(text, line); ++number) {
            std::istringstream words(line);
            std::string object;
            std::string signal;
            qor_type_node_t object_node{};
            qor_type_node_t node{};
            words >> object >> object_node.object.address >> signal >> node.signal.offset >> node.signal.bit_length;
            if (!words || node.signal.bit_length < 1 || node.signal.bit_length > 64 || node.signal.offset > 7) {
                throw std::runtime_error(
                    source.message_at(number, 0, "expected object, address, signal, byte and bits"));
            }
            if (object != last_object) {
                object_node.object.element_count = 1;
                object_node.object.element_size = 16;
                object_id = add(catalogue, object_node, QOR_TYPE_NODE_OBJECT, view_id, object);
                last_object = object;
            }
            node.signal.raw_kind = static_cast<uint16_t>(qor::introspection::xtypes::type_kind::uint64);
            node.signal.converted_kind = node.signal.raw_kind;
            node.signal.element_count = 1;
            node.signal.element_size = 8;
            node.signal.numerator_x1 = 1;
            node.signal.denominator_x0 = 1;
            add(catalogue, node, QOR_TYPE_NODE_SIGNAL, object_id, signal);
        }
    }

private:
    static uint64_t add(qor::sdk::node_writer& catalogue, qor_type_node_t node, uint8_t kind, uint64_t parent,
                        const std::string& name) {
        node.kind = kind;
        node.parent_id = parent;
        node.name = name.c_str();
        return catalogue.add(node);
    }
};

} // namespace

QOR_DATA_DESCRIPTION_PARSER(line_parser)
