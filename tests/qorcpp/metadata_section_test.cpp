#include <gtest/gtest.h>

#include <elf.h>

#include <cstring>
#include <fstream>
#include <random>

#include "qorc/metadata.h"
#include "qorcpp/metadata_section.hpp"
#include "tests/support/temporary_directory.hpp"

namespace {

using qor::runtime::parse_metadata;
using qor::runtime::read_metadata_section;

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
    set(sections[1].sh_name, 8);
    set(sections[1].sh_type, SHT_STRTAB);
    set(sections[1].sh_offset, sizeof(FileHeader));
    set(sections[1].sh_size, names.size());
    set(sections[2].sh_name, 1);
    set(sections[2].sh_type, SHT_PROGBITS);
    set(sections[2].sh_offset, sizeof(FileHeader) + names.size());
    set(sections[2].sh_size, content.size());
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
    const auto entries = parse_metadata(*built);
    ASSERT_EQ(entries.size(), 10u);
    EXPECT_EQ(entries[0].key + '=' + entries[0].value, "qor-meta=nddictionary");
    EXPECT_EQ(entries[8].key + '=' + entries[8].value, "qor-product-version=9.8.7-01234567");
    EXPECT_EQ(entries[9].key + '=' + entries[9].value, "qor-library-type=data-matcher");
}

TEST(metadata_text, is_parsed_line_by_line_up_to_the_first_zero) {
    std::string parsed;
    for (const auto& [key, value] : parse_metadata(std::string_view("a=1\n\nno sign\nb=x=y\n=\r\nc=\0d=1", 30))) {
        parsed += '[' + key + "][" + value + ']';
    }
    EXPECT_EQ(parsed, "[a][1][b][x=y][][\r][c][]");
    EXPECT_TRUE(parse_metadata("").empty());
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
        {"other class", [](auto& h, auto*) { h.e_ident[EI_CLASS] = ELFCLASS32; }},
        {"byte order", [](auto& h, auto*) { h.e_ident[EI_DATA] = 0; }},
        {"other byte order", [](auto& h, auto*) { h.e_ident[EI_DATA] = ELFDATA2MSB; }},
        {"object file", [](auto& h, auto*) { h.e_type = ET_REL; }},
        {"no section table", [](auto& h, auto*) { h.e_shoff = 0; }},
        {"table far away", [](auto& h, auto*) { h.e_shoff = UINT64_MAX - 63; }},
        {"table at the end", [](auto& h, auto*) { h.e_shoff += 3 * sizeof(Elf64_Shdr); }},
        {"no sections", [](auto& h, auto*) { h.e_shnum = 0; }},
        {"too many sections", [](auto& h, auto*) { h.e_shnum = 0xFFFE; }},
        {"entries too small", [](auto& h, auto*) { h.e_shentsize = 8; }},
        {"entries of no size", [](auto& h, auto*) { h.e_shentsize = 0; }},
        {"names beyond the table", [](auto& h, auto*) { h.e_shstrndx = 0xFFF0; }},
        {"names in section 0", [](auto& h, auto*) { h.e_shstrndx = 0; }},
        {"names elsewhere, beyond the table", [](auto& h, auto*) { h.e_shstrndx = SHN_XINDEX; }},
        {"names far away", [](auto&, auto* s) { s[1].sh_offset = UINT64_MAX - 4; }},
        {"names cut", [](auto&, auto* s) { s[1].sh_size = 4; }},
        {"names without bytes", [](auto&, auto* s) { s[1].sh_type = SHT_NOBITS; }},
        {"section far away", [](auto&, auto* s) { s[2].sh_offset = UINT64_MAX - 16; }},
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
    const std::string large =
        make_library<Elf64_Ehdr, Elf64_Shdr>(ELFCLASS64, false, [](auto&, auto* s) { s[2].sh_size = 65537; });
    EXPECT_FALSE(read(large + std::string(70000, 'x'))) << "section larger than any block";
    // Counts that stand in section 0 because they are too large for the file header.
    const auto move_counts = [](auto& h, auto* s) {
        s[0].sh_size = std::exchange(h.e_shnum, 0);
        s[0].sh_link = std::exchange(h.e_shstrndx, SHN_XINDEX);
    };
    EXPECT_EQ(read(make_library<Elf64_Ehdr, Elf64_Shdr>(ELFCLASS64, false, move_counts)), content);
}

// Random bytes in random places of small libraries, where nearly each byte counts: any answer will do, sanitizers
// watch for reads and sizes that go astray.
TEST_F(metadata_section, survives_random_damage) {
    std::mt19937 random(4711);
    const std::string originals[] = {library, make_library<Elf32_Ehdr, Elf32_Shdr>(ELFCLASS32, true, no_change)};
    for (int round = 0; round < 4000; ++round) {
        std::string bytes = originals[round % 2];
        for (unsigned damage = random() % 8 + 1; damage > 0; --damage) {
            const unsigned kind = random() % 3;
            bytes[random() % bytes.size()] = static_cast<char>(kind == 0 ? 0xFF : kind == 1 ? 0 : random());
        }
        if (random() % 4 == 0) {
            bytes.resize(random() % bytes.size());
        }
        ASSERT_LE(read(bytes).value_or("").size(), bytes.size());
    }
}

} // namespace
