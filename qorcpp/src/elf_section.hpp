// Sections of ELF files.
#ifndef QORCPP_ELF_SECTION_HPP
#define QORCPP_ELF_SECTION_HPP

#include <optional>
#include <string>
#include <string_view>

#include "bounded_file.hpp"

namespace qor::runtime {

// The bytes of the first section called `name` of a shared object, 32- or 64-bit, of either byte order. Empty when
// `file` is something else, has no such section, is damaged, or the section is larger than `size_limit`.
std::optional<std::string> read_elf_section(bounded_file& file, std::string_view name, std::size_t size_limit);

} // namespace qor::runtime

#endif
