#include "qorcpp/plugin_handle.hpp"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "qorc/extensibility/signal_storage.h"

namespace qor {

namespace {

constexpr std::string_view storage_type_word = "signal-storage";

platform::shared_library loaded(const std::string& path) {
    platform::shared_library library(path);
    if (!library) {
        throw std::runtime_error("the library cannot be loaded: " + platform::get_last_error());
    }
    return library;
}

void* find_entry(const platform::shared_library& library, const std::string& name) {
    void* const found = library.get_symbol(name);
    if (found == nullptr) {
        throw std::runtime_error("the entry symbol '" + name + "' is missing");
    }
    return found;
}

void check_created(std::uint32_t status, const void* instance, qor_error_details_t* details) {
    rethrow_details(details);
    if (status != QOR_STATUS_OK || instance == nullptr) {
        throw std::runtime_error("the entry that creates an instance gave none, and no details");
    }
}

qor_service_locator_t* get_service_locator(void* entry, void* instance) {
    qor_service_locator_t* locator = nullptr;
    qor_error_details_t* details = nullptr;
    reinterpret_cast<qor_plugin_get_service_locator_t>(entry)(instance, &locator, &details);
    rethrow_details(details);
    return locator;
}

plugin_steps default_steps_of(std::string_view type_word, qor_service_locator_t* host_locator) {
    return type_word == storage_type_word ? default_plugin_steps(storage_request(), host_locator)
                                          : default_plugin_steps(host_locator);
}

} // namespace

plugin_entries plugin_entries_of(std::string_view type_word) {
    std::string stem = "qor_" + std::string(type_word);
    std::replace(stem.begin(), stem.end(), '-', '_');
    const char* const create = type_word == storage_type_word ? "_open" : "_create";
    return {stem + create, stem + "_destroy", stem + "_get_service_locator"};
}

plugin_steps default_plugin_steps(qor_service_locator_t* host_locator) {
    const auto create = [host_locator](void* entry, void** instance) {
        qor_error_details_t* details = nullptr;
        const std::uint32_t status = reinterpret_cast<qor_plugin_create_t>(entry)(instance, host_locator, &details);
        check_created(status, *instance, details);
    };
    return {find_entry, create, get_service_locator};
}

plugin_steps default_plugin_steps(const storage_request& request, qor_service_locator_t* host_locator) {
    const auto open = [request, host_locator](void* entry, void** instance) {
        qor_error_details_t* details = nullptr;
        const std::uint32_t status = reinterpret_cast<qor_signal_storage_open_t>(entry)(
            request.uri.c_str(), request.open_mode, request.flags, host_locator, instance, &details);
        check_created(status, *instance, details);
    };
    return {find_entry, open, get_service_locator};
}

plugin_handle::plugin_handle(platform::shared_library&& library, const plugin_entries& entries,
                             const plugin_steps& steps)
    : library_(std::move(library)) {
    void* const create = steps.find_entry(library_, entries.create);
    destroy_ = reinterpret_cast<qor_plugin_destroy_t>(steps.find_entry(library_, entries.destroy));
    void* const get_locator = steps.find_entry(library_, entries.get_service_locator);
    try {
        steps.create(create, &instance_);
        locator_ = steps.get_service_locator(get_locator, instance_);
        if (locator_ == nullptr || locator_->resolve == nullptr || locator_->context == nullptr) {
            throw std::runtime_error("the service locator is null or has a null function or context");
        }
    } catch (...) {
        if (instance_ != nullptr) {
            end_instance();
        }
        throw;
    }
}

plugin_handle::plugin_handle(const std::string& path, std::string_view type_word, qor_service_locator_t* host_locator)
    : plugin_handle(loaded(path), plugin_entries_of(type_word), default_steps_of(type_word, host_locator)) {}

plugin_handle::~plugin_handle() {
    if (instance_ != nullptr) {
        end_instance();
    }
}

void plugin_handle::end_instance() noexcept {
    locator_ = nullptr;
    if (destroy_ != nullptr) {
        std::exchange(destroy_, nullptr)(std::exchange(instance_, nullptr));
    }
}

const void* plugin_handle::find_table(const std::string& name) const {
    qor_error_details_t* details = nullptr;
    bool known = false;
    if (locator_->can_resolve != nullptr) {
        locator_->can_resolve(locator_->context, name.c_str(), &known, &details);
        rethrow_details(details);
    }
    void* found = nullptr;
    if (known) {
        locator_->resolve(locator_->context, name.c_str(), &found, &details);
        rethrow_details(details);
    }
    return found;
}

const void* plugin_handle::required_table(const std::string& name) const {
    const void* const found = find_table(name);
    if (found == nullptr) {
        throw std::runtime_error("the table " + name + " is missing");
    }
    return found;
}

} // namespace qor
