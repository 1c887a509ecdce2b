// A matcher in a page: packages of format "tagged" begin with a 32-bit tag, followed by the bytes of the object whose
// address is that tag.
#include <algorithm>
#include <cstring>
#include <map>
#include <stdexcept>

#include "qor_plugin_sdk/plugin.hpp"
#include "qorc/extensibility/data_matcher.h"

namespace {

class tagged_matcher {
public:
    explicit tagged_matcher(qor_service_locator_t*) {
        services_.offer(qor_data_matcher_support_t{
            .register_type = qor::sdk::slot<&tagged_matcher::register_type>,
            .unregister_type = qor::sdk::slot<&tagged_matcher::unregister_type>,
            .match = qor::sdk::slot<&tagged_matcher::match>,
        });
        services_.offer(qor_data_matcher_format_support_t{
            .get_supported_format_count = [](void*) { return size_t{1}; },
            .get_supported_format = qor::sdk::slot<&tagged_matcher::get_supported_format>,
        });
    }

    qor::sdk::service_table& services() { return services_; }

private:
    struct place {
        uint64_t address;
        uint64_t offset;
        uint64_t extent;
    };

    void register_type(uint64_t handle, const char*, const qor_type_node_sequence_t* hierarchy, uint64_t position,
                       uint64_t extent) {
        if (hierarchy->count < 2 || hierarchy->nodes[1].kind != QOR_TYPE_NODE_OBJECT) {
            return; // not ours: never matched
        }
        const uint64_t address = hierarchy->nodes[1].object.address;
        places_[handle] = {address, position - address, extent};
    }

    void unregister_type(uint64_t handle) { places_.erase(handle); }

    void match(uint64_t handle, const qor_package_t* package, bool lenient, bool* matched, uint64_t* offset,
               uint64_t* size, uint64_t* expected_size) {
        const auto found = places_.find(handle);
        uint32_t tag = 0;
        if (found == places_.end() || package->payload_size < sizeof(tag)) {
            return;
        }
        std::memcpy(&tag, qor_package_payload(package), sizeof(tag));
        const uint64_t there = package->payload_size - sizeof(tag);
        if (tag != found->second.address || there < found->second.offset) {
            return;
        }
        *size = std::min(found->second.extent, there - found->second.offset);
        *expected_size = found->second.extent;
        *offset = sizeof(tag) + found->second.offset;
        *matched = lenient || *size == *expected_size;
    }

    void get_supported_format(size_t, const char** format) { *format = "tagged"; }

    qor::sdk::service_table services_;
    std::map<uint64_t, place> places_;
};

} // namespace

QOR_DATA_MATCHER(tagged_matcher)
