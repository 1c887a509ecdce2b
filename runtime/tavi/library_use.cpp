#include "runtime/tavi/library_use.hpp"

#include <new>
#include <stdexcept>

namespace qor::runtime::tavi {

void throw_translated(std::uint32_t status, qor_error_details_t* details) {
    if (status == QOR_STATUS_OUT_OF_MEMORY || details == nullptr) {
        qor_error_details_destroy(details);
        throw std::bad_alloc();
    }
    rethrow_details(details);
    throw std::runtime_error("unknown error"); // a failure, whatever status it claimed
}

} // namespace qor::runtime::tavi
