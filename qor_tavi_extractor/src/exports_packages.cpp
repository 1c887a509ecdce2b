#include "qor_tavi_extractor/src/boundary.hpp"

using namespace qor;
using namespace qor::tavi::detail;

uint32_t qor_tavi_extractor_match(qor_tavi_extractor_t* handle, const qor_package_t* package, bool strict,
                                  uint64_t** subscription_handles, size_t* subscription_handle_count,
                                  qor_memory_allocator_t* allocator, qor_error_details_t** error_details) {
    return guarded_call(
        [&] {
            check_argument(handle, "handle");
            check_argument(package, "package");
            check_argument(subscription_handles, "subscription_handles");
            check_argument(subscription_handle_count, "subscription_handle_count");
            check_argument(allocator, "allocator");
            handle->object->match(*package, strict, [&](const std::vector<uint64_t>& matched) {
                *subscription_handle_count = matched.size();
                *subscription_handles = static_cast<uint64_t*>(allocate_elements(allocator, matched.size()));
                if (!matched.empty()) {
                    std::memcpy(*subscription_handles, matched.data(), matched.size() * sizeof(uint64_t));
                }
            });
        },
        error_details);
}

uint32_t qor_tavi_extractor_process(qor_tavi_extractor_t* handle, const qor_package_t* package, bool strict,
                                    qor_dynamic_data_t*** dynamic_data, size_t* dynamic_data_count,
                                    qor_memory_allocator_t* allocator, qor_error_details_t** error_details) {
    return guarded_call(
        [&] {
            check_argument(handle, "handle");
            check_argument(package, "package");
            check_argument(dynamic_data, "dynamic_data");
            check_argument(dynamic_data_count, "dynamic_data_count");
            check_argument(allocator, "allocator");
            handle->object->process(*package, allocator, strict, [&](auto& records) {
                *dynamic_data_count = records.size();
                *dynamic_data = static_cast<qor_dynamic_data_t**>(allocate_elements(allocator, records.size()));
                for (size_t index = 0; index < records.size(); ++index) {
                    (*dynamic_data)[index] = records[index].release();
                }
            });
        },
        error_details);
}

uint32_t qor_tavi_extractor_has_data_processor(qor_tavi_extractor_t* handle, const qor_package_t* package, bool* result,
                                               qor_error_details_t** error_details) {
    return guarded_call(
        [&] {
            check_argument(handle, "handle");
            check_argument(package, "package");
            check_argument(result, "result");
            *result = handle->object->has_data_processor(*package);
        },
        error_details);
}
