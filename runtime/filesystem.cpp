#include "runtime/filesystem.hpp"

#include <stdexcept>

#include "qorcpp/call_frame.hpp"

namespace qor::runtime::io {

filesystem::~filesystem() {
    if (!owned) {
        return;
    }
    try {
        if (table == nullptr || table->close == nullptr) {
            throw std::invalid_argument("invalid filesystem handle");
        }
        qor_error_details_t* details = nullptr;
        table->close(table->context, &details);
        rethrow_details(details);
        table = nullptr;
    } catch (...) {
        // Nobody is left to be told.
    }
}

} // namespace qor::runtime::io
