// A parser in a page: descriptions of type "lines", one signal a line, with object, address, signal, byte and bits:
//
//     Engine 192 Speed 0 16
//     Engine 192 Torque 2 8
//
// Signals are unsigned and little-endian; the lines of an object stand together.
#include <sstream>
#include <stdexcept>
#include <string>

#include "introspection/xtypes/type_kind.hpp"
#include "qor_plugin_sdk/plugin.hpp"
#include "qorc/extensibility/data_description_parser.h"

namespace {

class line_parser {
public:
    explicit line_parser(qor_service_locator_t*) {
        services_.offer(qor_data_description_parser_support_t{
            .reserved_1 = nullptr,
            .parse_buffer = qor::sdk::slot<&line_parser::parse_buffer>,
        });
        services_.offer(qor_data_description_parser_format_support_t{
            .get_supported_file_format_count = [](void*) { return size_t{1}; },
            .get_supported_file_format = qor::sdk::slot<&line_parser::get_supported_file_format>,
            .get_context_type = [](void*) -> uint8_t { return QOR_CONTEXT_TYPE_GENERAL; },
        });
    }

    qor::sdk::service_table& services() { return services_; }

private:
    static uint64_t add(qor_signal_storage_context_t& context, qor_type_node_t& node, uint8_t kind, uint64_t parent,
                        const std::string& name) {
        node.kind = kind;
        node.parent_id = parent;
        node.name = name.c_str();
        uint64_t id = 0;
        qor_error_details_t* details = nullptr;
        context.add_node(context.context, &node, &id, &details);
        qor::rethrow_details(details);
        return id;
    }

    void parse_buffer(qor_signal_storage_context_t* context, uint8_t, const void* buffer, size_t size, const char* name,
                      qor_parse_progress_t, void*) {
        std::istringstream text(std::string(static_cast<const char*>(buffer), size));
        qor_type_node_t view{};
        const uint64_t view_id = add(*context, view, QOR_TYPE_NODE_VIEW, 0, "Lines");
        std::string line;
        std::string last_object;
        uint64_t object_id = 0;
        for (int number = 1; std::getline(text, line); ++number) {
            std::istringstream words(line);
            std::string object;
            std::string signal;
            qor_type_node_t object_node{};
            qor_type_node_t node{};
            words >> object >> object_node.object.address >> signal >> node.signal.offset >> node.signal.bit_length;
            if (!words || node.signal.bit_length < 1 || node.signal.bit_length > 64 || node.signal.offset > 7) {
                throw std::runtime_error(std::string(name != nullptr ? name : "description") + ':' +
                                         std::to_string(number) + ": expected object, address, signal, byte and bits");
            }
            if (object != last_object) {
                object_node.object.element_count = 1;
                object_node.object.element_size = 16;
                object_id = add(*context, object_node, QOR_TYPE_NODE_OBJECT, view_id, object);
                last_object = object;
            }
            node.signal.raw_kind = static_cast<uint16_t>(qor::introspection::xtypes::type_kind::uint64);
            node.signal.converted_kind = node.signal.raw_kind;
            node.signal.element_count = 1;
            node.signal.element_size = 8;
            node.signal.numerator_x1 = 1;
            node.signal.denominator_x0 = 1;
            add(*context, node, QOR_TYPE_NODE_SIGNAL, object_id, signal);
        }
    }

    void get_supported_file_format(size_t, qor_data_description_file_format_t* format) {
        *format = {"lines", "Signals line by line", "lines", 0, {}};
    }

    qor::sdk::service_table services_;
};

} // namespace

QOR_DATA_DESCRIPTION_PARSER(line_parser)
