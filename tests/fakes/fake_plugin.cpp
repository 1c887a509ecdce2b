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

script& find_script(control& shared) {
    return shared.scripts[fake_plugin::name()];
}

} // namespace

const std::string& fake_plugin::name() {
    static const std::string stem = std::filesystem::path(qor::platform::get_current_module_path()).stem().string();
    static const std::string without_prefix = stem.substr(stem.find("lib") == 0 ? 3 : 0);
    return without_prefix;
}

control& fake_plugin::find_control(qor_service_locator_t* host_locator) {
    void* found = nullptr;
    if (host_locator != nullptr && host_locator->resolve != nullptr) {
        qor_error_details_t* details = nullptr;
        host_locator->resolve(host_locator->context, control_service, &found, &details);
        qor_error_details_destroy(details);
    }
    static control alone;
    return found != nullptr ? *static_cast<control*>(found) : alone;
}

fake_plugin::fake_plugin(qor_service_locator_t* host_locator)
    : shared(find_control(host_locator)), own(find_script(shared)), locator_{resolve, can_resolve, this} {
    ++shared.instances;
}

fake_plugin::~fake_plugin() {
    --shared.instances;
}

const answer* fake_plugin::find_answer(const std::string& function, const std::string& subject) const {
    for (const std::string& key : {function + "/" + subject, function}) {
        if (const auto found = own.answers.find(key); found != own.answers.end()) {
            return &found->second;
        }
    }
    return nullptr;
}

std::uint32_t fake_plugin::give(const answer& scripted, qor_error_details_t** error) {
    if (scripted.throws) {
        throw failure_of_its_own();
    }
    if (scripted.code) {
        qor_error_details_create(error, *scripted.code, scripted.text ? scripted.text->c_str() : nullptr);
    }
    return scripted.status;
}

qor_service_locator_t* fake_plugin::locator() {
    switch (own.locator) {
    case locator_form::null:
        return nullptr;
    case locator_form::without_resolve:
        locator_.resolve = nullptr;
        break;
    case locator_form::without_context:
        locator_.context = nullptr;
        break;
    case locator_form::without_can_resolve:
        locator_.can_resolve = nullptr;
        break;
    case locator_form::whole:
        break;
    }
    return &locator_;
}

std::uint32_t fake_plugin::resolve(void* context, const char* service, void* target, qor_error_details_t** error) {
    auto& self = *static_cast<fake_plugin*>(context);
    if (const answer* const scripted = self.find_answer("resolve", service)) {
        return give(*scripted, error);
    }
    const auto found = self.tables_.find(service);
    if (found == self.tables_.end()) {
        const std::string text = std::string("the fake has no ") + service;
        return qor_error_details_create(error, QOR_STATUS_FAILURE, text.c_str());
    }
    *static_cast<void**>(target) = found->second.get();
    return QOR_STATUS_OK;
}

std::uint32_t fake_plugin::can_resolve(void* context, const char* service, bool* result, qor_error_details_t** error) {
    auto& self = *static_cast<fake_plugin*>(context);
    *result = self.tables_.contains(service);
    const answer* const scripted = self.find_answer("can_resolve", service);
    return scripted != nullptr ? give(*scripted, error) : QOR_STATUS_OK;
}

std::string names_of(const qor_type_node_sequence_t* nodes) {
    std::string text;
    for (std::uint64_t i = 0; i < nodes->count; ++i) {
        text += (i == 0 ? "" : "/") + std::string(nodes->nodes[i].name);
    }
    return text;
}

namespace {

using maker = std::unique_ptr<fake_plugin> (*)(qor_service_locator_t*);

// The answer of `create` decides before there is an instance; an informational one creates all the same.
std::uint32_t create_instance(maker make, const char* function, const std::string& arguments,
                              qor_service_locator_t* host_locator, void** handle, qor_error_details_t** error) {
    control& shared = fake_plugin::find_control(host_locator);
    shared.record(fake_plugin::name(), function, arguments);
    const script& own = find_script(shared);
    if (const auto found = own.answers.find(function); found != own.answers.end()) {
        const std::uint32_t status = fake_plugin::give(found->second, error);
        if (status != QOR_STATUS_OK) {
            return status;
        }
    }
    *handle = make(host_locator).release();
    return QOR_STATUS_OK;
}

void destroy_instance(void* handle) {
    auto* const self = static_cast<fake_plugin*>(handle);
    self->shared.record(fake_plugin::name(), "destroy", "");
    delete self;
}

std::uint32_t give_locator(void* handle, qor_service_locator_t** locator, qor_error_details_t** error) {
    if (handle == nullptr) {
        return QOR_STATUS_OK;
    }
    auto& self = *static_cast<fake_plugin*>(handle);
    *locator = self.locator();
    const answer* const scripted = self.find_answer("get_service_locator", "");
    return scripted != nullptr ? fake_plugin::give(*scripted, error) : QOR_STATUS_OK;
}

std::string host_argument(const qor_service_locator_t* host_locator) {
    return host_locator != nullptr ? "host" : "no host";
}

} // namespace

} // namespace tavi::fakes

using namespace tavi::fakes;

extern "C" {

QOR_EXPORT uint32_t qor_signal_storage_open(const char* uri, uint8_t open_mode, uint32_t flags,
                                            qor_service_locator_t* host, void** handle, qor_error_details_t** error) {
    const std::string arguments = "'" + std::string(uri) + "' mode=" + std::to_string(open_mode) +
                                  " flags=" + std::to_string(flags) + " " + host_argument(host);
    return create_instance(make_storage, "open", arguments, host, handle, error);
}
QOR_EXPORT void qor_signal_storage_destroy(void* handle) {
    destroy_instance(handle);
}
QOR_EXPORT uint32_t qor_signal_storage_get_service_locator(void* handle, qor_service_locator_t** locator,
                                                           qor_error_details_t** error) {
    return give_locator(handle, locator, error);
}

QOR_EXPORT uint32_t qor_data_matcher_create(void** handle, qor_service_locator_t* host, qor_error_details_t** error) {
    return create_instance(make_matcher, "create", host_argument(host), host, handle, error);
}
QOR_EXPORT void qor_data_matcher_destroy(void* handle) {
    destroy_instance(handle);
}
QOR_EXPORT uint32_t qor_data_matcher_get_service_locator(void* handle, qor_service_locator_t** locator,
                                                         qor_error_details_t** error) {
    return give_locator(handle, locator, error);
}

QOR_EXPORT uint32_t qor_data_description_parser_create(void** handle, qor_service_locator_t* host,
                                                       qor_error_details_t** error) {
    return create_instance(make_parser, "create", host_argument(host), host, handle, error);
}
QOR_EXPORT void qor_data_description_parser_destroy(void* handle) {
    destroy_instance(handle);
}
QOR_EXPORT uint32_t qor_data_description_parser_get_service_locator(void* handle, qor_service_locator_t** locator,
                                                                    qor_error_details_t** error) {
    return give_locator(handle, locator, error);
}

QOR_EXPORT uint32_t qor_data_processor_create(void** handle, qor_service_locator_t* host, qor_error_details_t** error) {
    return create_instance(make_processor, "create", host_argument(host), host, handle, error);
}
QOR_EXPORT void qor_data_processor_destroy(void* handle) {
    destroy_instance(handle);
}
QOR_EXPORT uint32_t qor_data_processor_get_service_locator(void* handle, qor_service_locator_t** locator,
                                                           qor_error_details_t** error) {
    return give_locator(handle, locator, error);
}
}
