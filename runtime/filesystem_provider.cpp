#include "runtime/filesystem_provider.hpp"

#include <stdexcept>

#include "runtime/details_owner.hpp"

namespace qor::runtime::io {

namespace {

// A status counts here, the kind of failure does not.
void check_status(std::uint32_t status, const details_owner& details) {
    if (status != QOR_STATUS_OK) {
        const char* const description = qor_error_details_get_description(details.get());
        throw std::runtime_error(description != nullptr ? description : "unknwon error");
    }
}

std::shared_ptr<memory_allocator> checked(std::shared_ptr<memory_allocator> allocator) {
    check_argument(allocator, "allocator_ptr");
    return allocator;
}

} // namespace

filesystem_provider::filesystem_provider(std::shared_ptr<service_locator> host_locator,
                                         std::shared_ptr<memory_allocator> allocator,
                                         const filesystem_provider_functions& functions)
    : handle_(nullptr, functions.destroy), host_locator_(std::move(host_locator)),
      allocator_(checked(std::move(allocator))) {
    handle_ = make_instance(functions, *host_locator_);
    service_locator_ = ask_for_locator(functions);
    if (!has_service<qor_filesystem_provider_support_t>(*service_locator_)) {
        throw std::runtime_error("missing mandatory qor_filesystem_provider_support_t interface");
    }
    support_ = *get_service<qor_filesystem_provider_support_t>(*service_locator_);
}

filesystem_provider::instance_owner filesystem_provider::make_instance(const filesystem_provider_functions& functions,
                                                                       const service_locator& host) {
    void* handle = nullptr;
    details_owner details;
    const std::uint32_t status = functions.create(&handle, host.table, details.place());
    instance_owner owner(handle, functions.destroy);
    check_status(status, details);
    return owner;
}

std::shared_ptr<service_locator>
filesystem_provider::ask_for_locator(const filesystem_provider_functions& functions) const {
    qor_service_locator_t* table = nullptr;
    details_owner details;
    const std::uint32_t status = functions.get_service_locator(handle_.get(), &table, details.place());
    check_status(status, details);
    if (table == nullptr || table->resolve == nullptr || table->context == nullptr) {
        throw std::runtime_error(
            "invalid service locator interface returned from 'qor_reader_get_service_locator' function");
    }
    return std::make_shared<service_locator>(table);
}

filesystem_provider filesystem_provider::make_default() {
    return filesystem_provider(std::make_shared<service_locator>(qor_get_default_service_locator()),
                               make_default_allocator());
}

std::shared_ptr<filesystem> filesystem_provider::open(const std::string& root) const {
    if (support_.open_filesystem == nullptr) {
        throw std::runtime_error(
            "invalid qor_filesystem_provider_support_t interface, missing 'open_filesystem' function");
    }
    // The owner is made first, so that no failure leaves a filesystem open.
    auto opened = std::make_shared<filesystem>(nullptr, true);
    details_owner details;
    support_.open_filesystem(handle_.get(), root.c_str(), &opened->table, details.place());
    details.rethrow();
    return opened;
}

std::shared_ptr<filesystem> open_default_filesystem() {
    return filesystem_provider::make_default().open("");
}

} // namespace qor::runtime::io
