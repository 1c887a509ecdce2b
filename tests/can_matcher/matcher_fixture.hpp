// A matcher as the extractor has it: the library loaded, an instance, its tables.
#ifndef TESTS_CAN_MATCHER_MATCHER_FIXTURE_HPP
#define TESTS_CAN_MATCHER_MATCHER_FIXTURE_HPP

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "qorc/extensibility/data_matcher.h"
#include "qorcpp/can_frame.hpp"
#include "qorcpp/platform/shared_library.hpp"
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

struct match_result {
    std::uint64_t offset;
    std::uint64_t size;
    std::uint64_t expected_size;

    bool operator==(const match_result&) const = default;
};
std::ostream& operator<<(std::ostream& stream, const match_result& result);

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
    matcher();
    matcher(const matcher&) = delete;
    matcher& operator=(const matcher&) = delete;
    ~matcher();

    outcome register_type(std::uint64_t handle, const wanted& subscription);
    outcome register_nodes(std::uint64_t handle, std::vector<qor_type_node_t> nodes, std::uint64_t position,
                           std::uint64_t extent);
    outcome unregister_type(std::uint64_t handle);
    // Fails the test when the call reports details.
    std::optional<match_result> match(std::uint64_t handle, const test_package& package, bool lenient);
    std::vector<qor_match_outcome_t> match_batch(const std::vector<std::uint64_t>& handles, const test_package& package,
                                                 bool lenient);

    void* handle = nullptr;
    qor_data_matcher_support_t support{};
    qor_data_matcher_format_support_t formats{};
    qor_data_matcher_batch_support_t batch{};

private:
    qor::platform::shared_library library_;
};

} // namespace tavi::test

#endif
