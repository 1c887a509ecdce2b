// What each type of sentence says of the receiver: GGA, RMC, VTG, GSA, GSV, GLL and ZDA of any talker.
#ifndef PLUGINS_NMEA_PROCESSOR_SENTENCE_TYPES_HPP
#define PLUGINS_NMEA_PROCESSOR_SENTENCE_TYPES_HPP

#include "plugins/nmea_processor/image.hpp"
#include "plugins/nmea_processor/satellites.hpp"
#include "plugins/nmea_processor/sentence.hpp"

namespace nmea_processor {

enum class reading { done, unknown_type, damaged };

// Stores what a sentence says. One that lacks fields or has a value that cannot be is damaged and stores nothing.
reading read_values(const sentence& sentence, image& values, satellite_lists& satellites);

} // namespace nmea_processor

#endif
