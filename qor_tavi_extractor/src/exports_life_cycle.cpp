#include "qor_tavi_extractor/src/boundary.hpp"

using namespace qor;
using namespace qor::tavi::detail;

uint32_t qor_tavi_extractor_create(const char* signal_storage_uri, uint32_t signal_storage_flags,
                                   qor_service_locator_t* service_locator, qor_tavi_extractor_t** handle,
                                   qor_error_details_t** error_details) {
    return guarded_call(
        [&] {
            check_argument(handle, "handle");
            *handle = nullptr;
            check_argument(signal_storage_uri, "signal_storage_uri");
            auto locator = std::make_shared<runtime::service_locator>(service_locator);
            auto object =
                std::make_shared<extractor>(std::string(signal_storage_uri), signal_storage_flags, std::move(locator));
            *handle = new qor_tavi_extractor_t{std::move(object)};
        },
        error_details);
}

uint32_t qor_tavi_extractor_destroy(qor_tavi_extractor_t* handle) {
    return guarded_call([&] { delete handle; }, nullptr);
}

uint32_t qor_tavi_extractor_get_service_locator(qor_tavi_extractor_t* handle, qor_service_locator_t** service_locator,
                                                qor_error_details_t** error_details) {
    return guarded_call(
        [&]() -> uint32_t {
            check_argument(handle, "handle");
            check_argument(service_locator, "service_locator");
            *service_locator = handle->object.get();
            if (*service_locator == nullptr) {
                return qor_error_details_create(error_details, QOR_STATUS_FAILURE,
                                                "Tavi object did not provide mandatory service locator interface");
            }
            return QOR_STATUS_OK;
        },
        error_details);
}
