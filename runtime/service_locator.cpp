#include "runtime/service_locator.hpp"

#include "runtime/details_owner.hpp"

namespace qor::runtime {

service_locator::~service_locator() = default;

bool service_locator::can_resolve(const std::string& service_type) const {
    if (table == nullptr || table->can_resolve == nullptr) {
        return false;
    }
    bool result = false;
    details_owner details;
    table->can_resolve(table->context, service_type.c_str(), &result, details.place());
    details.rethrow();
    return result;
}

void service_locator::resolve(const std::string& service_type, void* target) const {
    if (table == nullptr || table->resolve == nullptr) {
        return;
    }
    details_owner details;
    table->resolve(table->context, service_type.c_str(), target, details.place());
    details.rethrow();
}

} // namespace qor::runtime
