#include <gtest/gtest.h>

#include <elf.h>

#include <cstring>
#include <fstream>
#include <random>

#include "qorc/metadata.h"
#include "qorcpp/metadata_section.hpp"
#include "tests/support/temporary_directory.hpp"

namespace {

using qor::runtime::read_metadata_section;

std::string parsed(std::string_view section) {
    std::string text;
    for (const auto& [key, value] : qor::runtime::parse_metadata(section)) {
        text += '[' + key + "][" + value + ']';
    }
    return text;
}

const std::string content = "qor-library-type=x";

// A library of names, our section and nothing else; `change` gets its headers before they are written.
template<typename FileHeader, typename SectionHeader, typename Change>
std::string make_library(unsigned char file_class, bool big_endian, Change change) {
    const auto set = [&]<typename T>(T& place, std::uint64_t value) {
        auto* const bytes = reinterpret_cast<unsigned char*>(&place);
        for (std::size_t i = 0; i < sizeof(T); ++i) {
            bytes[big_endian ? sizeof(T) - 1 - i : i] = static_cast<unsigned char>(value >> (8 * i));
        }
    };
    const std::string names("\0.qorrt\0.names\0", 15);
    FileHeader file = {};
    std::memcpy(file.e_ident, ELFMAG, SELFMAG);
    file.e_ident[EI_CLASS] = file_class;
    file.e_ident[EI_DATA] = big_endian ? ELFDATA2MSB : ELFDATA2LSB;
    set(file.e_type, ET_DYN);
    set(file.e_shoff, sizeof(FileHeader) + names.size() + content.size());
    set(file.e_shentsize, sizeof(SectionHeader));
    set(file.e_shnum, 3);
    set(file.e_shstrndx, 1);
    SectionHeader sections[3] = {};
    const auto describe = [&](SectionHeader& section, std::size_t name, unsigned type, std::size_t at,
                              std::size_t size) {
        set(section.sh_name, name);
        set(section.sh_type, type);
        set(section.sh_offset, sizeof(FileHeader) + at);
        set(section.sh_size, size);
    };
    describe(sections[1], 8, SHT_STRTAB, 0, names.size());
    describe(sections[2], 1, SHT_PROGBITS, names.size(), content.size());
    change(file, sections);
    return std::string(reinterpret_cast<const char*>(&file), sizeof(file)) + names + content +
           std::string(reinterpret_cast<const char*>(sections), sizeof(sections));
}

const auto no_change = [](auto&, auto*) {};
const std::string library = make_library<Elf64_Ehdr, Elf64_Shdr>(ELFCLASS64, false, no_change);

class metadata_section : public testing::Test {
protected:
    // What the reader makes of a file with these bytes.
    std::optional<std::string> read(const std::string& bytes) const {
        const std::string path = (directory.path() / "libx.so").string();
        std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return read_metadata_section(path);
    }
    tavi::test::temporary_directory directory;
};

TEST_F(metadata_section, is_read_for_both_word_sizes_and_byte_orders) {
    for (const bool big_endian : {false, true}) {
        EXPECT_EQ(read(make_library<Elf64_Ehdr, Elf64_Shdr>(ELFCLASS64, big_endian, no_change)), content);
        EXPECT_EQ(read(make_library<Elf32_Ehdr, Elf32_Shdr>(ELFCLASS32, big_endian, no_change)), content);
    }
    const std::optional<std::string> built = read_metadata_section(PROBE_FILE);
    ASSERT_EQ(built.value_or("").size(), std::size_t{QOR_METADATA_SIZE});
    EXPECT_TRUE(parsed(*built).ends_with("[qor-product-version][9.8.7-01234567][qor-library-type][data-matcher]"));
}

TEST(metadata_text, is_parsed_line_by_line_up_to_the_first_zero) {
    EXPECT_EQ(parsed(std::string_view("a=1\n\nno sign\nb=x=y\n=\r\nc=\0d=1", 30)), "[a][1][b][x=y][][\r][c][]");
    EXPECT_EQ(parsed(""), "");
}

// As long as a byte is missing, there is no section; when it says something, it says the truth.
TEST_F(metadata_section, a_library_cut_short_is_passed_over) {
    for (std::size_t length = 0; length < library.size(); ++length) {
        EXPECT_FALSE(read(library.substr(0, length))) << length;
    }
    EXPECT_EQ(read(library + std::string(3, '\0')), content);
}

// Damage of the parts that lead to the section. Each is a change of one field.
TEST_F(metadata_section, a_damaged_library_is_passed_over) {
    using change = void (*)(Elf64_Ehdr & file, Elf64_Shdr * sections);
    const std::pair<const char*, change> cases[] = {
        {"magic", [](auto& h, auto*) { h.e_ident[EI_MAG3] = 'G'; }},
        {"class", [](auto& h, auto*) { h.e_ident[EI_CLASS] = 3; }},
        {"byte order", [](auto& h, auto*) { h.e_ident[EI_DATA] = 0; }},
        {"object file", [](auto& h, auto*) { h.e_type = ET_REL; }},
        {"no section table", [](auto& h, auto*) { h.e_shoff = 0; }},
        {"table far away", [](auto& h, auto*) { h.e_shoff = UINT64_MAX - 63; }},
        {"no sections", [](auto& h, auto*) { h.e_shnum = 0; }},
        {"too many sections", [](auto& h, auto*) { h.e_shnum = 0xFFFE; }},
        {"entries too small", [](auto& h, auto*) { h.e_shentsize = 8; }},
        {"names beyond the table", [](auto& h, auto*) { h.e_shstrndx = 0xFFF0; }},
        {"names in section 0", [](auto& h, auto*) { h.e_shstrndx = 0; }},
        {"names elsewhere, beyond the table", [](auto& h, auto*) { h.e_shstrndx = SHN_XINDEX; }},
        {"names cut", [](auto&, auto* s) { s[1].sh_size = 7; }},
        {"names without bytes", [](auto&, auto* s) { s[1].sh_type = SHT_NOBITS; }},
        {"section beyond the end", [](auto&, auto* s) { s[2].sh_offset += 3 * sizeof(Elf64_Shdr) + 1; }},
        {"section endless", [](auto&, auto* s) { s[2].sh_size = UINT64_MAX; }},
        {"section without bytes", [](auto&, auto* s) { s[2].sh_type = SHT_NOBITS; }},
        {"section compressed", [](auto&, auto* s) { s[2].sh_flags |= SHF_COMPRESSED; }},
        {"section name beyond the table", [](auto&, auto* s) { s[2].sh_name = UINT32_MAX; }},
    };
    for (const auto& [what, damage] : cases) {
        const std::string bytes = make_library<Elf64_Ehdr, Elf64_Shdr>(ELFCLASS64, false, damage);
        EXPECT_FALSE(read(bytes)) << what;
    }
    const auto enlarge = [](auto&, auto* s) { s[2].sh_size = 65537; }; // more than any block has
    EXPECT_FALSE(read(make_library<Elf64_Ehdr, Elf64_Shdr>(ELFCLASS64, false, enlarge) + std::string(70000, 'x')));
    // Counts that stand in section 0 because they are too large for the file header.
    const auto move_counts = [](auto& h, auto* s) {
        s[0].sh_size = std::exchange(h.e_shnum, 0);
        s[0].sh_link = std::exchange(h.e_shstrndx, SHN_XINDEX);
    };
    EXPECT_EQ(read(make_library<Elf64_Ehdr, Elf64_Shdr>(ELFCLASS64, false, move_counts)), content);
}

// Any answer will do; sanitizers watch for reads and sizes that go astray.
TEST_F(metadata_section, survives_random_damage) {
    std::mt19937 random(4711);
    const std::string originals[] = {library, make_library<Elf32_Ehdr, Elf32_Shdr>(ELFCLASS32, true, no_change)};
    for (int round = 0; round < 4000; ++round) {
        std::string bytes = originals[round % 2];
        for (unsigned damage = random() % 8 + 1; damage > 0; --damage) {
            bytes[random() % bytes.size()] = static_cast<char>(random() % 2 == 0 ? 0xFF : random());
        }
        ASSERT_LE(read(bytes).value_or("").size(), bytes.size());
    }
}

} // namespace
