#include "runtime/tavi/signal_storage_proxy.hpp"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <utility>

#include "runtime/details_owner.hpp"
#include "runtime/tavi/plugin_proxy.hpp"

namespace qor::runtime::tavi {

namespace {

// Room for a usual signature at the first attempt.
constexpr size_t signature_room = 128;

template<typename Slot>
void check_access(Slot slot, const char* name) {
    check_slot<qor_signal_storage_access_t>(slot, name);
}

const plugin_entries storage_entries{
    "qor_signal_storage_open",
    "qor_signal_storage_destroy",
    "qor_signal_storage_get_service_locator",
};

void* find_entry(const platform::shared_library& library, const std::string& name) {
    void* const entry = access_symbol(library, name);
    if (entry == nullptr) {
        throw std::runtime_error("invalid signal storage library, '" + name +
                                 (name == storage_entries.create ? "" : "_t") + "' function is missing");
    }
    return entry;
}

qor_service_locator_t* find_locator(void* entry, void* instance) {
    details_owner details;
    qor_service_locator_t* table = nullptr;
    reinterpret_cast<qor_signal_storage_get_service_locator_t>(entry)(instance, &table, details.place());
    details.rethrow();
    check_locator_table(table, "invalid service locator interface returned from "
                               "'qor_signal_storage_get_service_locator' function");
    return table;
}

} // namespace

signal_storage_proxy::signal_storage_proxy(platform::shared_library&& library, std::optional<std::string> uri,
                                           std::optional<uint8_t> open_mode,
                                           std::optional<uint32_t> signal_storage_flags,
                                           std::optional<std::shared_ptr<qor::runtime::service_locator>> host_locator) {
    if (!library) {
        throw std::runtime_error("invalid shared library handle specified for the signal storage library");
    }
    if (host_locator) {
        this->host_locator = std::move(*host_locator);
    }
    if (this->host_locator && has_service<qor_log_t>(*this->host_locator)) {
        logger = std::make_shared<extensibility::log::logger>(get_service<qor_log_t>(*this->host_locator));
    }
    const auto open = [&](void* entry, void** instance) {
        details_owner details;
        reinterpret_cast<qor_signal_storage_open_t>(entry)(
            uri ? uri->c_str() : default_signal_storage_uri, open_mode.value_or(0), signal_storage_flags.value_or(0),
            this->host_locator ? this->host_locator->table : nullptr, instance, details.place());
        details.rethrow();
    };
    plugin.emplace(std::move(library), storage_entries, plugin_steps{find_entry, open, find_locator});
    try {
        resolve_tables();
    } catch (...) {
        if (plugin->instance() != nullptr) {
            release();
        }
        throw;
    }
}

void signal_storage_proxy::resolve_tables() {
    service_locator = std::make_shared<qor::runtime::service_locator>(plugin->locator());
    storage = copy_table<qor_signal_storage_t>(*service_locator);
    access = copy_table<qor_signal_storage_access_t>(*service_locator);
    maintenance = copy_table<qor_signal_storage_maintenance_t>(*service_locator);
    const std::string search_name = demangled_string<qor_signal_storage_search_t>();
    if (const void* const table = find_optional_table(*service_locator, search_name)) {
        search = *static_cast<const qor_signal_storage_search_t*>(table);
    }
}

void signal_storage_proxy::release() noexcept {
    plugin->end_instance();
    logger.reset();
    host_locator.reset();
    service_locator.reset();
}

signal_storage_proxy::~signal_storage_proxy() {
    release();
}

std::shared_ptr<context> signal_storage_proxy::open_context(const void* buffer, size_t size, const std::string& name,
                                                            uint8_t context_type) const {
    check_slot<qor_signal_storage_t>(storage.create_context, "create_context");
    qor_signal_storage_context_t* table = nullptr;
    details_owner details;
    storage.create_context(storage.context, context_type, buffer, size, name.c_str(), &table, details.place());
    std::unique_ptr<qor_signal_storage_context_t, decltype(&end_context)> created(table, end_context);
    details.rethrow();
    if (table == nullptr) {
        throw std::runtime_error("invalid signal storage context");
    }
    auto opened = std::make_shared<context>(table, true);
    created.release();
    return opened;
}

void signal_storage_proxy::checkpoint() const {
    check_slot<qor_signal_storage_t>(storage.checkpoint, "checkpoint");
    details_owner details;
    storage.checkpoint(storage.context, details.place());
    details.rethrow();
}

type_node_holder signal_storage_proxy::find_node(uint64_t description_id, const std::string& path) const {
    check_access(access.find_node, "find_node");
    qor_type_node_t* node = nullptr;
    details_owner details;
    access.find_node(access.context, description_id, path.c_str(), &node, details.place());
    auto holder = wrap_node(node, true);
    details.rethrow();
    return holder;
}

size_t signal_storage_proxy::find_candidate(const std::vector<uint64_t>& description_ids, size_t first,
                                            const std::string& path) const {
    const size_t count = description_ids.size() - first;
    if (search.find_first == nullptr || count == 1) {
        return first;
    }
    size_t index = 0;
    details_owner details;
    search.find_first(search.context, description_ids.data() + first, count, path.c_str(), &index, details.place());
    details.rethrow();
    return first + std::min(index, count - 1);
}

namespace {

template<typename Slot, typename Argument>
type_node_sequence_holder query_nodes(Slot slot, const char* name, void* context, Argument argument) {
    check_access(slot, name);
    qor_type_node_sequence_t* nodes = nullptr;
    details_owner details;
    slot(context, argument, &nodes, details.place());
    auto holder = wrap_nodes(nodes, true);
    if (nodes != nullptr && nodes->count > QOR_SIGNAL_STORAGE_MAX_NODES) {
        const uint64_t count = std::exchange(nodes->count, 0); // not for the holder to walk through
        details.rethrow();
        check_count<qor_signal_storage_access_t>(count, QOR_SIGNAL_STORAGE_MAX_NODES, name);
    }
    details.rethrow();
    return holder;
}

// A storage that reports success without an answer is refused here, so that callers can read what they hold.
type_node_sequence_holder required(type_node_sequence_holder nodes, const char* name) {
    if (!nodes) {
        throw std::runtime_error(std::string("the signal storage gave no nodes from '") + name + "'");
    }
    if (nodes->nodes == nullptr && nodes->count != 0) {
        throw std::invalid_argument("invalid node object state");
    }
    return nodes;
}

} // namespace

type_node_sequence_holder signal_storage_proxy::get_root_nodes(uint64_t description_id) const {
    return required(query_nodes(access.get_root_nodes, "get_root_nodes", access.context, description_id),
                    "get_root_nodes");
}

type_node_sequence_holder signal_storage_proxy::get_node_children(const qor_type_node_t* node) const {
    return query_nodes(access.get_node_children, "get_node_children", access.context, node);
}

type_node_sequence_holder signal_storage_proxy::get_node_hierarchy(uint64_t node_id) const {
    return required(query_nodes(access.get_node_hierarchy, "get_node_hierarchy", access.context, node_id),
                    "get_node_hierarchy");
}

type_node_sequence_holder signal_storage_proxy::get_node_subtree(uint64_t node_id) const {
    return required(query_nodes(access.get_node_subtree, "get_node_subtree", access.context, node_id),
                    "get_node_subtree");
}

std::string signal_storage_proxy::get_signature(uint64_t description_id) const {
    check_access(access.get_signature, "get_signature");
    std::string text(signature_room, '\0');
    for (;;) {
        size_t size = text.size();
        details_owner details;
        const uint32_t status =
            access.get_signature(access.context, description_id, text.data(), &size, details.place());
        if (status == QOR_STATUS_OK) {
            check_count<qor_signal_storage_access_t>(size, text.size(), "get_signature");
            text.resize(size > 0 ? size - 1 : 0);
            return text;
        }
        // A size that was there already would make the question endless.
        if (status != QOR_STATUS_BUFFER_TOO_SMALL || size <= text.size()) {
            throw std::runtime_error(description_or_default(details.get()));
        }
        check_count<qor_signal_storage_access_t>(size, QOR_SIGNAL_STORAGE_MAX_SIGNATURE_SIZE, "get_signature");
        text.resize(size);
    }
}

uint64_t signal_storage_proxy::get_description_id(const std::string& signature) const {
    check_access(access.get_description_id, "get_description_id");
    uint64_t description_id = 0;
    details_owner details;
    access.get_description_id(access.context, signature.c_str(), &description_id, details.place());
    details.rethrow();
    return description_id;
}

} // namespace qor::runtime::tavi
