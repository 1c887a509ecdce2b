// A plug-in as the extractor has it: the library loaded, an instance, its tables.
#ifndef TESTS_SUPPORT_LOADED_PLUGIN_HPP
#define TESTS_SUPPORT_LOADED_PLUGIN_HPP

#include <string>

#include "qorc/extensibility/plugin.h"
#include "qorcpp/call_frame.hpp"
#include "qorcpp/platform/module.hpp"
#include "qorcpp/platform/shared_library.hpp"
#include "qorcpp/service_name.hpp"
#include "tests/support/paths.hpp"

namespace tavi::test {

class loaded_plugin {
public:
    // name  of the library: "qor_can_matcher"
    // kind  "qor_data_matcher"
    loaded_plugin(const std::string& name, const char* kind, qor_service_locator_t* host = nullptr)
        : kind_(kind),
          library_(std::string(library_folder) + '/' + qor::platform::shared_library_file_name(name.c_str())) {
        qor_error_details_t* details = nullptr;
        symbol<qor_plugin_create_t>("_create")(&handle_, host, &details);
        qor::rethrow_details(details);
        symbol<qor_plugin_get_service_locator_t>("_get_service_locator")(handle_, &locator_, &details);
        qor::rethrow_details(details);
    }
    loaded_plugin(const loaded_plugin&) = delete;
    loaded_plugin& operator=(const loaded_plugin&) = delete;
    ~loaded_plugin() { symbol<qor_plugin_destroy_t>("_destroy")(handle_); }

    void* handle() const { return handle_; }

    template<typename Table>
    const Table& table() const {
        void* found = nullptr;
        qor_error_details_t* details = nullptr;
        locator_->resolve(locator_->context, std::string(qor::service_name<Table>()).c_str(), &found, &details);
        qor::rethrow_details(details);
        return *static_cast<const Table*>(found);
    }

private:
    template<typename Function>
    Function symbol(const char* name) const {
        return reinterpret_cast<Function>(library_.get_symbol((kind_ + name).c_str()));
    }

    std::string kind_;
    qor::platform::shared_library library_;
    void* handle_ = nullptr;
    qor_service_locator_t* locator_ = nullptr;
};

} // namespace tavi::test

#endif
