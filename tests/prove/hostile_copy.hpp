// The hostile plug-in as one of a kind.
#ifndef TESTS_PROVE_HOSTILE_COPY_HPP
#define TESTS_PROVE_HOSTILE_COPY_HPP

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>

namespace tavi::prove {

// Copies the hostile library and writes the kind over the last line of its metadata, which is longer.
inline void write_hostile_plugin(const std::filesystem::path& library, std::string kind,
                                 const std::filesystem::path& copy) {
    constexpr std::string_view place = "hostile-plug-in-of-any-kind";
    std::ostringstream content;
    content << std::ifstream(library, std::ios::binary).rdbuf();
    std::string bytes = content.str();
    kind.resize(place.size(), '\0');
    for (auto found = bytes.find(place); found != std::string::npos; found = bytes.find(place)) {
        bytes.replace(found, place.size(), kind);
    }
    std::ofstream(copy, std::ios::binary) << bytes;
}

} // namespace tavi::prove

#endif
