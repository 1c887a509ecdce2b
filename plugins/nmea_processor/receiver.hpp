// What a satellite receiver has told so far.
#ifndef PLUGINS_NMEA_PROCESSOR_RECEIVER_HPP
#define PLUGINS_NMEA_PROCESSOR_RECEIVER_HPP

#include <string_view>

#include "plugins/nmea_processor/image.hpp"
#include "plugins/nmea_processor/satellites.hpp"
#include "plugins/nmea_processor/sentence.hpp"

namespace nmea_processor {

class receiver {
public:
    // Takes one piece of sentence_scanner: updates the values that the sentence gives, or counts it as broken.
    void take(std::string_view piece);

    // The values, with what the last piece updated.
    const image& values() const noexcept { return values_; }

private:
    bool apply(std::string_view piece);
    void count_sound();
    void count(member<uint64_t> member, uint64_t& counter);

    image values_;
    satellite_lists satellites_;
    uint64_t sound_ = 0;
    uint64_t broken_ = 0;
    uint64_t unknown_ = 0;
    // From then on a sentence without one is one that was cut.
    bool checksums_came_ = false;
    // Kept for its memory.
    sentence sentence_;
};

} // namespace nmea_processor

#endif
