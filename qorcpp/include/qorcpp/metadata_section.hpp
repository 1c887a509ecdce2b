// What a library file says of itself in its section ".qorrt", without loading it: see qorc/metadata.h for the keys.
#ifndef QORCPP_METADATA_SECTION_HPP
#define QORCPP_METADATA_SECTION_HPP

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qorcpp/export.hpp"

namespace qor::runtime {

struct metadata_entry {
    std::string key;
    std::string value;
};

// The bytes of the section as they are in the file, zero fill included. Empty for a file that cannot be read, is no
// shared library, is cut short, is damaged or has no such section: survey_local_libraries gives the reason. Reads
// headers and section only. `path` is UTF-8.
QORCPP_API std::optional<std::string> read_metadata_section(const std::string& path);

// The lines of a section up to its first zero byte, in their order. A line without '=' is passed over.
QORCPP_API std::vector<metadata_entry> parse_metadata(std::string_view section);

} // namespace qor::runtime

#endif
