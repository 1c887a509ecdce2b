// The way to a section: file header -> table of section headers -> the header that names the string table -> each
// header's name there -> the header of that name -> its bytes. The way to the segments: file header -> table of program
// headers. Every step reads through bounded_file, so that offsets and sizes may have any value.
//
// Example: of a library of 700,000 bytes that a full disk cut to 20,000, file header and program headers are there. The
// program header of the code says offset 0x5000, size 0x60000: 20,480 + 393,216 bytes are more than 20,000.
#include "elf_file.hpp"

#include <algorithm>
#include <limits>
#include <utility>

#include "unusable_file.hpp"

namespace qor::runtime {

// The offsets of the fields, for one word size.
struct elf_layout {
    std::size_t word;
    std::size_t file_header_size;
    std::size_t program_table_offset;
    std::size_t program_entry_size;
    std::size_t program_entry_count;
    std::size_t section_table_offset;
    std::size_t section_entry_size;
    std::size_t section_entry_count;
    std::size_t string_table_index;
    std::size_t program_header_size;
    std::size_t segment_offset;
    std::size_t segment_file_size;
    std::size_t section_header_size;
    std::size_t section_flags;
    std::size_t section_offset;
    std::size_t section_size;
    std::size_t section_link;
};

namespace {

constexpr elf_layout layout_32 = {4, 52, 28, 42, 44, 32, 46, 48, 50, 32, 4, 16, 40, 8, 16, 20, 24};
constexpr elf_layout layout_64 = {8, 64, 32, 54, 56, 40, 58, 60, 62, 56, 8, 32, 64, 8, 24, 32, 40};

constexpr std::size_t ident_size = 16;
constexpr unsigned char class_32 = 1;
constexpr unsigned char class_64 = 2;
constexpr unsigned char little_endian = 1;
constexpr unsigned char big_endian = 2;
constexpr std::size_t file_type_field = 16;
constexpr std::uint64_t type_shared_object = 3;
constexpr std::uint64_t segment_to_load = 1;
constexpr std::size_t section_type_field = 4;
constexpr std::uint64_t section_without_bytes = 8;
constexpr std::uint64_t flag_compressed = 0x800;
constexpr std::uint64_t index_in_section_0 = 0xFFFF;
// Libraries have some dozens. The limit keeps a damaged count from costing time.
constexpr std::uint64_t most_sections = 65536;

[[noreturn]] void throw_other_form() {
    throw unusable_file("not a shared library");
}

[[noreturn]] void throw_damaged(const char* what) {
    throw unusable_file(std::string("damaged: ") + what);
}

} // namespace

elf_file::elf_file(bounded_file& file) : file_(file) {
    if (!file_.read(0, header_.data(), ident_size) || header_[0] != 0x7F || header_[1] != 'E' || header_[2] != 'L' ||
        header_[3] != 'F') {
        throw_other_form();
    }
    if ((header_[4] != class_32 && header_[4] != class_64) ||
        (header_[5] != little_endian && header_[5] != big_endian)) {
        throw_other_form();
    }
    layout_ = header_[4] == class_64 ? &layout_64 : &layout_32;
    big_endian_ = header_[5] == big_endian;
    read(0, header_.data(), layout_->file_header_size);
    if (half(file_type_field) != type_shared_object) {
        throw_other_form();
    }
}

std::uint64_t elf_file::number(const header_bytes& bytes, std::size_t offset, std::size_t size) const {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        value = value << 8 | bytes[offset + (big_endian_ ? i : size - 1 - i)];
    }
    return value;
}

// Fields of the file header.
std::uint64_t elf_file::word(std::size_t offset) const {
    return number(header_, offset, layout_->word);
}

std::uint64_t elf_file::half(std::size_t offset) const {
    return number(header_, offset, 2);
}

void elf_file::check_extent(std::uint64_t offset, std::uint64_t size) const {
    if (offset <= file_.size() && size <= file_.size() - offset) {
        return;
    }
    const std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    const std::uint64_t end = size <= most - offset ? offset + size : most;
    throw unusable_file("cut short: its headers describe " + std::to_string(end) + " bytes, it has " +
                        std::to_string(file_.size()));
}

