// The provider from which the filesystems of parsers come.
#ifndef RUNTIME_FILESYSTEM_PROVIDER_HPP
#define RUNTIME_FILESYSTEM_PROVIDER_HPP

#include <memory>
#include <optional>
#include <string>

#include "qorcpp/filesystem_provider.hpp"
#include "qorcpp/platform/shared_library.hpp"
#include "runtime/filesystem.hpp"
#include "runtime/memory_allocator.hpp"
#include "runtime/service_locator.hpp"

namespace qor::runtime::io {

// The functions by which a provider is made, asked for its locator and ended.
struct filesystem_provider_functions {
    std::uint32_t (*create)(void** handle, qor_service_locator_t* locator,
                            qor_error_details_t** error) = qor_filesystem_provider_create_default;
    void (*destroy)(void* handle) = qor_filesystem_provider_destroy_default;
    std::uint32_t (*get_service_locator)(void* handle, qor_service_locator_t** locator, qor_error_details_t** error) =
        qor_filesystem_provider_get_service_locator_default;
};

// Owner of one provider instance. The filesystems that it opens outlive it.
class filesystem_provider {
public:
    // Throws: std::invalid_argument "argument 'allocator_ptr' was not initialized"; std::runtime_error with what the
    // provider reports, "invalid service locator interface returned from 'qor_reader_get_service_locator' function" or
    // "missing mandatory qor_filesystem_provider_support_t interface".
    filesystem_provider(std::shared_ptr<service_locator> host_locator, std::shared_ptr<memory_allocator> allocator,
                        const filesystem_provider_functions& functions = {});

    // The provider of the C runtime, under default locator and allocator.
    static filesystem_provider make_default();

    // Throws what the provider reports; std::runtime_error for a missing 'open_filesystem' function.
    std::shared_ptr<filesystem> open(const std::string& root) const;

private:
    using instance_owner = std::unique_ptr<void, void (*)(void*)>;

    static instance_owner make_instance(const filesystem_provider_functions& functions, const service_locator& host);
    std::shared_ptr<service_locator> ask_for_locator(const filesystem_provider_functions& functions) const;

    // Empty for a provider that no library of its own brings.
    std::optional<platform::shared_library> library_;
    instance_owner handle_;
    qor_filesystem_provider_support_t support_ = {};
    std::shared_ptr<service_locator> service_locator_;
    std::shared_ptr<service_locator> host_locator_;
    std::shared_ptr<memory_allocator> allocator_;
};

// The filesystem without a root, from a provider that is gone when this returns.
std::shared_ptr<filesystem> open_default_filesystem();

} // namespace qor::runtime::io

#endif
