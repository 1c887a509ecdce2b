// Makes sentences.
#ifndef TESTS_NMEA_PROCESSOR_SEALED_HPP
#define TESTS_NMEA_PROCESSOR_SEALED_HPP

#include <cstdio>
#include <string>
#include <string_view>

namespace nmea_processor {

// "$" + body + "*" + its checksum.
inline std::string sealed(std::string_view body) {
    unsigned sum = 0;
    for (const char character : body) {
        sum ^= static_cast<unsigned char>(character);
    }
    char checksum[4];
    std::snprintf(checksum, sizeof(checksum), "*%02X", sum);
    return "$" + std::string(body) + checksum;
}

} // namespace nmea_processor

#endif
