#include "qor_tavi_extractor/src/boundary.hpp"

using namespace qor;
using namespace qor::tavi::detail;

uint32_t qor_tavi_extractor_subscribe(qor_tavi_extractor_t* handle, const char* url_expression, bool lenient,
                                      uint64_t* subscription_handle, qor_error_details_t** error_details) {
    return guarded_call(
        [&] {
            check_argument(handle, "handle");
            check_argument(url_expression, "url_expression");
            check_argument(subscription_handle, "subscription_handle");
            *subscription_handle = handle->object->subscribe(url_expression, lenient);
        },
        error_details);
}

uint32_t qor_tavi_extractor_unsubscribe(qor_tavi_extractor_t* handle, uint64_t subscription_handle,
                                        qor_error_details_t** error_details) {
    return guarded_call(
        [&] {
            check_argument(handle, "handle");
            handle->object->unsubscribe(subscription_handle);
        },
        error_details);
}

uint32_t qor_tavi_extractor_unsubscribe_all(qor_tavi_extractor_t* handle, qor_error_details_t** error_details) {
    return guarded_call(
        [&] {
            check_argument(handle, "handle");
            handle->object->unsubscribe_all();
        },
        error_details);
}

uint32_t qor_tavi_extractor_get_subscription_count(qor_tavi_extractor_t* handle, size_t* count,
                                                   qor_error_details_t** error_details) {
    return guarded_call(
        [&] {
            check_argument(handle, "handle");
            check_argument(count, "count");
            *count = handle->object->get_subscription_count();
        },
        error_details);
}

uint32_t qor_tavi_extractor_get_url(qor_tavi_extractor_t* handle, uint64_t subscription_handle, char* buffer,
                                    size_t* size, qor_error_details_t** error_details) {
    return guarded_call(
        [&] {
            check_argument(handle, "handle");
            check_argument(size, "size");
            return return_text(handle->object->get_url(subscription_handle), buffer, size);
        },
        error_details);
}

uint32_t qor_tavi_extractor_get_type_schema_by_subscription(qor_tavi_extractor_t* handle, uint64_t subscription_handle,
                                                            char* buffer, size_t* size,
                                                            qor_error_details_t** error_details) {
    return guarded_call(
        [&] {
            check_argument(handle, "handle");
            check_argument(size, "size");
            return return_text(handle->object->get_type_schema_by_subscription(subscription_handle), buffer, size);
        },
        error_details);
}

uint32_t qor_tavi_extractor_get_reader_filter_expression(qor_tavi_extractor_t* handle, char* buffer, size_t* size,
                                                         qor_error_details_t** error_details) {
    return guarded_call(
        [&] {
            check_argument(handle, "handle");
            check_argument(size, "size");
            return return_text(handle->object->get_reader_filter_expression(), buffer, size);
        },
        error_details);
}
