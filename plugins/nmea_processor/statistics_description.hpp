// What the processor tells of its own work, in the description language: joins the source's descriptions.
#ifndef PLUGINS_NMEA_PROCESSOR_STATISTICS_DESCRIPTION_HPP
#define PLUGINS_NMEA_PROCESSOR_STATISTICS_DESCRIPTION_HPP

namespace nmea_processor {

inline constexpr char statistics_description[] = R"sdl({
  "sdl": 1,
  "comment": "What came over the line from a satellite receiver.",
  "views": [
    {
      "name": "NMEA",
      "objects": [
        {
          "name": "Statistics",
          "address": "0x6000",
          "members": [
            { "name": "Sentences", "stored": "uint64", "comment": "Sound sentences so far, of known types or not" },
            { "name": "Broken", "stored": "uint64", "comment": "Sentences that were passed over as damaged" },
            { "name": "Unknown", "stored": "uint64", "comment": "Sound sentences of types that are not read" },
            { "name": "LastTalker", "stored": "char8", "count": 2, "comment": "Of the last sound sentence; P and zero for a maker's own" },
            { "name": "LastType", "stored": "char8", "count": 3, "comment": "GGA, RMC, ..., or a maker's sign" }
          ]
        }
      ]
    }
  ]
}
)sdl";

} // namespace nmea_processor

#endif
