#include "qorcpp/metadata_section.hpp"

#include <algorithm>

#include "elf_section.hpp"

namespace qor::runtime {

namespace {

using section_reader = std::optional<std::string> (*)(bounded_file& file, std::string_view name,
                                                      std::size_t size_limit);

// One for each format of library files; each passes over files of the others.
constexpr section_reader readers[] = {read_elf_section};

// A block is 596 bytes; what is far larger is none.
constexpr std::size_t section_size_limit = 65536;

} // namespace

std::optional<std::string> read_metadata_section(const std::string& path) {
    bounded_file file(path);
    for (const section_reader reader : readers) {
        if (std::optional<std::string> section = reader(file, ".qorrt", section_size_limit)) {
            return section;
        }
    }
    return std::nullopt;
}

std::vector<metadata_entry> parse_metadata(std::string_view section) {
    std::vector<metadata_entry> entries;
    std::string_view rest = section.substr(0, section.find('\0'));
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        const std::size_t equals = line.find('=');
        if (equals != std::string_view::npos) {
            entries.push_back({std::string(line.substr(0, equals)), std::string(line.substr(equals + 1))});
        }
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
    return entries;
}

} // namespace qor::runtime
