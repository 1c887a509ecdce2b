// The per-package operations. A package of an unknown source stops at the first look-up; its payload is read nowhere
// here but in the copy of a matched run of bytes.
#include <algorithm>
#include <cstring>
#include <iterator>
#include <stdexcept>
#include <string_view>

#include "qor_tavi_extractor/src/extractor/extractor.hpp"
#include "qorcpp/call_frame.hpp"
#include "qorcpp/source_key.hpp"

namespace qor::tavi::detail {

namespace {

constexpr const char* generic_package = "a generic package without format type specifier was received";

std::string_view format_of(const qor_package_t& package) noexcept {
    return {package.format_type, strnlen(package.format_type, sizeof(package.format_type))};
}

// The sum of two sizes that came from a plug-in. One that wraps lies beyond any payload.
bool lies_beyond(uint64_t offset, uint64_t size, uint64_t payload_size) noexcept {
    return offset > payload_size || size > payload_size - offset;
}

[[noreturn]] void throw_short_payload(uint64_t payload_size, const char* what, uint64_t size, uint64_t offset) {
    throw std::runtime_error("package payload size " + std::to_string(payload_size) + " is less than " + what +
                             " size " + std::to_string(size) + " from offset " + std::to_string(offset));
}

runtime::dynamic_data_holder created(uint32_t status, qor_dynamic_data_t* record, qor_memory_allocator_t* allocator,
                                     qor_error_details_t*& details) {
    auto holder = runtime::wrap_dynamic_data(record, allocator);
    check_call(status, details);
    if (!holder) {
        throw std::runtime_error("failed to allocate 'qor_dynamic_data_t' message");
    }
    return holder;
}

// A record of `expected_size` bytes of which the payload has only the first ones; the rest is zero.
runtime::dynamic_data_holder make_short_record(const qor_match_outcome_t& outcome, const qor_package_t& package,
                                               qor_memory_allocator_t* allocator) {
    qor_dynamic_data_t* record = nullptr;
    qor_error_details_t* details = nullptr;
    const uint32_t status = qor_dynamic_data_create_ex(allocator, outcome.expected_size, &record, &details);
    auto holder = created(status, record, allocator, details);
    std::memcpy(holder->sequence.data, qor_package_payload(&package) + outcome.offset,
                package.payload_size - outcome.offset);
    return holder;
}

runtime::dynamic_data_holder make_record(const qor_match_outcome_t& outcome, const qor_package_t& package,
                                         qor_memory_allocator_t* allocator) {
    qor_dynamic_data_t* record = nullptr;
    qor_error_details_t* details = nullptr;
    const uint32_t status = qor_dynamic_data_create(allocator, &record, &details);
    auto holder = created(status, record, allocator, details);
    check_call(qor_runtime_c_uint8_sequence_init(allocator, &holder->sequence, outcome.size, &details), details);
    if (outcome.size != 0) {
        std::memcpy(holder->sequence.data, qor_package_payload(&package) + outcome.offset, outcome.size);
    }
    return holder;
}

} // namespace

const package_route& extractor::route_of(const qor_package_t& package) {
    if (const package_route& route = routes.at(package); route.is_of(package)) {
        return route;
    }
    package_route found(package);
    const uint64_t key = source_key_of(package);
    if (sources.contains(key)) {
        const auto matcher = matchers.find(format_of(package));
        const auto bound = processors.find(key);
        found.handles = &subscriptions_by_source.of(key);
        found.matcher = matcher != matchers.end() ? matcher->second.get() : nullptr;
        found.processors = bound != processors.end() ? &bound->second : nullptr;
    }
    return routes.remember(package, found);
}

void extractor::forget_routes() noexcept {
    routes.forget();
}

void extractor::check_is_matchable(const qor_package_t& package) {
    if (package.format_type[0] == '\0') {
        throw std::logic_error(generic_package);
    }
}

void extractor::check_has_format(const qor_package_t& package) {
    if (package.format_type[0] == '\0') {
        throw std::invalid_argument(generic_package);
    }
}

void extractor::find_matches(const qor_package_t& package, bool strict, std::vector<uint64_t>& matched) {
    const package_route& route = route_of(package);
    if (route.handles == nullptr || route.matcher == nullptr) {
        return;
    }
    const subscription_lists::reader reading(subscriptions_by_source);
    const spare_lists<qor_match_outcome_t>::loan outcomes(spare_outcomes);
    route.matcher->for_each_match(*route.handles, package, !strict, outcomes.list(),
                                  [&](const auto& outcome) { matched.push_back(outcome.subscription_handle); });
}

void extractor::cut_records(const runtime::tavi::data_matcher_proxy& matcher, std::span<const uint64_t> handles,
                            const qor_package_t& package, qor_memory_allocator_t* allocator, bool strict,
                            std::vector<runtime::dynamic_data_holder>& records) {
    const uint64_t payload_size = package.payload_size;
    const spare_lists<qor_match_outcome_t>::loan outcomes(spare_outcomes);
    matcher.for_each_match(handles, package, !strict, outcomes.list(), [&](const qor_match_outcome_t& outcome) {
        if (outcome.size != outcome.expected_size && strict) {
            throw_short_payload(payload_size, "expected", outcome.expected_size, outcome.offset);
        }
        if (lies_beyond(outcome.offset, outcome.size, payload_size)) {
            throw_short_payload(payload_size, "match", outcome.size, outcome.offset);
        }
        auto holder = lies_beyond(outcome.offset, outcome.expected_size, payload_size)
                          ? make_short_record(outcome, package, allocator)
                          : make_record(outcome, package, allocator);
        holder->declared_size = 0;
        holder->subscription_handle = outcome.subscription_handle;
        holder->length = static_cast<uint32_t>(holder->sequence.sequence_length);
        records.push_back(std::move(holder));
    });
}

void extractor::make_records(const qor_package_t& package, qor_memory_allocator_t* allocator, bool strict,
                             std::vector<runtime::dynamic_data_holder>& records) {
    const package_route& route = route_of(package);
    if (route.handles == nullptr) {
        return;
    }
    // All that is needed of the route: another package may take its place during a call.
    const subscription_lists::reader reading(subscriptions_by_source);
    const std::span<const uint64_t> handles = *route.handles;
    const std::vector<bound_processor>* const bound = route.processors;
    if (route.matcher != nullptr) {
        cut_records(*route.matcher, handles, package, allocator, strict, records);
    }
    if (bound == nullptr) {
        return;
    }
    const std::string_view format = format_of(package);
    for (const uint64_t handle : handles) {
        for (size_t index = 0; index < bound->size(); ++index) {
            if ((*bound)[index].format == format) {
                auto made = (*bound)[index].proxy->process(handle, package, allocator);
                std::move(made.begin(), made.end(), std::back_inserter(records));
            }
        }
    }
}

bool extractor::has_data_processor(const qor_package_t& package) {
    check_has_format(package);
    const std::string_view format = format_of(package);
    const std::lock_guard lock(mutex);
    const auto* const bound = route_of(package).processors;
    return bound != nullptr &&
           std::any_of(bound->begin(), bound->end(), [&](const auto& element) { return element.format == format; });
}

} // namespace qor::tavi::detail
