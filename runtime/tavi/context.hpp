// A description context: the open write through which one data description enters the signal storage.
#ifndef RUNTIME_TAVI_CONTEXT_HPP
#define RUNTIME_TAVI_CONTEXT_HPP

#include <memory>

#include "qorc/extensibility/signal_storage.h"

namespace qor::runtime::tavi {

// Ends the context and frees its record, also after a commit; a failure of that goes unreported. A record that is null
// or has no function for it is left alone.
void end_context(qor_signal_storage_context_t* table) noexcept;

// Always made with make_shared.
class context : public std::enable_shared_from_this<context> {
public:
    // `owned` makes the destructor end the context.
    // Throws: std::runtime_error "invalid signal storage context" when a slot that parsers need is missing.
    context(qor_signal_storage_context_t* table, bool owned);
    context(const context&) = delete;
    context& operator=(const context&) = delete;
    ~context();

    qor_signal_storage_context_t* const table;

private:
    bool owned_;
};

} // namespace qor::runtime::tavi

#endif
