#include "qorcpp/metadata_section.hpp"

#include <algorithm>
#include <system_error>

#include "library_file.hpp"
#include "unusable_file.hpp"

namespace qor::runtime {

std::optional<std::string> read_metadata_section(const std::string& path) {
    try {
        return read_library_metadata(path);
    } catch (const unusable_file&) {
        return std::nullopt;
    } catch (const std::system_error&) {
        return std::nullopt;
    }
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
