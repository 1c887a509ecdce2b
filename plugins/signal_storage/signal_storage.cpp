#include "plugins/signal_storage/signal_storage.hpp"

#include <cstring>
#include <utility>

#include "plugins/signal_storage/description_context.hpp"
#include "plugins/signal_storage/signature.hpp"

namespace qor::storage {

signal_storage::signal_storage(std::shared_ptr<storage> opened) : storage_(std::move(opened)) {
    offer_tables();
}

void signal_storage::offer_tables() {
    qor_signal_storage_t contexts{};
    contexts.create_context = sdk::slot<&signal_storage::create_context>;
    contexts.checkpoint = sdk::slot<&signal_storage::checkpoint>;
    contexts.context = this;
    services_.offer(contexts);

    qor_signal_storage_access_t access{};
    access.find_node = sdk::slot<&signal_storage::find_node>;
    access.get_root_nodes = sdk::slot<&signal_storage::get_root_nodes>;
    access.get_node_children = sdk::slot<&signal_storage::get_node_children>;
    access.get_node_hierarchy = sdk::slot<&signal_storage::get_node_hierarchy>;
    access.get_node_subtree = sdk::slot<&signal_storage::get_node_subtree>;
    access.get_signature = sdk::slot<&signal_storage::get_signature>;
    access.get_description_id = sdk::slot<&signal_storage::get_description_id>;
    access.context = this;
    services_.offer(access);

    services_.offer(qor_signal_storage_search_t{sdk::slot<&signal_storage::find_first>, this});

    qor_signal_storage_maintenance_t maintenance{};
    maintenance.compact = sdk::slot<&signal_storage::compact>;
    maintenance.context = this;
    services_.offer(maintenance);
}

void signal_storage::create_context(std::uint8_t context_type, const void* buffer, std::size_t size, const char* name,
                                    qor_signal_storage_context_t** new_context) {
    check_argument(new_context, "new_context");
    *new_context = nullptr;
    if (size != 0) {
        check_argument(buffer, "buffer");
    }
    check_argument(name, "name");
    description_identity identity;
    identity.name = name;
    identity.context_type = context_type;
    identity.content_size = size;
    identity.signature = make_signature({static_cast<const std::uint8_t*>(buffer), size}, identity.name, context_type);
    *new_context = description_context::create(storage_, identity);
}

void signal_storage::checkpoint() {
    storage_->ask(&catalogue::checkpoint);
}

void signal_storage::compact() {
    storage_->ask(&catalogue::compact);
}

void signal_storage::find_node(std::uint64_t description_id, const char* path, qor_type_node_t** node) {
    check_argument(path, "path");
    check_argument(node, "node");
    *node = nullptr;
    *node = storage_->ask(&catalogue::find_node, description_id, path).release();
}

void signal_storage::find_first(const std::uint64_t* description_ids, std::size_t id_count, const char* path,
                                std::size_t* index) {
    check_argument(path, "path");
    check_argument(index, "index");
    if (id_count != 0) {
        check_argument(description_ids, "description_ids");
    }
    *index = storage_->ask(&catalogue::find_first, std::span(description_ids, id_count), path);
}

void signal_storage::get_root_nodes(std::uint64_t description_id, qor_type_node_sequence_t** nodes) {
    check_argument(nodes, "nodes");
    *nodes = nullptr;
    *nodes = storage_->ask(&catalogue::roots, description_id).release();
}

void signal_storage::get_node_children(const qor_type_node_t* node, qor_type_node_sequence_t** nodes) {
    check_argument(node, "node");
    check_argument(nodes, "nodes");
    *nodes = nullptr;
    *nodes = storage_->ask(&catalogue::children, node->id).release();
}

void signal_storage::get_node_hierarchy(std::uint64_t node_id, qor_type_node_sequence_t** nodes) {
    check_argument(nodes, "nodes");
    *nodes = nullptr;
    *nodes = storage_->ask(&catalogue::hierarchy, node_id).release();
}

void signal_storage::get_node_subtree(std::uint64_t node_id, qor_type_node_sequence_t** nodes) {
    check_argument(nodes, "nodes");
    *nodes = nullptr;
    *nodes = storage_->ask(&catalogue::subtree, node_id).release();
}

std::uint32_t signal_storage::get_signature(std::uint64_t description_id, char* buffer, std::size_t* size) {
    check_argument(size, "size");
    const std::string signature = storage_->ask(&catalogue::signature, description_id);
    const std::size_t capacity = std::exchange(*size, signature.size() + 1);
    if (buffer == nullptr || capacity < *size) {
        return QOR_STATUS_BUFFER_TOO_SMALL;
    }
    std::memcpy(buffer, signature.c_str(), *size);
    return QOR_STATUS_OK;
}

void signal_storage::get_description_id(const char* signature, std::uint64_t* description_id) {
    check_argument(signature, "signature");
    check_argument(description_id, "description_id");
    *description_id = storage_->ask(&catalogue::description_id, signature);
}

} // namespace qor::storage
