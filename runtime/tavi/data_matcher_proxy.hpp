// One data matcher plug-in: decides which packages of its formats serve a subscription, and where its bytes lie.
#ifndef RUNTIME_TAVI_DATA_MATCHER_PROXY_HPP
#define RUNTIME_TAVI_DATA_MATCHER_PROXY_HPP

#include <span>
#include <vector>

#include "qorc/extensibility/data_matcher.h"
#include "runtime/details_owner.hpp"
#include "runtime/tavi/plugin_proxy.hpp"

namespace qor::runtime::tavi {

// Thread: no lock of its own; one call at a time.
class data_matcher_proxy : public plugin_proxy {
public:
    // Throws: std::runtime_error with the texts of a plug-in that cannot be used.
    data_matcher_proxy(platform::shared_library&& library,
                       std::shared_ptr<qor::runtime::service_locator>&& host_locator);

    // Format type specifiers; the texts belong to the plug-in.
    std::vector<const char*> get_supported_formats() const;

    // Each throws what the plug-in reports, and std::runtime_error for a missing slot.
    void register_type(uint64_t subscription_handle, const char* schema, const qor_type_node_sequence_t& hierarchy,
                       uint64_t position, uint64_t extent) const;
    // Names the source of a subscription to a plug-in that wants to know.
    void set_source(uint64_t subscription_handle, uint16_t source_id, uint32_t instance) const;
    void unregister_type(uint64_t subscription_handle) const;

    // Asks for one subscription. True when the package serves it; the outcome is then filled.
    bool match(uint64_t subscription_handle, const qor_package_t& package, bool lenient,
               qor_match_outcome_t& outcome) const;

    // Calls `visit` with the outcome of each subscription of a source that the package serves, in the order of
    // `handles`, which is ascending: by one call of a plug-in that has a batch table, else by one call for each
    // subscription. Either way the first failure wins, be it of `visit` or of the plug-in: `visit` gets the outcomes
    // before the failing subscription. `outcomes` is a buffer that the caller keeps between packages. A batch does not
    // use `handles` after the first visit. Throws: what the plug-in and `visit` throw; std::runtime_error for outcomes
    // that are not of `handles`.
    template<typename Visitor>
    void for_each_match(std::span<const uint64_t> handles, const qor_package_t& package, bool lenient,
                        std::vector<qor_match_outcome_t>& outcomes, Visitor&& visit) const {
        if (batch_support.match_batch != nullptr) {
            details_owner details;
            const batch_answer answer = match_batch(handles, package, lenient, outcomes, details);
            for (const qor_match_outcome_t& outcome : answer.outcomes) {
                visit(outcome);
            }
            if (!answer.is_valid) {
                throw_invalid_outcome();
            }
            details.rethrow();
            return;
        }
        qor_match_outcome_t outcome;
        for (const uint64_t handle : handles) {
            if (match(handle, package, lenient, outcome)) {
                visit(outcome);
            }
        }
    }

private:
    template<typename Table>
    void find_optional(Table& table);

    struct batch_answer {
        std::span<const qor_match_outcome_t> outcomes;
        // False when an outcome follows that is not of the call.
        bool is_valid = true;
    };
    batch_answer match_batch(std::span<const uint64_t> handles, const qor_package_t& package, bool lenient,
                             std::vector<qor_match_outcome_t>& outcomes, details_owner& details) const;
    [[noreturn]] static void throw_invalid_outcome();

    qor_data_matcher_support_t support;
    qor_data_matcher_format_support_t format_support;
    qor_data_matcher_batch_support_t batch_support{};
    qor_data_matcher_source_support_t source_support{};
};

} // namespace qor::runtime::tavi

#endif
