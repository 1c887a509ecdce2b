#include "tests/can_matcher/matcher_fixture.hpp"

#include <gtest/gtest.h>

#include <cstring>

namespace tavi::test {

namespace {

std::vector<std::uint8_t> frame_payload(std::uint32_t id, const std::vector<std::uint8_t>& data) {
    std::vector<std::uint8_t> payload(qor::can_header_size);
    qor::write_can_header(payload.data(), id, static_cast<std::uint8_t>(data.size()), 0);
    payload.insert(payload.end(), data.begin(), data.end());
    return payload;
}

std::string text_of(const qor_match_outcome_t& match) {
    return std::to_string(match.subscription_handle) + ": " + std::to_string(match.size) + " of " +
           std::to_string(match.expected_size) + " at " + std::to_string(match.offset);
}

} // namespace

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

outcome matcher::register_nodes(std::uint64_t subscription, std::vector<qor_type_node_t> nodes, std::uint64_t position,
                                std::uint64_t extent) {
    // Kept apart, so that the sanitizer sees a matcher that goes on reading them.
    const qor_type_node_sequence_t hierarchy{nodes.data(), nodes.size()};
    return call(support.register_type, plugin.handle(), subscription, "{}", &hierarchy, position, extent);
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
    return call(support.unregister_type, plugin.handle(), subscription);
}

std::string matcher::match(const std::vector<std::uint64_t>& handles, const test_package& package, bool lenient) {
    std::string single;
    for (const std::uint64_t subscription : handles) {
        bool matched = false;
        qor_match_outcome_t match{subscription, 0, 0, 0};
        EXPECT_EQ(call(support.match, plugin.handle(), subscription, package.get(), lenient, &matched, &match.offset,
                       &match.size, &match.expected_size),
                  succeeded);
        if (matched) {
            single += text_of(match) + ", ";
        }
    }
    std::vector<qor_match_outcome_t> outcomes(handles.size());
    std::size_t count = 99;
    EXPECT_EQ(call(batch.match_batch, plugin.handle(), package.get(), handles.data(), handles.size(), lenient,
                   outcomes.data(), &count),
              succeeded);
    std::string all;
    for (std::size_t at = 0; at < count; ++at) {
        all += text_of(outcomes.at(at)) + ", ";
    }
    EXPECT_EQ(all, single);
    return all.substr(0, all.rfind(", "));
}

} // namespace tavi::test
