// The side of a service locator that answers: base of objects whose services others ask for.
#ifndef RUNTIME_ENABLE_SERVICE_LOCATOR_HPP
#define RUNTIME_ENABLE_SERVICE_LOCATOR_HPP

#include <functional>
#include <string>
#include <unordered_map>

#include "qorc/service_locator.h"

namespace qor::extensibility {

// The address of the base record is what others get. Thread: any may ask, since services enter in construction only.
class enable_service_locator : public qor_service_locator_t {
public:
    enable_service_locator();
    enable_service_locator(const enable_service_locator&) = delete;
    enable_service_locator& operator=(const enable_service_locator&) = delete;
    virtual ~enable_service_locator();

protected:
    // By service name; each stores its table through the target that it is given.
    std::unordered_map<std::string, std::function<void(void* target)>> services;
};

} // namespace qor::extensibility

#endif
