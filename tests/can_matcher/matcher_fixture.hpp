// A matcher as the extractor has it, and packages for it.
#ifndef TESTS_CAN_MATCHER_MATCHER_FIXTURE_HPP
#define TESTS_CAN_MATCHER_MATCHER_FIXTURE_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "qorc/extensibility/data_matcher.h"
#include "qorcpp/can_frame.hpp"
#include "tests/support/loaded_plugin.hpp"
#include "tests/support/outcome.hpp"

namespace tavi::test {

// What one subscription of the tests names.
struct wanted {
    std::uint64_t address = 0;
    std::uint32_t flags = 0;
    std::uint8_t kind = QOR_TYPE_NODE_OBJECT;
    std::uint32_t offset = 0; // of a group or signal in its object
    std::uint64_t extent = 8;
    const char* presence = nullptr;
};

// A package with any bytes as payload.
class test_package {
public:
    explicit test_package(const std::vector<std::uint8_t>& payload, const std::string& format = "can");
    // A frame; the length is that of the data.
    test_package(std::uint32_t id, const std::vector<std::uint8_t>& data, const std::string& format = "can");

    const qor_package_t* get() const { return reinterpret_cast<const qor_package_t*>(bytes_.data()); }

private:
    std::vector<std::uint8_t> bytes_;
};

class matcher {
public:
    outcome register_type(std::uint64_t handle, const wanted& subscription);
    outcome register_nodes(std::uint64_t handle, std::vector<qor_type_node_t> nodes, std::uint64_t position,
                           std::uint64_t extent);
    outcome unregister_type(std::uint64_t handle);
    // "HANDLE: SIZE of EXPECTED_SIZE at OFFSET" for each subscription that matches, joined by ", ". Fails the test when
    // one call for all says something else than a call for each.
    std::string match(const std::vector<std::uint64_t>& handles, const test_package& package, bool lenient);

    loaded_plugin plugin{"qor_can_matcher", "qor_data_matcher"};
    qor_data_matcher_support_t support = plugin.table<qor_data_matcher_support_t>();
    qor_data_matcher_batch_support_t batch = plugin.table<qor_data_matcher_batch_support_t>();
};

} // namespace tavi::test

#endif
