// The matcher of packages of format "memory": finds structures in images of a control unit's memory.
#include "plugins/memory_matcher/memory_block.hpp"
#include "plugins/memory_matcher/subscription_index.hpp"
#include "qor_plugin_sdk/plugin.hpp"
#include "qorc/extensibility/data_matcher.h"

namespace memory_matcher {

class matcher {
public:
    explicit matcher(qor_service_locator_t*) {
        services_.offer(qor_data_matcher_support_t{
            .register_type = qor::sdk::slot<&matcher::register_type>,
            .unregister_type = qor::sdk::slot<&matcher::unregister_type>,
            .match = qor::sdk::slot<&matcher::match>,
        });
        services_.offer(qor_data_matcher_batch_support_t{.match_batch = qor::sdk::slot<&matcher::match_batch>});
        services_.offer(qor_data_matcher_format_support_t{
            .get_supported_format_count = [](void*) { return size_t{1}; },
            .get_supported_format = qor::sdk::slot<&matcher::get_supported_format>,
        });
    }

    qor::sdk::service_table& services() noexcept { return services_; }

private:
    void register_type(uint64_t handle, const char* /*schema*/, const qor_type_node_sequence_t* hierarchy,
                       uint64_t position, uint64_t extent) {
        qor::check_argument(hierarchy, "hierarchy");
        uint32_t cycle = 0;
        for (uint64_t level = 0; level < hierarchy->count; ++level) {
            if (hierarchy->nodes[level].kind == QOR_TYPE_NODE_VIEW) {
                cycle = hierarchy->nodes[level].view.cycle;
            }
        }
        index_.add({handle, position, extent, cycle});
    }

    void unregister_type(uint64_t handle) { index_.remove(handle); }

    void match(uint64_t handle, const qor_package_t* package, bool lenient, bool* matched, uint64_t* offset,
               uint64_t* size, uint64_t* expected_size) {
        const auto* const subscription = index_.find(handle);
        const auto block = read_block(*package);
        if (subscription == nullptr || !block) {
            return;
        }
        if (const auto outcome = match_block(*subscription, *block, lenient)) {
            *matched = true;
            *offset = outcome->offset;
            *size = outcome->size;
            *expected_size = outcome->expected_size;
        }
    }

    void match_batch(const qor_package_t* package, const uint64_t* handles, size_t handle_count, bool lenient,
                     qor_match_outcome_t* outcomes, size_t* outcome_count) {
        const auto block = read_block(*package);
        *outcome_count = block ? index_.match(*block, {handles, handle_count}, lenient, outcomes) : 0;
    }

    void get_supported_format(size_t, const char** format) { *format = "memory"; }

    qor::sdk::service_table services_;
    subscription_index index_;
};

} // namespace memory_matcher

QOR_DATA_MATCHER(memory_matcher::matcher)
