// The way to a section: file header -> table of section headers -> the header that names the string table -> each
// header's name there -> the header of that name -> its bytes. Every step reads through bounded_file, so that offsets
// and sizes may be anything.
#include "elf_section.hpp"

#include <algorithm>
#include <array>

namespace qor::runtime {

namespace {

constexpr std::size_t ident_size = 16;
constexpr unsigned char class_32 = 1;
constexpr unsigned char class_64 = 2;
constexpr unsigned char little_endian = 1;
constexpr unsigned char big_endian = 2;
constexpr std::uint64_t type_shared_object = 3;
constexpr std::uint64_t section_without_bytes = 8;
constexpr std::uint64_t flag_compressed = 0x800;
constexpr std::uint64_t index_stands_elsewhere = 0xFFFF;
// Libraries have some dozens; a damaged count shall not keep us busy.
constexpr std::uint64_t most_sections = 65536;

// Where the fields stand, for one word size.
struct elf_layout {
    std::size_t word;
    std::size_t file_header_size;
    std::size_t section_table_offset;
    std::size_t entry_size;
    std::size_t entry_count;
    std::size_t string_table_index;
    std::size_t section_header_size;
    std::size_t section_flags;
    std::size_t section_offset;
    std::size_t section_size;
    std::size_t section_link;
};

constexpr elf_layout layout_32 = {4, 52, 32, 46, 48, 50, 40, 8, 16, 20, 24};
constexpr elf_layout layout_64 = {8, 64, 40, 58, 60, 62, 64, 8, 24, 32, 40};
constexpr std::size_t file_type_field = 16;
constexpr std::size_t section_type_field = 4;

using header_bytes = std::array<unsigned char, 64>;

struct section_header {
    std::uint64_t name;
    std::uint64_t type;
    std::uint64_t flags;
    std::uint64_t offset;
    std::uint64_t size;
    std::uint64_t link;
};

class elf_file {
public:
    explicit elf_file(bounded_file& file) : file_(file) {}

    // False for anything but a shared object whose section table lies within the file.
    bool open();

    std::optional<section_header> find_section(std::string_view name);

private:
    std::uint64_t number(const header_bytes& bytes, std::size_t offset, std::size_t size) const;
    std::optional<section_header> section(std::uint64_t index);
    bool has_name(const section_header& section, std::string_view name);

    bounded_file& file_;
    const elf_layout* layout_ = nullptr;
    bool big_endian_ = false;
    std::uint64_t table_offset_ = 0;
    std::uint64_t section_count_ = 0;
    section_header names_ = {};
};

std::uint64_t elf_file::number(const header_bytes& bytes, std::size_t offset, std::size_t size) const {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        value = value << 8 | bytes[offset + (big_endian_ ? i : size - 1 - i)];
    }
    return value;
}

bool elf_file::open() {
    header_bytes header = {};
    if (!file_.read(0, header.data(), ident_size) || header[0] != 0x7F || header[1] != 'E' || header[2] != 'L' ||
        header[3] != 'F') {
        return false;
    }
    if ((header[4] != class_32 && header[4] != class_64) || (header[5] != little_endian && header[5] != big_endian)) {
        return false;
    }
    layout_ = header[4] == class_64 ? &layout_64 : &layout_32;
    big_endian_ = header[5] == big_endian;
    if (!file_.read(0, header.data(), layout_->file_header_size) ||
        number(header, file_type_field, 2) != type_shared_object ||
        number(header, layout_->entry_size, 2) != layout_->section_header_size) {
        return false;
    }
    table_offset_ = number(header, layout_->section_table_offset, layout_->word);
    section_count_ = number(header, layout_->entry_count, 2);
    std::uint64_t names_index = number(header, layout_->string_table_index, 2);
    // Numbers too large for the file header stand in the header of section 0.
    if (section_count_ == 0 || names_index == index_stands_elsewhere) {
        const std::uint64_t counted = section_count_;
        section_count_ = 1;
        const std::optional<section_header> first = section(0);
        if (!first) {
            return false;
        }
        section_count_ = counted == 0 ? first->size : counted;
        names_index = names_index == index_stands_elsewhere ? first->link : names_index;
    }
    if (section_count_ > most_sections || table_offset_ > file_.size() ||
        section_count_ > (file_.size() - table_offset_) / layout_->section_header_size) {
        return false;
    }
    const std::optional<section_header> names = section(names_index);
    if (!names || names->type == section_without_bytes) {
        return false;
    }
    names_ = *names;
    return true;
}

std::optional<section_header> elf_file::section(std::uint64_t index) {
    if (index >= section_count_ || table_offset_ == 0) {
        return std::nullopt;
    }
    header_bytes bytes = {};
    if (!file_.read(table_offset_ + index * layout_->section_header_size, bytes.data(), layout_->section_header_size)) {
        return std::nullopt;
    }
    return section_header{number(bytes, 0, 4),
                          number(bytes, section_type_field, 4),
                          number(bytes, layout_->section_flags, layout_->word),
                          number(bytes, layout_->section_offset, layout_->word),
                          number(bytes, layout_->section_size, layout_->word),
                          number(bytes, layout_->section_link, 4)};
}

bool elf_file::has_name(const section_header& section, std::string_view name) {
    std::string stored(name.size() + 1, '\0');
    if (section.name >= names_.size || stored.size() > names_.size - section.name || names_.offset > file_.size()) {
        return false;
    }
    return file_.read(names_.offset + section.name, stored.data(), stored.size()) && stored.back() == '\0' &&
           std::string_view(stored).substr(0, name.size()) == name;
}

std::optional<section_header> elf_file::find_section(std::string_view name) {
    for (std::uint64_t i = 0; i < section_count_; ++i) {
        const std::optional<section_header> candidate = section(i);
        if (!candidate) {
            return std::nullopt;
        }
        if (has_name(*candidate, name)) {
            return candidate;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> read_elf_section(bounded_file& file, std::string_view name, std::size_t size_limit) {
    elf_file elf(file);
    if (!elf.open()) {
        return std::nullopt;
    }
    const std::optional<section_header> found = elf.find_section(name);
    if (!found || found->type == section_without_bytes || (found->flags & flag_compressed) != 0 ||
        found->size > std::min<std::uint64_t>(size_limit, file.size())) {
        return std::nullopt;
    }
    std::string bytes(static_cast<std::size_t>(found->size), '\0');
    if (!file.read(found->offset, bytes.data(), bytes.size())) {
        return std::nullopt;
    }
    return bytes;
}

} // namespace qor::runtime
