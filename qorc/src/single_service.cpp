#include "single_service.hpp"

#include <cstring>

#include "boundary.hpp"

namespace qorc {

namespace {

uint32_t resolve(void* context, const char* service_type, void* target, qor_error_details_t** error) {
    return at_boundary(error, [&] {
        check_argument(context, "handle");
        check_argument(service_type, "service_type");
        check_argument(target, "target");
        const auto& service = *static_cast<const single_service*>(context);
        if (std::strcmp(service_type, service.name) != 0) {
            throw std::runtime_error(std::string("requested service '") + service_type + "' not found");
        }
        *static_cast<void**>(target) = service.table;
    });
}

uint32_t can_resolve(void* context, const char* service_type, bool* result, qor_error_details_t** error) {
    return at_boundary(error, [&] {
        check_argument(context, "handle");
        check_argument(service_type, "service_type");
        check_argument(result, "can_resolve");
        *result = std::strcmp(service_type, static_cast<const single_service*>(context)->name) == 0;
    });
}

} // namespace

single_service::single_service(const char* service_name, void* service_table) noexcept
    : name(service_name), table(service_table), locator{resolve, can_resolve, this} {}

} // namespace qorc
