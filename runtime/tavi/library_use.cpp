#include "runtime/tavi/library_use.hpp"

#include <new>

#include "runtime/tavi/plugin_proxy.hpp"

namespace qor::runtime::tavi {

void throw_translated(std::uint32_t status, const details_owner& details) {
    if (qor_error_details_get_code(details.get()) != status) {
        throw std::bad_alloc(); // the record of the process: there was no memory for the failure's own text
    }
    throw status_error(status, description_or_default(details.get()));
}

} // namespace qor::runtime::tavi
