#include "runtime/enable_service_locator.hpp"

#include <stdexcept>

#include "qorcpp/call_frame.hpp"

namespace qor::extensibility {

namespace {

constexpr std::size_t initial_bucket_count = 8;

} // namespace

enable_service_locator::enable_service_locator() : services(initial_bucket_count) {
    context = this;
    resolve = [](void* handle, const char* service_type, void* target, qor_error_details_t** error) {
        return guarded_call(
            [&] {
                check_argument(handle, "handle");
                check_argument(service_type, "service_type");
                check_argument(target, "target");
                const auto& known = static_cast<enable_service_locator*>(handle)->services;
                const auto found = known.find(service_type);
                if (found == known.end()) {
                    throw std::runtime_error("requested service '" + std::string(service_type) + "' not found");
                }
                found->second(target);
            },
            error);
    };
    can_resolve = [](void* handle, const char* service_type, bool* result, qor_error_details_t** error) {
        return guarded_call(
            [&] {
                check_argument(handle, "handle");
                check_argument(service_type, "service_type");
                check_argument(result, "can_resolve");
                *result = static_cast<enable_service_locator*>(handle)->services.contains(service_type);
            },
            error);
    };
}

enable_service_locator::~enable_service_locator() = default;

} // namespace qor::extensibility
