// One data matcher plug-in: decides which packages of its formats serve a subscription, and where its bytes lie.
#ifndef RUNTIME_TAVI_DATA_MATCHER_PROXY_HPP
#define RUNTIME_TAVI_DATA_MATCHER_PROXY_HPP

#include <span>
#include <vector>

#include "qorc/extensibility/data_matcher.h"
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
    void unregister_type(uint64_t subscription_handle) const;

    // Asks for one subscription. True when the package serves it; the outcome is then filled.
    bool match(uint64_t subscription_handle, const qor_package_t& package, bool lenient,
               qor_match_outcome_t& outcome) const;

    // Asks for all subscriptions of a source and calls `visit` with the outcome of each that the package serves, in the
    // order of `handles`: by one call of a plug-in that offers it, else by one for each, visited before the next is
    // asked for. `outcomes` is room that the caller keeps between packages.
    template<typename Visitor>
    void for_each_match(std::span<const uint64_t> handles, const qor_package_t& package, bool lenient,
                        std::vector<qor_match_outcome_t>& outcomes, Visitor&& visit) const {
        if (batch_support.match_batch != nullptr) {
            for (const qor_match_outcome_t& outcome : match_batch(handles, package, lenient, outcomes)) {
                visit(outcome);
            }
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
    void find_batch_support();
    std::span<const qor_match_outcome_t> match_batch(std::span<const uint64_t> handles, const qor_package_t& package,
                                                     bool lenient, std::vector<qor_match_outcome_t>& outcomes) const;

    qor_data_matcher_support_t support;
    qor_data_matcher_format_support_t format_support;
    qor_data_matcher_batch_support_t batch_support{};
};

} // namespace qor::runtime::tavi

#endif
