#include "runtime/tavi/context.hpp"

#include <stdexcept>

#include "runtime/details_owner.hpp"

namespace qor::runtime::tavi {

void end_context(qor_signal_storage_context_t* table) noexcept {
    if (table == nullptr || table->destroy == nullptr || table->context == nullptr) {
        return;
    }
    guarded_call(
        [&] {
            details_owner details;
            table->destroy(table->context, details.place());
            details.rethrow();
        },
        nullptr);
}

context::context(qor_signal_storage_context_t* table, bool owned) : table(table), owned_(owned) {
    if (table->add_4 == nullptr || table->add_1 == nullptr || table->destroy == nullptr || table->add_2 == nullptr ||
        table->context == nullptr) {
        throw std::runtime_error("invalid signal storage context");
    }
}

context::~context() {
    if (owned_) {
        end_context(table);
    }
}

} // namespace qor::runtime::tavi
