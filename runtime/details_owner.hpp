// A details record on its way out of a foreign call: owned from the moment the callee stores it.
#ifndef RUNTIME_DETAILS_OWNER_HPP
#define RUNTIME_DETAILS_OWNER_HPP

#include "qorcpp/call_frame.hpp"

namespace qor::runtime {

class details_owner {
public:
    details_owner() = default;
    details_owner(const details_owner&) = delete;
    details_owner& operator=(const details_owner&) = delete;
    ~details_owner() { qor_error_details_destroy(details_); }

    // Where the callee stores its record; what was there before is freed.
    qor_error_details_t** place() noexcept {
        reset();
        return &details_;
    }
    void reset() noexcept {
        qor_error_details_destroy(details_);
        details_ = nullptr;
    }
    // Throws what the record reports, see qor::rethrow_details.
    void rethrow() { rethrow_details(details_); }
    // The same after a call of the C runtime, see qor::check_call.
    void check(std::uint32_t status) { check_call(status, details_); }
    const qor_error_details_t* get() const noexcept { return details_; }

private:
    qor_error_details_t* details_ = nullptr;
};

} // namespace qor::runtime

#endif
