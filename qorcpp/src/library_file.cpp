#include "library_file.hpp"

#include <optional>
#include <utility>

#include "elf_file.hpp"
#include "unusable_file.hpp"

namespace qor::runtime {

namespace {

// A block is 596 bytes.
constexpr std::size_t section_size_limit = 65536;

} // namespace

std::string read_library_metadata(const std::string& path) {
    bounded_file file(path);
    elf_file library(file);
    std::optional<std::string> section = library.read_section(".qorrt", section_size_limit);
    library.check_segments();
    if (!section) {
        throw library_without_metadata("no metadata block (section .qorrt)");
    }
    return std::move(*section);
}

void check_library_is_whole(const std::string& path) {
    std::optional<bounded_file> file;
    std::optional<elf_file> library;
    try {
        file.emplace(path);
        library.emplace(*file);
    } catch (const unusable_file&) {
        return; // the loader has better words for a file that is missing or of another form
    }
    try {
        library->check_segments();
    } catch (const unusable_file& reason) {
        throw std::runtime_error("cannot load '" + path + "': " + reason.what());
    }
}

} // namespace qor::runtime
