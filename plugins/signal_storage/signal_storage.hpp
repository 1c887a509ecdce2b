// The plug-in's instance: the tables that it publishes.
#ifndef PLUGINS_SIGNAL_STORAGE_SIGNAL_STORAGE_HPP
#define PLUGINS_SIGNAL_STORAGE_SIGNAL_STORAGE_HPP

#include <cstddef>
#include <cstdint>
#include <memory>

#include "plugins/signal_storage/storage.hpp"
#include "qor_plugin_sdk/plugin.hpp"
#include "qorc/extensibility/signal_storage.h"

namespace qor::storage {

class signal_storage {
public:
    explicit signal_storage(std::shared_ptr<storage> opened);

    sdk::service_table& services() noexcept { return services_; }

    // Slots of qor_signal_storage_t.
    void create_context(std::uint8_t context_type, const void* buffer, std::size_t size, const char* name,
                        qor_signal_storage_context_t** new_context);
    void checkpoint();

    // Slots of qor_signal_storage_access_t.
    void find_node(std::uint64_t description_id, const char* path, qor_type_node_t** node);
    void get_root_nodes(std::uint64_t description_id, qor_type_node_sequence_t** nodes);
    void get_node_children(const qor_type_node_t* node, qor_type_node_sequence_t** nodes);
    void get_node_hierarchy(std::uint64_t node_id, qor_type_node_sequence_t** nodes);
    void get_node_subtree(std::uint64_t node_id, qor_type_node_sequence_t** nodes);
    std::uint32_t get_signature(std::uint64_t description_id, char* buffer, std::size_t* size);
    void get_description_id(const char* signature, std::uint64_t* description_id);

    // Slot of qor_signal_storage_search_t.
    void find_first(const std::uint64_t* description_ids, std::size_t id_count, const char* path, std::size_t* index);

    // Slot of qor_signal_storage_maintenance_t.
    void compact();

private:
    void offer_tables();

    const std::shared_ptr<storage> storage_; // contexts that outlive the instance share it
    sdk::service_table services_;
};

} // namespace qor::storage

#endif
