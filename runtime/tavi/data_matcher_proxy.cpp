#include "runtime/tavi/data_matcher_proxy.hpp"

#include <algorithm>
#include <cstddef>
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
    find_optional(batch_support);
    find_optional(source_support);
}

template<typename Table>
void data_matcher_proxy::find_optional(Table& table) {
    if (const void* const found = find_optional_table(*service_locator, demangled_string<Table>())) {
        table = *static_cast<const Table*>(found);
    }
}

std::vector<const char*> data_matcher_proxy::get_supported_formats() const {
    check_slot<qor_data_matcher_format_support_t>(format_support.get_supported_format, "get_supported_format");
    check_slot<qor_data_matcher_format_support_t>(format_support.get_supported_format_count,
                                                  "get_supported_format_count");
    std::vector<const char*> formats;
    const size_t count = format_support.get_supported_format_count(handle);
    check_count<qor_data_matcher_format_support_t>(count, QOR_PLUGIN_MAX_FORMATS, "get_supported_format_count");
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

void data_matcher_proxy::set_source(uint64_t subscription_handle, uint16_t source_id, uint32_t instance) const {
    if (source_support.set_source == nullptr) {
        return;
    }
    details_owner details;
    source_support.set_source(handle, subscription_handle, source_id, instance, details.place());
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

namespace {

// How many of the outcomes, from the first on, are for handles of the list, in its order.
// Most lists are without gaps, as a source's subscriptions are made one after another: the place of a handle then is
// its distance from the first one. With gaps that is the last place where it can be.
size_t count_valid(std::span<const qor_match_outcome_t> outcomes, std::span<const uint64_t> handles) noexcept {
    for (size_t index = 0; index < outcomes.size(); ++index) {
        const uint64_t handle = outcomes[index].subscription_handle;
        if (handles.empty() || handle < handles.front()) {
            return index;
        }
        size_t place = static_cast<size_t>(std::min<uint64_t>(handle - handles.front(), handles.size() - 1));
        if (handles[place] != handle) {
            const auto last = handles.begin() + static_cast<std::ptrdiff_t>(place);
            place = static_cast<size_t>(std::lower_bound(handles.begin(), last, handle) - handles.begin());
            if (handles[place] != handle) {
                return index;
            }
        }
        handles = handles.subspan(place + 1);
    }
    return outcomes.size();
}

} // namespace

data_matcher_proxy::batch_answer data_matcher_proxy::match_batch(std::span<const uint64_t> handles,
                                                                 const qor_package_t& package, bool lenient,
                                                                 std::vector<qor_match_outcome_t>& outcomes,
                                                                 details_owner& details) const {
    if (handles.empty()) {
        return {};
    }
    if (outcomes.size() < handles.size()) {
        outcomes.resize(handles.size());
    }
    size_t count = 0;
    batch_support.match_batch(handle, &package, handles.data(), handles.size(), lenient, outcomes.data(), &count,
                              details.place());
    if (count > handles.size()) {
        details.rethrow();
        throw std::runtime_error(
            "invalid qor_data_matcher_batch_support_t interface, more outcomes than subscriptions");
    }
    const std::span<const qor_match_outcome_t> stored(outcomes.data(), count);
    const size_t valid = count_valid(stored, handles);
    return {stored.first(valid), valid == count};
}

void data_matcher_proxy::throw_invalid_outcome() {
    throw std::runtime_error(
        "invalid qor_data_matcher_batch_support_t interface, an outcome for a subscription that the "
        "call did not name, or out of order");
}

} // namespace qor::runtime::tavi
