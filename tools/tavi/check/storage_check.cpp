#include <stdexcept>

#include "qorc/extensibility/signal_storage.h"
#include "tools/tavi/check/kind_checks.hpp"

namespace tavi::tool {

void check_storage(const qor::plugin_handle& plugin, checker& check) {
    check.find_table<qor_signal_storage_t>(plugin, true, [](const auto& table) -> slot_list {
        return {{"create_context", table.create_context != nullptr}, {"checkpoint", table.checkpoint != nullptr}};
    });
    const auto* const access =
        check.find_table<qor_signal_storage_access_t>(plugin, true, [](const auto& table) -> slot_list {
            return {{"find_node", table.find_node != nullptr},
                    {"get_root_nodes", table.get_root_nodes != nullptr},
                    {"get_node_children", table.get_node_children != nullptr},
                    {"get_node_hierarchy", table.get_node_hierarchy != nullptr},
                    {"get_node_subtree", table.get_node_subtree != nullptr},
                    {"get_signature", table.get_signature != nullptr},
                    {"get_description_id", table.get_description_id != nullptr}};
        });
    check.find_table<qor_signal_storage_maintenance_t>(plugin, true, [](const auto&) { return slot_list{}; });
    if (access == nullptr) {
        return;
    }
    check.attempt("a path that is not there is an invalid argument", [&] {
        qor_type_node_t* node = nullptr;
        qor_error_details_t* details = nullptr;
        access->find_node(access->context, 0, "Nothing.Here", &node, &details);
        const uint32_t code = qor_error_details_get_code(details);
        const bool refused = details != nullptr && code == QOR_STATUS_INVALID_ARGUMENT && node == nullptr;
        qor_error_details_destroy(details);
        if (!refused) {
            throw std::runtime_error("the answer was another one");
        }
    });
}

} // namespace tavi::tool
