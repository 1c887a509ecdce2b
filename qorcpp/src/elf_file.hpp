// Shared objects in ELF form, 32- or 64-bit, of either byte order, read without loading them.
#ifndef QORCPP_ELF_FILE_HPP
#define QORCPP_ELF_FILE_HPP

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "bounded_file.hpp"

namespace qor::runtime {

struct elf_layout;

// All operations throw std::system_error when the file cannot be read.
class elf_file {
public:
    // Throws: unusable_file for a file of another form. Requires: `file` outlives the object.
    explicit elf_file(bounded_file& file);

    // Throws: unusable_file "cut short: ..." when a segment that the loader maps is beyond the end of the file.
    // Access to such a mapping ends the process.
    void check_segments();

    // The bytes of the first section called `name`, empty when there is none.
    // Throws: unusable_file for a file that is cut short or damaged, or a section larger than `size_limit`.
    std::optional<std::string> read_section(std::string_view name, std::size_t size_limit);

private:
    using header_bytes = std::array<unsigned char, 64>;

    struct section_header {
        std::uint64_t name;
        std::uint64_t type;
        std::uint64_t flags;
        std::uint64_t offset;
        std::uint64_t size;
        std::uint64_t link;
    };

    std::uint64_t number(const header_bytes& bytes, std::size_t offset, std::size_t size) const;
    std::uint64_t word(std::size_t offset) const;
    std::uint64_t half(std::size_t offset) const;
    void check_extent(std::uint64_t offset, std::uint64_t size) const;
    void read(std::uint64_t offset, void* buffer, std::size_t size);
    void open_section_table();
    section_header section(std::uint64_t index);
    bool has_name(const section_header& section, std::string_view name);

    bounded_file& file_;
    const elf_layout* layout_ = nullptr;
    bool big_endian_ = false;
    header_bytes header_ = {};
    std::uint64_t table_offset_ = 0;
    std::uint64_t section_count_ = 0;
    section_header names_ = {};
};

} // namespace qor::runtime

#endif
