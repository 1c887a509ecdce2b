#include "runtime/filesystem.hpp"

#include <stdexcept>

#include "runtime/details_owner.hpp"

namespace qor::runtime::io {

filesystem::~filesystem() {
    if (!owned) {
        return;
    }
    try {
        if (table == nullptr || table->close == nullptr) {
            throw std::invalid_argument("invalid filesystem handle");
        }
        details_owner details;
        table->close(table->context, details.place());
        details.rethrow();
        table = nullptr;
    } catch (...) {
        // There is no caller to report to.
    }
}

} // namespace qor::runtime::io
