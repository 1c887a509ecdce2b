// The subscriptions that the processor took, and the records that they are owed for the package at hand.
#ifndef PLUGINS_NMEA_PROCESSOR_SUBSCRIPTIONS_HPP
#define PLUGINS_NMEA_PROCESSOR_SUBSCRIPTIONS_HPP

#include <cstdint>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

#include "plugins/nmea_processor/image.hpp"
#include "qorc/type_node.h"

namespace nmea_processor {

// Which bytes of the image a subscription names; nothing when it is not about the image.
//
// hierarchy  the nodes from the view down
// position   of the first byte, counted from the object's address
// extent     bytes
std::optional<byte_range> find_range(const qor_type_node_sequence_t& hierarchy, uint64_t position,
                                     uint64_t extent) noexcept;

class subscriptions {
public:
    // A handle that is there already is replaced.
    void add(uint64_t handle, const byte_range& range) { by_handle_[handle] = {range, {}}; }
    void remove(uint64_t handle) { by_handle_.erase(handle); }

    // Forgets the records that nobody fetched.
    void begin_package() noexcept;

    // Owes a record of the values as they are to each subscription that the last sentence updated.
    void serve(const image& values);

    // The records of one subscription, one behind the other, each of `record_size` bytes; they are its caller's from
    // now on. Empty for handles that are not there.
    struct records {
        std::vector<uint8_t> bytes;
        size_t record_size = 0;
    };
    records fetch(uint64_t handle);

private:
    struct entry {
        byte_range range;
        std::vector<uint8_t> owed;
    };

    std::unordered_map<uint64_t, entry> by_handle_;
};

} // namespace nmea_processor

#endif
