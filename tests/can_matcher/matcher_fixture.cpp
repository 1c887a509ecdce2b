#include "tests/can_matcher/matcher_fixture.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

#include "qorcpp/platform/module.hpp"

namespace tavi::test {

namespace {

std::vector<std::uint8_t> frame_payload(std::uint32_t id, const std::vector<std::uint8_t>& data) {
    std::vector<std::uint8_t> payload(qor::can_header_size);
    qor::write_can_header(payload.data(), id, static_cast<std::uint8_t>(data.size()), 0);
    payload.insert(payload.end(), data.begin(), data.end());
    return payload;
}

template<typename Table>
void resolve(qor_service_locator_t* locator, const char* name, Table& table) {
    const Table* found = nullptr;
    if (locator->resolve(locator->context, name, &found, nullptr) != QOR_STATUS_OK) {
        throw std::runtime_error(std::string("no table ") + name);
    }
    table = *found;
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const match_result& result) {
    return stream << result.size << " of " << result.expected_size << " bytes at " << result.offset;
}

test_package::test_package(const std::vector<std::uint8_t>& payload, const std::string& format)
    : bytes_(sizeof(qor_package_t)) {
    qor_package_t header{};
    std::memcpy(header.format_type, format.c_str(), format.size() + 1);
    header.payload_size = payload.size();
    std::memcpy(bytes_.data(), &header, sizeof header);
    bytes_.insert(bytes_.end(), payload.begin(), payload.end());
    // Nothing behind the payload, so that the sanitizer sees every byte too many.
    bytes_.shrink_to_fit();
}

test_package::test_package(std::uint32_t id, const std::vector<std::uint8_t>& data, const std::string& format)
    : test_package(frame_payload(id, data), format) {}

matcher::matcher()
    : library_(std::string(TAVI_LIBRARY_DIR "/") + qor::platform::shared_library_file_name("qor_can_matcher")) {
    const auto create = reinterpret_cast<qor_plugin_create_t>(library_.get_symbol("qor_data_matcher_create"));
    const auto get_locator =
        reinterpret_cast<qor_plugin_get_service_locator_t>(library_.get_symbol("qor_data_matcher_get_service_locator"));
    qor_service_locator_t* locator = nullptr;
    if (create == nullptr || get_locator == nullptr || create(&handle, nullptr, nullptr) != QOR_STATUS_OK ||
        get_locator(handle, &locator, nullptr) != QOR_STATUS_OK) {
        throw std::runtime_error("cannot make a matcher: " + qor::platform::get_last_error());
    }
    resolve(locator, "qor_data_matcher_support_t", support);
    resolve(locator, "qor_data_matcher_format_support_t", formats);
    resolve(locator, "qor_data_matcher_batch_support_t", batch);
}

matcher::~matcher() {
    reinterpret_cast<qor_plugin_destroy_t>(library_.get_symbol("qor_data_matcher_destroy"))(handle);
}

outcome matcher::register_nodes(std::uint64_t subscription, std::vector<qor_type_node_t> nodes, std::uint64_t position,
                                std::uint64_t extent) {
    // Kept apart, so that the sanitizer sees a matcher that goes on reading them.
    const qor_type_node_sequence_t hierarchy{nodes.data(), nodes.size()};
    return call(support.register_type, handle, subscription, "{}", &hierarchy, position, extent);
}

outcome matcher::register_type(std::uint64_t subscription, const wanted& what) {
    std::vector<qor_type_node_t> nodes(2);
    nodes[0].kind = QOR_TYPE_NODE_VIEW;
    nodes[1].kind = QOR_TYPE_NODE_OBJECT;
    nodes[1].object.address = what.address;
    nodes[1].object.flags = what.flags;
    const std::string presence = what.presence != nullptr ? what.presence : "";
    if (what.kind != QOR_TYPE_NODE_OBJECT) {
        qor_type_node_t& node = nodes.emplace_back();
        node.kind = what.kind;
        node.signal.presence = what.presence != nullptr ? presence.c_str() : nullptr;
    }
    return register_nodes(subscription, std::move(nodes), what.address + what.offset, what.extent);
}

outcome matcher::unregister_type(std::uint64_t subscription) {
    return call(support.unregister_type, handle, subscription);
}

std::optional<match_result> matcher::match(std::uint64_t subscription, const test_package& package, bool lenient) {
    bool matched = false;
    match_result result{};
    EXPECT_EQ(call(support.match, handle, subscription, package.get(), lenient, &matched, &result.offset, &result.size,
                   &result.expected_size),
              succeeded);
    return matched ? std::optional(result) : std::nullopt;
}

std::vector<qor_match_outcome_t> matcher::match_batch(const std::vector<std::uint64_t>& handles,
                                                      const test_package& package, bool lenient) {
    std::vector<qor_match_outcome_t> outcomes(handles.size());
    std::size_t count = 99;
    EXPECT_EQ(call(batch.match_batch, handle, package.get(), handles.data(), handles.size(), lenient, outcomes.data(),
                   &count),
              succeeded);
    EXPECT_LE(count, handles.size());
    outcomes.resize(std::min(count, handles.size()));
    return outcomes;
}

} // namespace tavi::test
