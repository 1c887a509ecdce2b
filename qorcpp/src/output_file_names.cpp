#include "output_file_names.hpp"

#include <algorithm>
#include <cstddef>

namespace qor::platform {

namespace {

// File systems take names of 255 bytes; the rest is for what is added.
constexpr std::size_t longest_stem = 240;

std::string stem_of(const std::string& name) {
    std::size_t size = std::min(name.size(), longest_stem);
    // Not within a character of UTF-8.
    while (size > 0 && size < name.size() && (static_cast<unsigned char>(name[size]) & 0xC0) == 0x80) {
        --size;
    }
    return name.substr(0, size);
}

} // namespace

std::string temporary_file_name(const std::string& name, int number) {
    return '.' + stem_of(name) + ".tavi-" + std::to_string(number);
}

std::string part_file_name(const std::string& name) {
    return stem_of(name) + ".part";
}

std::vector<std::string> names_beside(const std::string& folder, const std::string& name) {
    std::vector<std::string> names{folder + part_file_name(name)};
    for (int number = 0; number < most_temporaries; ++number) {
        names.push_back(folder + temporary_file_name(name, number));
    }
    return names;
}

} // namespace qor::platform
