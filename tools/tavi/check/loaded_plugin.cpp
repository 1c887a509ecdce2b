#include "tools/tavi/check/loaded_plugin.hpp"

#include <algorithm>
#include <stdexcept>

#include "qorc/extensibility/plugin.h"
#include "qorc/extensibility/signal_storage.h"

namespace tavi::tool {

std::string entry_stem(const std::string& type_word) {
    std::string stem = type_word;
    std::replace(stem.begin(), stem.end(), '-', '_');
    return stem;
}

loaded_plugin::loaded_plugin(const std::string& path, const std::string& type_word) : library_(path) {
    if (!library_) {
        throw std::runtime_error("the library cannot be loaded: " + qor::platform::get_last_error());
    }
    try {
        create("qor_" + entry_stem(type_word));
    } catch (...) {
        if (handle_ != nullptr) {
            destroy_(handle_);
        }
        throw;
    }
}

void loaded_plugin::create(const std::string& stem) {
    const bool is_storage = stem == "qor_signal_storage";
    void* const create_symbol = symbol(stem + (is_storage ? "_open" : "_create"));
    destroy_ = reinterpret_cast<qor_plugin_destroy_t>(symbol(stem + "_destroy"));
    const auto get_locator = reinterpret_cast<qor_plugin_get_service_locator_t>(symbol(stem + "_get_service_locator"));
    qor_error_details_t* details = nullptr;
    const uint32_t status =
        is_storage ? reinterpret_cast<qor_signal_storage_open_t>(create_symbol)("file:signal_storage?mode=memory", 0, 0,
                                                                                nullptr, &handle_, &details)
                   : reinterpret_cast<qor_plugin_create_t>(create_symbol)(&handle_, nullptr, &details);
    qor::rethrow_details(details);
    if (status != QOR_STATUS_OK || handle_ == nullptr) {
        throw std::runtime_error("the entry that creates an instance gave none, and no details");
    }
    get_locator(handle_, &locator_, &details);
    qor::rethrow_details(details);
    if (locator_ == nullptr || locator_->resolve == nullptr || locator_->context == nullptr) {
        throw std::runtime_error("the service locator is null or has a null function or context");
    }
}

loaded_plugin::~loaded_plugin() {
    destroy_(handle_);
}

void* loaded_plugin::symbol(const std::string& name) const {
    void* const found = library_.get_symbol(name);
    if (found == nullptr) {
        throw std::runtime_error("the entry symbol '" + name + "' is missing");
    }
    return found;
}

} // namespace tavi::tool
