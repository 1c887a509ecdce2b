// The signal storage plug-in: the catalogue of all descriptions.
#ifndef RUNTIME_TAVI_SIGNAL_STORAGE_PROXY_HPP
#define RUNTIME_TAVI_SIGNAL_STORAGE_PROXY_HPP

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "qorc/extensibility/signal_storage.h"
#include "qorcpp/platform/shared_library.hpp"
#include "qorcpp/plugin_handle.hpp"
#include "runtime/holders.hpp"
#include "runtime/logger.hpp"
#include "runtime/service_locator.hpp"
#include "runtime/tavi/context.hpp"

namespace qor::runtime::tavi {

// URI of a storage in memory, and the storage's name and default file name.
inline constexpr const char* default_signal_storage_uri = "file:signal_storage?mode=memory";
inline constexpr const char* signal_storage_name = "signal_storage";
inline constexpr const char* signal_storage_file_name = "signal_storage.db3";

// Thread: no lock of its own. checkpoint may run beside one other call.
// All operations throw what the storage reports, and std::runtime_error for a missing slot.
class signal_storage_proxy {
public:
    // Absent values stand for the default URI, mode 0, flags 0 and no locator.
    signal_storage_proxy(platform::shared_library&& library, std::optional<std::string> uri,
                         std::optional<uint8_t> open_mode, std::optional<uint32_t> signal_storage_flags,
                         std::optional<std::shared_ptr<qor::runtime::service_locator>> host_locator);
    signal_storage_proxy(const signal_storage_proxy&) = delete;
    signal_storage_proxy& operator=(const signal_storage_proxy&) = delete;
    ~signal_storage_proxy();

    std::shared_ptr<context> open_context(const void* buffer, size_t size, const std::string& name,
                                          uint8_t context_type) const;
    void checkpoint() const;

    // Description id 0 searches all descriptions. An empty holder when the storage gives no node and no failure.
    type_node_holder find_node(uint64_t description_id, const std::string& path) const;
    // The place, from `first` on, of the next description that may have the path: where find_node is to be asked next.
    // Of a storage that can search in many at once it is the first that has it, or the last of all when none has it.
    // Requires: first < description_ids.size().
    size_t find_candidate(const std::vector<uint64_t>& description_ids, size_t first, const std::string& path) const;
    type_node_sequence_holder get_root_nodes(uint64_t description_id) const;
    type_node_sequence_holder get_node_children(const qor_type_node_t* node) const;
    type_node_sequence_holder get_node_hierarchy(uint64_t node_id) const;
    type_node_sequence_holder get_node_subtree(uint64_t node_id) const;
    std::string get_signature(uint64_t description_id) const;
    uint64_t get_description_id(const std::string& signature) const;

private:
    void resolve_tables();
    void release() noexcept;

    std::optional<plugin_handle> plugin;
    qor_signal_storage_t storage{};
    qor_signal_storage_access_t access{};
    qor_signal_storage_maintenance_t maintenance{};
    qor_signal_storage_search_t search{};
    std::shared_ptr<qor::runtime::service_locator> service_locator;
    std::shared_ptr<qor::runtime::service_locator> host_locator;
    std::shared_ptr<extensibility::log::logger> logger;
};

} // namespace qor::runtime::tavi

#endif
