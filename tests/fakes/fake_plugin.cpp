// Entry symbols of all kinds in one library: a test copies it, writes the kind's word into the copy, and takes entry
// symbols away by spoiling their names.
#include "tests/fakes/fake_plugin.hpp"

#include <filesystem>

#include "qorc/error_details.h"
#include "qorc/metadata.h"
#include "qorcpp/platform/module.hpp"

QOR_LIBRARY_METADATA("fake-plugin")

namespace tavi::fakes {

namespace {

// Nobody else knows the type, and its code goes with the library.
struct failure_of_its_own {
    failure_of_its_own() = default;
    failure_of_its_own(const failure_of_its_own&) {}
    ~failure_of_its_own() { text.clear(); }
    std::string text = "a text that is too long for the room inside of a string";
};

std::uint32_t resolve(void* context, const char* service, void* target, details error) {
    fake_plugin& self = fake_plugin::of(context);
    return self.perform("resolve", service, error, [&]() -> std::uint32_t {
        const auto found = self.tables.find(service);
        if (found == self.tables.end()) {
            const std::string text = std::string("the fake has no ") + service;
            return qor_error_details_create(error, QOR_STATUS_FAILURE, text.c_str());
        }
        *static_cast<void**>(target) = found->second.get();
        return QOR_STATUS_OK;
    });
}

std::uint32_t can_resolve(void* context, const char* service, bool* result, details error) {
    fake_plugin& self = fake_plugin::of(context);
    *result = self.tables.contains(service);
    return self.perform("can_resolve", service, error, [] {});
}

} // namespace

const std::string& fake_plugin::name() {
    static const std::string stem = std::filesystem::path(qor::platform::get_current_module_path()).stem().string();
    static const std::string without_prefix = stem.substr(stem.find("lib") == 0 ? 3 : 0);
    return without_prefix;
}

control& fake_plugin::find_control(qor_service_locator_t* host_locator) {
    static control alone;
    void* found = &alone;
    if (host_locator != nullptr) {
        host_locator->resolve(host_locator->context, control_service, &found, nullptr);
    }
    return *static_cast<control*>(found);
}

fake_plugin::fake_plugin(qor_service_locator_t* host_locator)
    : shared(find_control(host_locator)),
      own(shared.scripts[name()]), locator{slot("resolve", resolve), slot("can_resolve", can_resolve),
                                           own.missing.contains("context") ? nullptr : this} {
    ++shared.instances;
}

fake_plugin::~fake_plugin() {
    --shared.instances;
}

std::uint32_t fake_plugin::give(const answer& scripted, details error) {
    if (scripted.throws) {
        throw failure_of_its_own();
    }
    if (scripted.code) {
        qor_error_details_create(error, *scripted.code, scripted.text ? scripted.text->c_str() : nullptr);
    }
    return scripted.status;
}

std::uint32_t register_type(void* handle, std::uint64_t subscription, const char* schema,
                            const qor_type_node_sequence_t* hierarchy, std::uint64_t position, std::uint64_t extent,
                            details error) {
    std::string arguments = std::to_string(subscription);
    for (std::uint64_t i = 0; i < hierarchy->count; ++i) {
        arguments += (i == 0 ? " " : "/") + std::string(hierarchy->nodes[i].name);
    }
    arguments += " at " + std::to_string(position) + " of " + std::to_string(extent);
    fake_plugin& self = fake_plugin::of(handle);
    self.shared.record(fake_plugin::name(), "schema", schema);
    return self.perform("register_type", arguments, error, [] {});
}

std::uint32_t unregister_type(void* handle, std::uint64_t subscription, details error) {
    return fake_plugin::of(handle).perform("unregister_type", std::to_string(subscription), error, [] {});
}

std::size_t get_format_count(void* handle) {
    const script& own = fake_plugin::of(handle).own;
    return own.count_of("get_supported_format_count", own.formats.size());
}

namespace {

// The answer of `function` decides before there is an instance; an informational one creates all the same.
std::uint32_t create_instance(void (*become)(fake_plugin&), const char* function, const std::string& arguments,
                              qor_service_locator_t* host, void** handle, details error) {
    control& shared = fake_plugin::find_control(host);
    shared.record(fake_plugin::name(), function, arguments);
    const script& own = shared.scripts[fake_plugin::name()];
    own.call_back(function, "");
    const answer* const scripted = own.find_answer(function, "");
    const std::uint32_t status = scripted != nullptr ? fake_plugin::give(*scripted, error) : QOR_STATUS_OK;
    if (status == QOR_STATUS_OK) {
        auto made = std::make_unique<fake_plugin>(host);
        become(*made);
        *handle = made.release();
    }
    return status;
}

void destroy_instance(void* handle) {
    auto* const self = static_cast<fake_plugin*>(handle);
    self->shared.record(fake_plugin::name(), "destroy", "");
    self->own.call_back("destroy", "");
    delete self;
}

std::uint32_t give_locator(void* handle, qor_service_locator_t** locator, details error) {
    if (handle == nullptr) {
        return QOR_STATUS_OK;
    }
    fake_plugin& self = fake_plugin::of(handle);
    *locator = self.own.missing.contains("locator") ? nullptr : &self.locator;
    return self.perform("get_service_locator", "", error, [] {});
}

} // namespace

} // namespace tavi::fakes

using namespace tavi::fakes;

// The entry symbols that all kinds have, and the creation that all but the storage have.
#define TAVI_FAKE_ENTRIES(kind)                                                                                        \
    QOR_EXPORT void kind##_destroy(void* handle) {                                                                     \
        destroy_instance(handle);                                                                                      \
    }                                                                                                                  \
    QOR_EXPORT uint32_t kind##_get_service_locator(void* handle, qor_service_locator_t** locator, details error) {     \
        return give_locator(handle, locator, error);                                                                   \
    }
#define TAVI_FAKE_CREATE(kind, become)                                                                                 \
    QOR_EXPORT uint32_t kind##_create(void** handle, qor_service_locator_t* host, details error) {                     \
        return create_instance(become, "create", "", host, handle, error);                                             \
    }

extern "C" {

QOR_EXPORT uint32_t qor_signal_storage_open(const char* uri, uint8_t open_mode, uint32_t flags,
                                            qor_service_locator_t* host, void** handle, details error) {
    const std::string arguments =
        "'" + std::string(uri) + "' mode=" + std::to_string(open_mode) + " flags=" + std::to_string(flags);
    return create_instance(become_storage, "open", arguments, host, handle, error);
}
TAVI_FAKE_ENTRIES(qor_signal_storage)
TAVI_FAKE_CREATE(qor_data_matcher, become_matcher)
TAVI_FAKE_ENTRIES(qor_data_matcher)
TAVI_FAKE_CREATE(qor_data_description_parser, become_parser)
TAVI_FAKE_ENTRIES(qor_data_description_parser)
TAVI_FAKE_CREATE(qor_data_processor, become_processor)
TAVI_FAKE_ENTRIES(qor_data_processor)
}
