#include "qorc/extensibility/data_description_parser.h"
#include "tools/tavi/check/kind_checks.hpp"
#include "tools/tavi/check/plugin_formats.hpp"

namespace tavi::tool {

namespace {

// A context that accepts everything and keeps nothing.
qor_signal_storage_context_t swallowing_context() {
    qor_signal_storage_context_t context{};
    context.add_node = [](void*, const qor_type_node_t*, uint64_t* id, qor_error_details_t**) -> uint32_t {
        if (id != nullptr) {
            *id = 1;
        }
        return QOR_STATUS_OK;
    };
    context.add_nodes = [](void*, const qor_type_node_t*, uint64_t count, uint64_t* ids,
                           qor_error_details_t**) -> uint32_t {
        for (uint64_t index = 0; ids != nullptr && index < count; ++index) {
            ids[index] = index + 1;
        }
        return QOR_STATUS_OK;
    };
    context.add_text = [](void*, uint64_t, const char*, const char*, qor_error_details_t**) -> uint32_t {
        return QOR_STATUS_OK;
    };
    context.add_value_table = [](void*, uint64_t, const char*, qor_error_details_t**) -> uint32_t {
        return QOR_STATUS_OK;
    };
    static char anything;
    context.context = &anything;
    return context;
}

} // namespace

void check_parser(const qor::plugin_handle& plugin, checker& check) {
    const auto* const support =
        check.find_table<qor_data_description_parser_support_t>(plugin, true, [](const auto& table) -> slot_list {
            return {{"parse_buffer", table.parse_buffer != nullptr}};
        });
    const auto* const formats = check.find_table<qor_data_description_parser_format_support_t>(
        plugin, true, [](const auto& table) -> slot_list {
            return {{"get_supported_file_format_count", table.get_supported_file_format_count != nullptr},
                    {"get_supported_file_format", table.get_supported_file_format != nullptr},
                    {"get_context_type", table.get_context_type != nullptr}};
        });
    if (support == nullptr || formats == nullptr) {
        return;
    }
    check.attempt("names its formats", [&] { formats_of(plugin, "data-description-parser"); });
    check.attempt("a context type is given", [&] { formats->get_context_type(plugin.instance()); });
    check.attempt("an empty description is answered, if only by a refusal", [&] {
        qor_signal_storage_context_t context = swallowing_context();
        qor_error_details_t* details = nullptr;
        support->parse_buffer(plugin.instance(), &context, 0, "", 0, "check", nullptr, nullptr, &details);
        qor_error_details_destroy(details);
    });
}

} // namespace tavi::tool
