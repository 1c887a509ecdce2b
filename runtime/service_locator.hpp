// A foreign service locator: asks it for tables and turns what it reports into exceptions.
#ifndef RUNTIME_SERVICE_LOCATOR_HPP
#define RUNTIME_SERVICE_LOCATOR_HPP

#include <memory>
#include <string>

#include "qorc/service_locator.h"
#include "qorcpp/service_name.hpp"

namespace qor::runtime {

// Always made with make_shared. The table belongs to whoever returned it and must outlive the object; it may be null.
class service_locator : public std::enable_shared_from_this<service_locator> {
public:
    explicit service_locator(qor_service_locator_t* table) noexcept : table(table) {}
    virtual ~service_locator();

    // False without a table or without its can_resolve. Throws what the locator reports.
    virtual bool can_resolve(const std::string& service_type) const;

    // Leaves `target` alone without a table or without its resolve. Throws what the locator reports.
    virtual void resolve(const std::string& service_type, void* target) const;

    qor_service_locator_t* const table;
};

template<typename T>
bool has_service(const service_locator& locator) {
    return locator.can_resolve(demangled_string<T>());
}

// Null when a locator reports success and stores nothing.
template<typename T>
T* get_service(const service_locator& locator) {
    T* result = nullptr;
    locator.resolve(demangled_string<T>(), &result);
    return result;
}

} // namespace qor::runtime

#endif
