// The provider of local files. Its functions have C linkage, as the entry symbols of any other provider.
#ifndef QORCPP_FILESYSTEM_PROVIDER_HPP
#define QORCPP_FILESYSTEM_PROVIDER_HPP

#include "qorc/filesystem.h"
#include "qorcpp/export.hpp"

extern "C" {

// Creates the provider. `locator` is not used and may be null. Status 0 is success.
QORCPP_API uint32_t qor_filesystem_provider_create_default(void** handle, qor_service_locator_t* locator,
                                                           qor_error_details_t** error);

// Destroys the provider; null is ignored. Filesystems that it opened stay valid.
QORCPP_API void qor_filesystem_provider_destroy_default(void* handle);

// The provider's own locator, valid until the provider is destroyed.
QORCPP_API uint32_t qor_filesystem_provider_get_service_locator_default(void* handle, qor_service_locator_t** locator,
                                                                        qor_error_details_t** error);
}

#endif
