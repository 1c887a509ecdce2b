// What the dynamic linker reads of a shared library, taken from the file: exported symbols, SONAME, RUNPATH; and the
// content of a section.
#ifndef TESTS_SUPPORT_ELF_FILE_HPP
#define TESTS_SUPPORT_ELF_FILE_HPP

#include <elf.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace tavi::test {

class elf_file {
public:
    explicit elf_file(const std::filesystem::path& path) {
        bytes_.resize(std::filesystem::file_size(path));
        std::ifstream(path, std::ios::binary).read(bytes_.data(), static_cast<std::streamsize>(bytes_.size()));
        const auto header = at<Elf64_Ehdr>(0);
        for (unsigned i = 0; i < header.e_shnum; ++i) {
            sections_.push_back(at<Elf64_Shdr>(header.e_shoff + i * sizeof(Elf64_Shdr)));
        }
        names_ = sections_.at(header.e_shstrndx).sh_offset;
    }

    // The defined symbols that other libraries can bind to, without version nodes.
    std::set<std::string> exported_symbols() const {
        std::set<std::string> symbols;
        for (const Elf64_Shdr& section : sections_) {
            for (std::size_t at_byte = 0; section.sh_type == SHT_DYNSYM && at_byte < section.sh_size;
                 at_byte += sizeof(Elf64_Sym)) {
                const auto symbol = at<Elf64_Sym>(section.sh_offset + at_byte);
                if (symbol.st_shndx != SHN_UNDEF && symbol.st_shndx != SHN_ABS &&
                    ELF64_ST_BIND(symbol.st_info) != STB_LOCAL) {
                    symbols.insert(text(sections_.at(section.sh_link).sh_offset + symbol.st_name));
                }
            }
        }
        return symbols;
    }

    std::string soname() const { return dynamic_text(DT_SONAME); }
    std::string runpath() const { return dynamic_text(DT_RUNPATH); }

    // Empty when there is no such section.
    std::string section(const std::string& name) const {
        for (const Elf64_Shdr& section : sections_) {
            if (text(names_ + section.sh_name) == name) {
                return bytes_.substr(section.sh_offset, section.sh_size);
            }
        }
        return {};
    }

private:
    template<typename Record>
    Record at(std::size_t offset) const {
        if (offset + sizeof(Record) > bytes_.size()) {
            throw std::runtime_error("not a whole 64-bit ELF file");
        }
        Record record;
        std::memcpy(&record, bytes_.data() + offset, sizeof(Record));
        return record;
    }
    std::string text(std::size_t offset) const { return bytes_.c_str() + offset; }

    std::string dynamic_text(Elf64_Sxword tag) const {
        for (const Elf64_Shdr& section : sections_) {
            for (std::size_t at_byte = 0; section.sh_type == SHT_DYNAMIC && at_byte < section.sh_size;
                 at_byte += sizeof(Elf64_Dyn)) {
                const auto entry = at<Elf64_Dyn>(section.sh_offset + at_byte);
                if (entry.d_tag == tag) {
                    return text(sections_.at(section.sh_link).sh_offset + entry.d_un.d_val);
                }
            }
        }
        return {};
    }

    std::string bytes_;
    std::vector<Elf64_Shdr> sections_;
    std::size_t names_ = 0;
};

} // namespace tavi::test

#endif
