#include "runtime/tavi/plugin_proxy.hpp"

#include <utility>

#include "qorcpp/call_frame.hpp"
#include "runtime/details_owner.hpp"

namespace qor::runtime::tavi {

void* access_symbol(const platform::shared_library& library, const std::string& name) {
    void* const symbol = library.get_symbol(name);
    if (symbol == nullptr) {
        throw std::runtime_error("failed to access function '" + name + "', " + platform::get_last_error());
    }
    return symbol;
}

void check_locator_table(const qor_service_locator_t* table, const char* text) {
    if (table == nullptr || table->resolve == nullptr || table->context == nullptr) {
        throw std::runtime_error(text);
    }
}

namespace {

// Calls a function of a locator. False when it reports a failure.
template<typename Call>
bool answers(Call&& call) {
    details_owner details;
    std::uint32_t status = QOR_STATUS_OK;
    try {
        status = call(details.place());
    } catch (...) {
        status = translate_current_exception(details.place());
    }
    const std::uint32_t code = qor_error_details_get_code(details.get());
    if (status == QOR_STATUS_OUT_OF_MEMORY || code == QOR_STATUS_OUT_OF_MEMORY) {
        throw std::bad_alloc();
    }
    return details.get() == nullptr || code == QOR_STATUS_INFORMATION;
}

} // namespace

void* find_optional_table(const qor::runtime::service_locator& locator, const std::string& service_type) {
    const qor_service_locator_t* const table = locator.table;
    if (table == nullptr || table->can_resolve == nullptr || table->resolve == nullptr) {
        return nullptr;
    }
    bool known = false;
    void* found = nullptr;
    const bool answered = answers([&](qor_error_details_t** error) {
        return table->can_resolve(table->context, service_type.c_str(), &known, error);
    });
    if (!answered || !known) {
        return nullptr;
    }
    const bool resolved = answers([&](qor_error_details_t** error) {
        return table->resolve(table->context, service_type.c_str(), &found, error);
    });
    return resolved ? found : nullptr;
}

std::string description_or_default(const qor_error_details_t* details) {
    const char* const description = qor_error_details_get_description(details);
    return description != nullptr ? description : "unknwon error";
}

namespace {

// The steps of a kind, with its texts.
plugin_steps steps_of(const plugin_kind& kind, qor_service_locator_t* host_locator) {
    const auto find_entry = [&kind](const platform::shared_library& library, const std::string& name) {
        void* const entry = access_symbol(library, name);
        if (entry == nullptr) {
            throw std::runtime_error(kind.missing_destroy);
        }
        return entry;
    };
    const auto create = [host_locator](void* entry, void** instance) {
        details_owner details;
        if (reinterpret_cast<qor_plugin_create_t>(entry)(instance, host_locator, details.place()) != QOR_STATUS_OK) {
            throw std::runtime_error(description_or_default(details.get()));
        }
    };
    const auto get_service_locator = [&kind](void* entry, void* instance) {
        details_owner details;
        qor_service_locator_t* table = nullptr;
        reinterpret_cast<qor_plugin_get_service_locator_t>(entry)(instance, &table, details.place());
        if (kind.reports_locator_details) {
            details.rethrow();
        }
        check_locator_table(table, kind.bad_locator);
        return table;
    };
    return {find_entry, create, get_service_locator};
}

} // namespace

plugin_proxy::plugin_proxy(const plugin_kind& kind, platform::shared_library&& library,
                           std::shared_ptr<qor::runtime::service_locator>&& host_locator,
                           std::shared_ptr<void> companion)
    : host_locator(std::move(host_locator)), companion(std::move(companion)),
      plugin(std::move(library), {kind.create, kind.destroy, kind.get_service_locator},
             steps_of(kind, this->host_locator ? this->host_locator->table : nullptr)),
      handle(plugin.instance()), service_locator(std::make_shared<qor::runtime::service_locator>(plugin.locator())) {}

plugin_proxy::~plugin_proxy() {
    plugin.end_instance();
    companion.reset();
    host_locator.reset();
    service_locator.reset();
}

} // namespace qor::runtime::tavi
