#include "runtime/tavi/data_matcher_proxy.hpp"

#include <utility>

#include "runtime/details_owner.hpp"

namespace qor::runtime::tavi {

namespace {

constexpr plugin_kind matcher_kind{
    "qor_data_matcher_create",
    "qor_data_matcher_destroy",
    "qor_data_matcher_get_service_locator",
    "invalid data matcher library, 'qor_data_matcher_destroy' destructor function is missing",
    "invalid service locator interface returned from 'qor_data_matcher_get_service_locator' function",
    false,
};

} // namespace

data_matcher_proxy::data_matcher_proxy(platform::shared_library&& library,
                                       std::shared_ptr<qor::runtime::service_locator>&& host_locator)
    : plugin_proxy(matcher_kind, std::move(library), std::move(host_locator), nullptr),
      support(mandatory_table<qor_data_matcher_support_t>()),
      format_support(mandatory_table<qor_data_matcher_format_support_t>()) {
    find_batch_support();
}

// A matcher that knows nothing of this table must not be worse off for being asked, whatever its locator answers.
void data_matcher_proxy::find_batch_support() {
    try {
        if (has_service<qor_data_matcher_batch_support_t>(*service_locator)) {
            if (const auto* const table = get_service<qor_data_matcher_batch_support_t>(*service_locator)) {
                batch_support = *table;
            }
        }
    } catch (...) {
        batch_support = {};
    }
}

std::vector<const char*> data_matcher_proxy::get_supported_formats() const {
    check_slot<qor_data_matcher_format_support_t>(format_support.get_supported_format, "get_supported_format");
    check_slot<qor_data_matcher_format_support_t>(format_support.get_supported_format_count,
                                                  "get_supported_format_count");
    std::vector<const char*> formats;
    const size_t count = format_support.get_supported_format_count(handle);
    for (size_t index = 0; index < count; ++index) {
        const char* format = nullptr;
        details_owner details;
        format_support.get_supported_format(handle, index, &format, details.place());
        details.rethrow();
        check_text<qor_data_matcher_format_support_t>(format, "get_supported_format");
        formats.push_back(format);
    }
    return formats;
}

void data_matcher_proxy::register_type(uint64_t subscription_handle, const char* schema,
                                       const qor_type_node_sequence_t& hierarchy, uint64_t position,
                                       uint64_t extent) const {
    check_slot<qor_data_matcher_support_t>(support.register_type, "register_type");
    details_owner details;
    support.register_type(handle, subscription_handle, schema, &hierarchy, position, extent, details.place());
    details.rethrow();
}

void data_matcher_proxy::unregister_type(uint64_t subscription_handle) const {
    check_slot<qor_data_matcher_support_t>(support.unregister_type, "unregister_type");
    details_owner details;
    support.unregister_type(handle, subscription_handle, details.place());
    details.rethrow();
}

bool data_matcher_proxy::match(uint64_t subscription_handle, const qor_package_t& package, bool lenient,
                               qor_match_outcome_t& outcome) const {
    check_slot<qor_data_matcher_support_t>(support.match, "match");
    bool matched = false;
    outcome = {subscription_handle, 0, 0, 0};
    details_owner details;
    support.match(handle, subscription_handle, &package, lenient, &matched, &outcome.offset, &outcome.size,
                  &outcome.expected_size, details.place());
    details.rethrow();
    return matched;
}

std::span<const qor_match_outcome_t> data_matcher_proxy::match_batch(std::span<const uint64_t> handles,
                                                                     const qor_package_t& package, bool lenient,
                                                                     std::vector<qor_match_outcome_t>& outcomes) const {
    if (handles.empty()) {
        return {};
    }
    if (outcomes.size() < handles.size()) {
        outcomes.resize(handles.size());
    }
    size_t count = 0;
    details_owner details;
    batch_support.match_batch(handle, &package, handles.data(), handles.size(), lenient, outcomes.data(), &count,
                              details.place());
    details.rethrow();
    if (count > handles.size()) {
        throw std::runtime_error(
            "invalid qor_data_matcher_batch_support_t interface, more outcomes than subscriptions");
    }
    return {outcomes.data(), count};
}

} // namespace qor::runtime::tavi
