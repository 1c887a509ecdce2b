// What the proxies of the created plug-in kinds do alike: entry symbols, instance, locator, mandatory tables, and the
// order in which all of it ends.
#ifndef RUNTIME_TAVI_PLUGIN_PROXY_HPP
#define RUNTIME_TAVI_PLUGIN_PROXY_HPP

#include <memory>
#include <stdexcept>
#include <string>

#include "qorc/extensibility/plugin.h"
#include "qorcpp/platform/shared_library.hpp"
#include "qorcpp/plugin_handle.hpp"
#include "runtime/service_locator.hpp"

namespace qor::runtime::tavi {

// Looks a symbol up. Throws: std::runtime_error "failed to access function 'NAME', " and the platform's text.
void* access_symbol(const platform::shared_library& library, const std::string& name);

template<typename Function>
Function access_function(const platform::shared_library& library, const std::string& name) {
    return reinterpret_cast<Function>(access_symbol(library, name));
}

// Throws: std::runtime_error with `text` unless table, resolve and context are there.
void check_locator_table(const qor_service_locator_t* table, const char* text);

// Throws: std::runtime_error "invalid TABLE interface, missing 'SLOT' function" for a null slot.
template<typename Table, typename Slot>
void check_slot(Slot slot, const char* name) {
    if (slot == nullptr) {
        throw std::runtime_error("invalid " + demangled_string<Table>() + " interface, missing '" + name +
                                 "' function");
    }
}

// Throws: std::runtime_error "invalid TABLE interface, no text from 'SLOT' function" for a null text.
template<typename Table>
void check_text(const char* text, const char* slot) {
    if (text == nullptr) {
        throw std::runtime_error("invalid " + demangled_string<Table>() + " interface, no text from '" + slot +
                                 "' function");
    }
}

// Throws: std::runtime_error "invalid TABLE interface, N from 'SLOT' function exceeds the limit of LIMIT".
template<typename Table>
void check_count(uint64_t count, uint64_t limit, const char* slot) {
    if (count > limit) {
        throw std::runtime_error("invalid " + demangled_string<Table>() + " interface, " + std::to_string(count) +
                                 " from '" + slot + "' function exceeds the limit of " + std::to_string(limit));
    }
}

// A copy of a resolved table. A locator that reports success and stores nothing counts as one without the table.
// Throws: what the locator reports; std::runtime_error "missing mandatory TABLE interface".
template<typename Table>
Table copy_table(const qor::runtime::service_locator& locator) {
    const Table* const table = get_service<Table>(locator);
    if (table == nullptr) {
        throw std::runtime_error("missing mandatory " + demangled_string<Table>() + " interface");
    }
    return *table;
}

// The address of the table that an optional service has, null when the locator does not offer it or reports a failure:
// a plug-in that does not know the service must not be worse off for the question, whatever its locator answers.
// Throws: std::bad_alloc when the answer is that there is no memory.
void* find_optional_table(const qor::runtime::service_locator& locator, const std::string& service_type);

// The description of a record, or the literal that stands for a missing one.
std::string description_or_default(const qor_error_details_t* details);

// The names and texts by which the created kinds differ.
struct plugin_kind {
    const char* create;
    const char* destroy;
    const char* get_service_locator;
    const char* missing_destroy;
    const char* bad_locator;
    // Whether details of get_service_locator are looked at. They are for parsers, and are not for matchers and
    // processors.
    bool reports_locator_details;
};

class plugin_proxy {
public:
    plugin_proxy(const plugin_proxy&) = delete;
    plugin_proxy& operator=(const plugin_proxy&) = delete;

    const std::string& get_library_path() const { return plugin.library().get_library_path(); }

protected:
    // Takes the library over, creates an instance and gets its locator. `companion` is something that has to outlive
    // the instance, or null. An instance that was created is destroyed when a later step fails.
    plugin_proxy(const plugin_kind& kind, platform::shared_library&& library,
                 std::shared_ptr<qor::runtime::service_locator>&& host_locator, std::shared_ptr<void> companion);
    ~plugin_proxy();

    // A copy of a table that must be there. Throws: std::runtime_error "missing mandatory TABLE interface".
    template<typename Table>
    Table mandatory_table() const {
        if (!has_service<Table>(*service_locator)) {
            throw std::runtime_error("missing mandatory " + demangled_string<Table>() + " interface");
        }
        return copy_table<Table>(*service_locator);
    }

    // The destructor ends the instance, then releases these, and the library last.
    std::shared_ptr<qor::runtime::service_locator> host_locator;
    std::shared_ptr<void> companion;
    plugin_handle plugin;
    // The instance.
    void* const handle;
    std::shared_ptr<qor::runtime::service_locator> service_locator;
};

} // namespace qor::runtime::tavi

#endif
