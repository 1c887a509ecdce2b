// The exported symbols of the plug-in.
#include <memory>
#include <stdexcept>
#include <string>

#include "plugins/signal_storage/signal_storage.hpp"
#include "qorc/metadata.h"

QOR_LIBRARY_METADATA("signal-storage")

namespace {

qor::storage::open_options make_options(std::uint8_t open_mode, std::uint32_t flags) {
    if (open_mode > QOR_SIGNAL_STORAGE_MODE_READ_ONLY) {
        throw std::invalid_argument("open mode " + std::to_string(open_mode) + " of the signal storage is unknown");
    }
    constexpr std::uint32_t all_flags = QOR_SIGNAL_STORAGE_READ_ONLY | QOR_SIGNAL_STORAGE_MUST_EXIST;
    if ((flags & ~all_flags) != 0) {
        throw std::invalid_argument("flags " + std::to_string(flags) + " of the signal storage hold an unknown bit");
    }
    qor::storage::open_options options;
    options.read_only = open_mode == QOR_SIGNAL_STORAGE_MODE_READ_ONLY || (flags & QOR_SIGNAL_STORAGE_READ_ONLY) != 0;
    options.must_exist = (flags & QOR_SIGNAL_STORAGE_MUST_EXIST) != 0;
    return options;
}

} // namespace

extern "C" QOR_EXPORT uint32_t qor_signal_storage_open(const char* uri, uint8_t open_mode,
                                                       uint32_t signal_storage_flags, qor_service_locator_t*,
                                                       void** handle, qor_error_details_t** error) {
    return qor::guarded_call(
        [&] {
            qor::check_argument(handle, "handle");
            *handle = nullptr;
            qor::check_argument(uri, "uri");
            auto opened = std::make_shared<qor::storage::storage>(uri, make_options(open_mode, signal_storage_flags));
            *handle = new qor::storage::signal_storage(std::move(opened));
        },
        error);
}

extern "C" QOR_EXPORT void qor_signal_storage_destroy(void* handle) {
    delete static_cast<qor::storage::signal_storage*>(handle);
}

extern "C" QOR_EXPORT uint32_t qor_signal_storage_get_service_locator(void* handle, qor_service_locator_t** locator,
                                                                      qor_error_details_t** error) {
    return qor::guarded_call(
        [&] {
            qor::check_argument(handle, "handle");
            qor::check_argument(locator, "locator");
            *locator = static_cast<qor::storage::signal_storage*>(handle)->services().locator();
        },
        error);
}
