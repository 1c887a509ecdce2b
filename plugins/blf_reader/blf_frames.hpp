// Objects of BLF recordings as CAN frames.
#ifndef BLF_READER_BLF_FRAMES_HPP
#define BLF_READER_BLF_FRAMES_HPP

#include "plugins/blf_reader/blf_objects.hpp"

namespace tavi::blf {

struct frame_record {
    std::uint32_t channel = 0;
    qor::sdk::recorded_frame frame;
    // The frame was not sent yet: another object says when it is.
    bool is_request = false;
};

// Reads an object for which is_frame() holds. `frame.data` is in the object's bytes. Returns what is wrong with it, or
// null.
const char* read_frame(const object& found, frame_record& record);

// Nanoseconds since the beginning of the recording; false when the object has no time or one beyond 64 bits.
bool read_time(const object& found, qor::sdk::recorded_time& time) noexcept;

// What an object of that type is, "object type N" for one without a name.
std::string object_name(std::uint32_t type);

} // namespace tavi::blf

#endif
