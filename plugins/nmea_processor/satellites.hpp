// The satellites in view, put together from the lists that a receiver sends in turn.
//
// A list belongs to one talker (a satellite system) and, since version 4.10 of the standard, one signal of it (L1, L5).
// It takes several sentences and replaces the list of the same talker and signal when its last sentence came; one with
// a sentence missing is dropped. The lists stand in the order in which they first came, and a satellite that several
// of them name counts once, with its strongest signal.
//
// A receiver that loses all satellites of a system may send no list for it any more. All lists between two of the same
// kind make a round; a list that was not renewed during a whole round goes.
#ifndef PLUGINS_NMEA_PROCESSOR_SATELLITES_HPP
#define PLUGINS_NMEA_PROCESSOR_SATELLITES_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace nmea_processor {

// Values of SatelliteInView.System.
enum class satellite_system : uint8_t { unknown, gps, glonass, galileo, beidou, qzss, navic };

// By a talker such as "GL".
satellite_system system_of_talker(std::string_view talker) noexcept;

struct satellite {
    // As the receiver numbers it.
    uint16_t number;
    satellite_system system;
    int8_t elevation;
    uint16_t azimuth;
    // 0 when it is not tracked.
    uint8_t signal_strength;
};

// What one sentence says of a list.
struct satellite_sentence {
    std::string_view talker;
    uint8_t signal;
    uint32_t sentence_total;
    // Counted from 1.
    uint32_t sentence_number;
    std::vector<satellite> satellites;
};

class satellite_lists {
public:
    // True when the sentence was the last of its list, so that what is in view changed.
    bool add(const satellite_sentence& sentence);

    // All satellites in view, at most `limit`.
    std::vector<satellite> in_view(size_t limit) const;

private:
    struct list {
        std::string talker;
        uint8_t signal;
        std::vector<satellite> satellites;
        // The list that is coming, and the number of the sentence that it lacks next; 0 when none is coming.
        std::vector<satellite> coming;
        uint32_t next_sentence = 0;
        bool whole = false;
        // When it came whole last, or began to come for the first time.
        uint64_t round = 0;
    };

    list& find_or_add(std::string_view talker, uint8_t signal);
    void complete(list& done);

    std::vector<list> lists_;
    uint64_t round_ = 0;
};

} // namespace nmea_processor

#endif
