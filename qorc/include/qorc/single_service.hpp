// A service locator that knows one table. C++ only.
#ifndef QORC_SINGLE_SERVICE_HPP
#define QORC_SINGLE_SERVICE_HPP

#include <cstring>

#include "qorc/exception_status.hpp"
#include "qorc/service_locator.h"

namespace qor {

// Owner: the module that publishes `locator`, which is valid as long as this record. The record has a fixed address.
class single_service {
public:
    // Owner: the caller keeps `name` and `table` as long as the record.
    single_service(const char* name, void* table) noexcept
        : locator{resolve, can_resolve, this}, name_(name), table_(table) {}
    single_service(const single_service&) = delete;
    single_service& operator=(const single_service&) = delete;

    qor_service_locator_t locator;

private:
    static std::uint32_t resolve(void* context, const char* service_type, void* target, qor_error_details_t** error) {
        try {
            check_argument(context, "handle");
            check_argument(service_type, "service_type");
            check_argument(target, "target");
            const auto& service = *static_cast<const single_service*>(context);
            if (std::strcmp(service_type, service.name_) != 0) {
                throw std::runtime_error(std::string("requested service '") + service_type + "' not found");
            }
            *static_cast<void**>(target) = service.table_;
            return QOR_STATUS_OK;
        } catch (...) {
            return translate_standard_exception(error);
        }
    }

    static std::uint32_t can_resolve(void* context, const char* service_type, bool* result,
                                     qor_error_details_t** error) {
        try {
            check_argument(context, "handle");
            check_argument(service_type, "service_type");
            check_argument(result, "can_resolve");
            *result = std::strcmp(service_type, static_cast<const single_service*>(context)->name_) == 0;
            return QOR_STATUS_OK;
        } catch (...) {
            return translate_standard_exception(error);
        }
    }

    const char* name_;
    void* table_;
};

} // namespace qor

#endif
