// The per-package operations. A package of an unknown source stops at the first look-up; its payload is read nowhere
// here but in the copy of a matched run of bytes.
#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string_view>

#include "qor_tavi_extractor/src/extractor/extractor.hpp"
#include "qor_tavi_extractor/src/extractor/source_key.hpp"
#include "qorcpp/call_frame.hpp"

namespace qor::tavi::detail {

namespace {

constexpr const char* generic_package = "a generic package without format type specifier was received";

std::string_view format_of(const qor_package_t& package) noexcept {
    return {package.format_type, strnlen(package.format_type, sizeof(package.format_type))};
}

// The id is read byte by byte, low byte first, whatever the processor's own order.
uint64_t key_of(const qor_package_t& package) noexcept {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(&package);
    const auto source_id = static_cast<uint16_t>(bytes[0] | (bytes[1] << 8));
    return source_key(source_id, package.instance);
}

// The sum of two sizes that came from a plug-in. One that wraps lies beyond any payload.
bool lies_beyond(uint64_t offset, uint64_t size, uint64_t payload_size) noexcept {
    return offset > payload_size || size > payload_size - offset;
}

[[noreturn]] void throw_short_payload(uint64_t payload_size, const char* what, uint64_t size, uint64_t offset) {
    throw std::runtime_error("package payload size " + std::to_string(payload_size) + " is less than " + what +
                             " size " + std::to_string(size) + " from offset " + std::to_string(offset));
}

runtime::dynamic_data_holder created(qor_dynamic_data_t* record, qor_memory_allocator_t* allocator,
                                     qor_error_details_t*& details) {
    auto holder = runtime::wrap_dynamic_data(record, allocator);
    rethrow_details(details);
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
    qor_dynamic_data_create_ex(allocator, outcome.expected_size, &record, &details);
    auto holder = created(record, allocator, details);
    std::memcpy(record->sequence.data, qor_package_payload(&package) + outcome.offset,
                package.payload_size - outcome.offset);
    return holder;
}

runtime::dynamic_data_holder make_record(const qor_match_outcome_t& outcome, const qor_package_t& package,
                                         qor_memory_allocator_t* allocator) {
    qor_dynamic_data_t* record = nullptr;
    qor_error_details_t* details = nullptr;
    qor_dynamic_data_create(allocator, &record, &details);
    auto holder = created(record, allocator, details);
    qor_runtime_c_uint8_sequence_init(allocator, &record->sequence, outcome.size, &details);
    rethrow_details(details);
    if (outcome.size != 0) {
        std::memcpy(record->sequence.data, qor_package_payload(&package) + outcome.offset, outcome.size);
    }
    return holder;
}

} // namespace

const runtime::tavi::data_matcher_proxy* extractor::find_matcher(const qor_package_t& package) const {
    const auto found = matchers.find(format_of(package));
    return found != matchers.end() ? found->second.get() : nullptr;
}

std::vector<uint64_t> extractor::match(const qor_package_t& package, bool strict) {
    if (format_of(package).empty()) {
        throw std::logic_error(generic_package);
    }
    const uint64_t key = key_of(package);
    std::vector<uint64_t> matched;
    const std::lock_guard lock(mutex);
    if (!sources.contains(key)) {
        return matched;
    }
    const auto* const matcher = find_matcher(package);
    if (matcher == nullptr) {
        return matched;
    }
    matcher->for_each_match(subscriptions_by_source[key], package, !strict, outcomes,
                            [&](const auto& outcome) { matched.push_back(outcome.subscription_handle); });
    return matched;
}

void extractor::cut_records(const runtime::tavi::data_matcher_proxy& matcher, const std::vector<uint64_t>& handles,
                            const qor_package_t& package, qor_memory_allocator_t* allocator, bool strict,
                            record_list& records) {
    const uint64_t payload_size = package.payload_size;
    matcher.for_each_match(handles, package, !strict, outcomes, [&](const qor_match_outcome_t& outcome) {
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

void extractor::process(const qor_package_t& package, qor_memory_allocator_t* allocator, bool strict,
                        record_list& records) {
    if (format_of(package).empty()) {
        throw std::invalid_argument(generic_package);
    }
    const uint64_t key = key_of(package);
    const std::lock_guard lock(mutex);
    if (!sources.contains(key)) {
        return;
    }
    const auto& handles = subscriptions_by_source[key];
    if (const auto* const matcher = find_matcher(package)) {
        cut_records(*matcher, handles, package, allocator, strict, records);
    }
    const auto bound = processors.find(key);
    if (bound == processors.end()) {
        return;
    }
    const std::string_view format = format_of(package);
    for (const uint64_t handle : handles) {
        for (const bound_processor& element : bound->second) {
            if (element.format == format) {
                auto made = element.proxy->process(handle, package, allocator);
                std::move(made.begin(), made.end(), std::back_inserter(records));
            }
        }
    }
}

bool extractor::has_data_processor(const qor_package_t& package) {
    const std::string_view format = format_of(package);
    if (format.empty()) {
        throw std::invalid_argument(generic_package);
    }
    const uint64_t key = key_of(package);
    const std::lock_guard lock(mutex);
    if (!sources.contains(key)) {
        return false;
    }
    const auto bound = processors.find(key);
    return bound != processors.end() && std::any_of(bound->second.begin(), bound->second.end(),
                                                    [&](const auto& element) { return element.format == format; });
}

} // namespace qor::tavi::detail
