#include "qorcpp/filesystem_provider.hpp"

#include "local_filesystem.hpp"
#include "qorc/single_service.hpp"
#include "qorcpp/call_frame.hpp"

static_assert(sizeof(qor_filesystem_t) == 19 * sizeof(void*) &&
                  offsetof(qor_filesystem_t, close) == 17 * sizeof(void*) &&
                  offsetof(qor_filesystem_t, context) == 18 * sizeof(void*),
              "close and context are the eighteenth and nineteenth field");

namespace {

uint32_t get_name(void* handle, const char** name, qor_error_details_t** error) {
    return qor::guarded_call(
        [&] {
            qor::check_argument(handle, "handle");
            qor::check_argument(name, "name");
            *name = "local";
        },
        error);
}

uint32_t open_filesystem(void* handle, const char* root, qor_filesystem_t** filesystem, qor_error_details_t** error) {
    return qor::guarded_call(
        [&] {
            qor::check_argument(handle, "handle");
            qor::check_argument(root, "root");
            qor::check_argument(filesystem, "filesystem");
            *filesystem = nullptr;
            *filesystem = qor::open_local_filesystem(root);
        },
        error);
}

struct local_provider {
    qor_filesystem_provider_support_t support = {get_name, open_filesystem};
    qor::single_service service{"qor_filesystem_provider_support_t", &support};
};

} // namespace

uint32_t qor_filesystem_provider_create_default(void** handle, qor_service_locator_t*, qor_error_details_t** error) {
    return qor::guarded_call(
        [&] {
            qor::check_argument(handle, "handle");
            *handle = nullptr;
            *handle = new local_provider;
        },
        error);
}

void qor_filesystem_provider_destroy_default(void* handle) {
    delete static_cast<local_provider*>(handle);
}

uint32_t qor_filesystem_provider_get_service_locator_default(void* handle, qor_service_locator_t** locator,
                                                             qor_error_details_t** error) {
    return qor::guarded_call(
        [&] {
            qor::check_argument(handle, "handle");
            qor::check_argument(locator, "locator");
            *locator = &static_cast<local_provider*>(handle)->service.locator;
        },
        error);
}
