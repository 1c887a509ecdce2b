#include "plugins/signal_storage/description_context.hpp"

#include <stdexcept>
#include <utility>

#include "qor_plugin_sdk/plugin.hpp"

namespace qor::storage {

qor_signal_storage_context_t* description_context::create(const std::shared_ptr<storage>& owner,
                                                          const description_identity& identity) {
    const storage::reservation reservation = owner->reserve(identity);
    try {
        return &(new description_context(owner, identity, reservation))->table_;
    } catch (...) {
        owner->release(identity.signature);
        throw;
    }
}

description_context::description_context(std::shared_ptr<storage> owner, description_identity identity,
                                         const storage::reservation& reservation)
    : storage_(std::move(owner)), identity_(std::move(identity)),
      content_(std::make_shared<pending_description>(reservation.number, !reservation.present)) {
    table_.add_node = sdk::slot<&description_context::add_node>;
    table_.add_nodes = sdk::slot<&description_context::add_nodes>;
    table_.commit = sdk::slot<&description_context::commit>;
    table_.add_value_table = sdk::slot<&description_context::add_value_table>;
    table_.add_text = sdk::slot<&description_context::add_text>;
    table_.destroy = sdk::slot<&description_context::destroy>;
    table_.context = this;
}

description_context::~description_context() {
    storage_->release(identity_.signature);
}

pending_description& description_context::open_content() {
    if (committed_) {
        throw std::invalid_argument("description '" + identity_.name + "' was committed already");
    }
    return *content_;
}

void description_context::add_node(const qor_type_node_t* node, std::uint64_t* node_id) {
    check_argument(node, "node");
    open_content().add(node, 1, node_id);
}

void description_context::add_nodes(const qor_type_node_t* nodes, std::uint64_t count, std::uint64_t* node_ids) {
    open_content().add(nodes, count, node_ids);
}

void description_context::add_value_table(std::uint64_t node_id, const char* value_table) {
    open_content().set_value_table(node_id, value_table);
}

void description_context::add_text(std::uint64_t node_id, const char* key, const char* text) {
    open_content().add_text(node_id, key, text);
}

void description_context::commit(std::uint64_t* description_id) {
    check_argument(description_id, "description_id");
    open_content();
    *description_id = storage_->commit(identity_, content_);
    committed_ = true;
}

void description_context::destroy() {
    delete this;
}

} // namespace qor::storage
