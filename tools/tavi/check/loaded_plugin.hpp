// A plug-in that was loaded by hand, without an extractor: entry symbols, instance, locator, tables.
#ifndef TOOLS_TAVI_CHECK_LOADED_PLUGIN_HPP
#define TOOLS_TAVI_CHECK_LOADED_PLUGIN_HPP

#include <string>

#include "qorc/service_locator.h"
#include "qorcpp/call_frame.hpp"
#include "qorcpp/platform/shared_library.hpp"
#include "qorcpp/service_name.hpp"

namespace tavi::tool {

// The stem of a kind's entry symbols: "data_matcher" for the type word "data-matcher".
std::string entry_stem(const std::string& type_word);

// Thread: one at a time. The instance ends with the object.
class loaded_plugin {
public:
    // Throws: std::runtime_error that names what is missing.
    loaded_plugin(const std::string& path, const std::string& type_word);
    loaded_plugin(const loaded_plugin&) = delete;
    loaded_plugin& operator=(const loaded_plugin&) = delete;
    ~loaded_plugin();

    void* handle() const noexcept { return handle_; }

    // Null when the plug-in does not have it. Throws what the locator reports.
    template<typename Table>
    const Table* table() const {
        const std::string name = qor::service_name<Table>();
        bool known = false;
        qor_error_details_t* details = nullptr;
        if (locator_->can_resolve != nullptr) {
            locator_->can_resolve(locator_->context, name.c_str(), &known, &details);
            qor::rethrow_details(details);
        }
        void* found = nullptr;
        if (known) {
            locator_->resolve(locator_->context, name.c_str(), &found, &details);
            qor::rethrow_details(details);
        }
        return static_cast<const Table*>(found);
    }

private:
    void* symbol(const std::string& name) const;
    void create(const std::string& stem);

    qor::platform::shared_library library_;
    void* handle_ = nullptr;
    void (*destroy_)(void*) = nullptr;
    qor_service_locator_t* locator_ = nullptr;
};

} // namespace tavi::tool

#endif
