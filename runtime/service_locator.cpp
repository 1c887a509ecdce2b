#include "runtime/service_locator.hpp"

#include "qorcpp/call_frame.hpp"

namespace qor::runtime {

service_locator::~service_locator() = default;

bool service_locator::can_resolve(const std::string& service_type) const {
    if (table == nullptr || table->can_resolve == nullptr) {
        return false;
    }
    bool result = false;
    qor_error_details_t* details = nullptr;
    table->can_resolve(table->context, service_type.c_str(), &result, &details);
    rethrow_details(details);
    return result;
}

void service_locator::resolve(const std::string& service_type, void* target) const {
    if (table == nullptr || table->resolve == nullptr) {
        return;
    }
    qor_error_details_t* details = nullptr;
    table->resolve(table->context, service_type.c_str(), target, &details);
    rethrow_details(details);
}

} // namespace qor::runtime
