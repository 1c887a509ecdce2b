// A service locator that knows one table.
#ifndef QORC_SINGLE_SERVICE_HPP
#define QORC_SINGLE_SERVICE_HPP

#include "qorc/service_locator.h"

namespace qorc {

// Owner: whoever hands out `locator`, which stays valid as long as this record. Not to be moved.
struct single_service {
    single_service(const char* service_name, void* service_table) noexcept;
    single_service(const single_service&) = delete;
    single_service& operator=(const single_service&) = delete;

    const char* const name;
    void* const table;
    qor_service_locator_t locator;
};

} // namespace qorc

#endif