void elf_file::read(std::uint64_t offset, void* buffer, std::size_t size) {
    check_extent(offset, size);
    if (!file_.read(offset, buffer, size)) {
        throw unusable_file("cut short while it was read");
    }
}

void elf_file::check_segments() {
    const std::uint64_t count = half(layout_->program_entry_count);
    if (count == 0) {
        return;
    }
    if (half(layout_->program_entry_size) != layout_->program_header_size) {
        throw_damaged("the entries of its program header table have an unknown size");
    }
    const std::uint64_t table = word(layout_->program_table_offset);
    check_extent(table, count * layout_->program_header_size);
    for (std::uint64_t index = 0; index < count; ++index) {
        header_bytes bytes = {};
        read(table + index * layout_->program_header_size, bytes.data(), layout_->program_header_size);
        if (number(bytes, 0, 4) == segment_to_load) {
            check_extent(number(bytes, layout_->segment_offset, layout_->word),
                         number(bytes, layout_->segment_file_size, layout_->word));
        }
    }
}

void elf_file::open_section_table() {
    table_offset_ = word(layout_->section_table_offset);
    section_count_ = half(layout_->section_entry_count);
    std::uint64_t names_index = half(layout_->string_table_index);
    if (table_offset_ == 0) {
        section_count_ = 0;
        return;
    }
    if (half(layout_->section_entry_size) != layout_->section_header_size) {
        throw_damaged("the entries of its section table have an unknown size");
    }
    // Numbers too large for the file header are in the header of section 0.
    if (section_count_ == 0 || names_index == index_in_section_0) {
        const std::uint64_t counted = std::exchange(section_count_, 1);
        const section_header first = section(0);
        section_count_ = counted == 0 ? first.size : counted;
        names_index = names_index == index_in_section_0 ? first.link : names_index;
    }
    if (section_count_ > most_sections) {
        throw_damaged("it has too many sections");
    }
    check_extent(table_offset_, section_count_ * layout_->section_header_size);
    names_ = section(names_index);
    if (names_.type == section_without_bytes) {
        throw_damaged("its sections have no names");
    }
}

elf_file::section_header elf_file::section(std::uint64_t index) {
    if (index >= section_count_) {
        throw_damaged("a section is beyond the end of the section table");
    }
    header_bytes bytes = {};
    read(table_offset_ + index * layout_->section_header_size, bytes.data(), layout_->section_header_size);
    return section_header{number(bytes, 0, 4),
                          number(bytes, section_type_field, 4),
                          number(bytes, layout_->section_flags, layout_->word),
                          number(bytes, layout_->section_offset, layout_->word),
                          number(bytes, layout_->section_size, layout_->word),
                          number(bytes, layout_->section_link, 4)};
}

bool elf_file::has_name(const section_header& section, std::string_view name) {
    const std::size_t size = name.size() + 1;
    if (section.name >= names_.size || size > names_.size - section.name) {
        return false;
    }
    std::string stored(size, '\0');
    check_extent(names_.offset, names_.size);
    read(names_.offset + section.name, stored.data(), size);
    return stored.back() == '\0' && stored.starts_with(name);
}

std::optional<std::string> elf_file::read_section(std::string_view name, std::size_t size_limit) {
    open_section_table();
    for (std::uint64_t index = 0; index < section_count_; ++index) {
        const section_header found = section(index);
        if (!has_name(found, name)) {
            continue;
        }
        if (found.type == section_without_bytes || (found.flags & flag_compressed) != 0 || found.size > size_limit) {
            throw_damaged("its section has no bytes, is compressed or too large");
        }
        std::string bytes(static_cast<std::size_t>(found.size), '\0');
        read(found.offset, bytes.data(), bytes.size());
        return bytes;
    }
    return std::nullopt;
}

} // namespace qor::runtime
