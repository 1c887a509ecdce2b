// A plug-in in use: its library, one instance, the instance's locator and tables. What was made ends with the object:
// the instance, then the library; also when a later step of the constructor fails.
//
//     qor::plugin_handle plugin(path, "data-matcher");
//     const auto& formats = plugin.table<qor_data_matcher_format_support_t>();
//     formats.get_supported_format_count(plugin.instance());
#ifndef QORCPP_PLUGIN_HANDLE_HPP
#define QORCPP_PLUGIN_HANDLE_HPP

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "qorc/extensibility/plugin.h"
#include "qorcpp/call_frame.hpp"
#include "qorcpp/export.hpp"
#include "qorcpp/platform/shared_library.hpp"
#include "qorcpp/service_name.hpp"

namespace qor {

// Names of the entry symbols of a kind.
struct plugin_entries {
    std::string create;
    std::string destroy;
    std::string get_service_locator;
};

// By the type word of the metadata: "data-matcher" gives "qor_data_matcher_create" and so on. Storages are opened, by
// "qor_signal_storage_open".
QORCPP_API plugin_entries plugin_entries_of(std::string_view type_word);

// How a storage is opened, see qor_signal_storage_open_t.
struct storage_request {
    std::string uri = "file:signal_storage?mode=memory";
    std::uint8_t open_mode = 0;
    std::uint32_t flags = 0;
};

// The steps of taking a plug-in into use, for a host that words their failures itself. Each throws when it fails.
struct plugin_steps {
    // The address of an entry symbol.
    std::function<void*(const platform::shared_library& library, const std::string& name)> find_entry;
    // Calls the entry that makes an instance and stores the instance, also when it throws after that.
    std::function<void(void* entry, void** instance)> create;
    // Calls the entry that gives the locator.
    std::function<qor_service_locator_t*(void* entry, void* instance)> get_service_locator;
};

// Throws: std::runtime_error "the entry symbol 'NAME' is missing"; what the plug-in reports; std::runtime_error for an
// entry that gives no instance.
QORCPP_API plugin_steps default_plugin_steps(qor_service_locator_t* host_locator = nullptr);
QORCPP_API plugin_steps default_plugin_steps(const storage_request& request,
                                             qor_service_locator_t* host_locator = nullptr);

// Thread: one at a time.
class QORCPP_API plugin_handle {
public:
    // Throws: what the steps throw; std::runtime_error for a locator that is null or has a null function or context.
    plugin_handle(platform::shared_library&& library, const plugin_entries& entries, const plugin_steps& steps);

    // The plug-in of a file, by the default steps; a storage is opened in memory.
    // Throws: as the other constructor; std::runtime_error "the library cannot be loaded: " with the platform's text.
    plugin_handle(const std::string& path, std::string_view type_word, qor_service_locator_t* host_locator = nullptr);

    plugin_handle(const plugin_handle&) = delete;
    plugin_handle& operator=(const plugin_handle&) = delete;
    ~plugin_handle();

    // First argument of the functions of tables without a context field.
    void* instance() const noexcept { return instance_; }
    qor_service_locator_t* locator() const noexcept { return locator_; }
    const platform::shared_library& library() const noexcept { return library_; }

    // Destroys the instance once, even one that the entry gave as null; the library stays. For a host that has to end
    // something between the two.
    void end_instance() noexcept;

    // A table, null when the plug-in does not offer it. Belongs to the plug-in. Throws: what the locator reports.
    template<typename Table>
    const Table* find_table() const {
        return static_cast<const Table*>(find_table(service_name<Table>()));
    }

    // A table that has to be there. Throws: what the locator reports; std::runtime_error "the table NAME is missing".
    template<typename Table>
    const Table& table() const {
        return *static_cast<const Table*>(required_table(service_name<Table>()));
    }

private:
    const void* find_table(const std::string& name) const;
    const void* required_table(const std::string& name) const;

    platform::shared_library library_; // goes last: its code ends the instance
    qor_plugin_destroy_t destroy_ = nullptr;
    void* instance_ = nullptr;
    qor_service_locator_t* locator_ = nullptr;
};

} // namespace qor

#endif
