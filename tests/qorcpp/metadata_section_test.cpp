#include <gtest/gtest.h>

#include <dlfcn.h>

#include <elf.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <set>

#include "qorc/metadata.h"
#include "qorcpp/metadata_section.hpp"
#include "tests/support/temporary_directory.hpp"

namespace {

using qor::runtime::metadata_entry;
using qor::runtime::parse_metadata;
using qor::runtime::read_metadata_section;

std::string bytes_of(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

template<typename Record>
Record at(const std::string& bytes, std::size_t offset) {
    Record record;
    std::memcpy(&record, bytes.data() + offset, sizeof(Record));
    return record;
}

template<typename Record>
void put(std::string& bytes, std::size_t offset, const Record& record) {
    std::memcpy(bytes.data() + offset, &record, sizeof(Record));
}

class metadata_section : public testing::Test {
protected:
    // What the reader makes of a file with these bytes.
    std::optional<std::string> read(const std::string& bytes) {
        const std::string path = (directory.path() / "libx.so").string();
        std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return read_metadata_section(path);
    }

    // The file offset of the section header of `name`.
    std::size_t header_of(const std::string& name) const {
        const auto names = at<Elf64_Shdr>(library, header.e_shoff + header.e_shstrndx * sizeof(Elf64_Shdr));
        for (unsigned i = 0; i < header.e_shnum; ++i) {
            const std::size_t offset = header.e_shoff + i * sizeof(Elf64_Shdr);
            if (name == library.c_str() + names.sh_offset + at<Elf64_Shdr>(library, offset).sh_name) {
                return offset;
            }
        }
        return 0;
    }

    tavi::test::temporary_directory directory;
    const std::string library = bytes_of(PROBE_FILE);
    const Elf64_Ehdr header = at<Elf64_Ehdr>(library, 0);
};

TEST_F(metadata_section, holds_what_the_loaded_library_says) {
    const std::optional<std::string> section = read_metadata_section(PROBE_FILE);
    ASSERT_TRUE(section);
    ASSERT_EQ(section->size(), std::size_t{QOR_METADATA_SIZE});
    void* const loaded = dlopen(PROBE_FILE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(loaded, nullptr);
    const auto query = reinterpret_cast<const char* (*)()>(dlsym(loaded, "qor_runtime_query_metadata"));
    EXPECT_EQ(std::memcmp(query(), section->data(), section->size()), 0);
    dlclose(loaded);
    const char* const keys[] = {
        "qor-meta",   "qor-sdk-version", "build-configuration", "build-platform",      "build-architecture",
        "build-date", "compiler",        "compiler-version",    "qor-product-version", "qor-library-type"};
    const std::vector<metadata_entry> entries = parse_metadata(*section);
    ASSERT_EQ(entries.size(), std::size(keys));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        EXPECT_EQ(entries[i].key, keys[i]);
        EXPECT_FALSE(entries[i].value.empty()) << keys[i];
    }
    EXPECT_EQ(entries[0].value, "nddictionary");
    EXPECT_EQ(entries[8].value, "9.8.7-01234567");
    EXPECT_EQ(entries[9].value, "data-matcher");
    const std::string text = section->c_str();
    EXPECT_EQ(text.substr(text.rfind('\n') + 1), "qor-library-type=data-matcher")
        << "no line feed behind the last line";
    EXPECT_EQ(section->find_first_not_of('\0', text.size()), std::string::npos) << "zero up to the end";
}

TEST(metadata_text, is_parsed_line_by_line_up_to_the_first_zero) {
    const auto entries = parse_metadata(std::string_view("a=1\n\nno sign\nb=x=y\n=\r\nc=\0d=1", 30));
    const std::vector<std::pair<std::string, std::string>> expected = {{"a", "1"}, {"b", "x=y"}, {"", "\r"}, {"c", ""}};
    ASSERT_EQ(entries.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(entries[i].key, expected[i].first);
        EXPECT_EQ(entries[i].value, expected[i].second);
    }
    EXPECT_TRUE(parse_metadata("").empty());
}

// Cut behind each byte of the headers and around each boundary: as long as a byte that the reader needs is missing,
// there is no section; when it says something, it says the truth.
TEST_F(metadata_section, a_library_cut_short_is_passed_over) {
    const std::optional<std::string> whole = read(library);
    ASSERT_TRUE(whole);
    std::set<std::size_t> lengths = {library.size() - 1};
    for (std::size_t length = 0; length <= sizeof(Elf64_Ehdr) + 1; ++length) {
        lengths.insert(length);
    }
    for (unsigned i = 0; i <= header.e_shnum; ++i) {
        const std::size_t boundary = header.e_shoff + i * sizeof(Elf64_Shdr);
        lengths.insert({boundary - 1, boundary, boundary + 1, boundary + 32});
        if (i < header.e_shnum) {
            const auto section = at<Elf64_Shdr>(library, boundary);
            lengths.insert({section.sh_offset, section.sh_offset + 1, section.sh_offset + section.sh_size});
        }
    }
    const std::size_t table_end = header.e_shoff + header.e_shnum * sizeof(Elf64_Shdr);
    for (const std::size_t length : lengths) {
        if (length < table_end) {
            EXPECT_FALSE(read(library.substr(0, length))) << length;
        } else {
            EXPECT_EQ(read(library + std::string(3, '\0')), whole);
        }
    }
}

// Damage of the parts that lead to the section. Each is a change of one field.
TEST_F(metadata_section, a_damaged_library_is_passed_over) {
    const std::size_t own = header_of(".qorrt");
    const std::size_t names = header.e_shoff + header.e_shstrndx * sizeof(Elf64_Shdr);
    ASSERT_NE(own, 0u);
    const auto with = [&](auto change, std::size_t offset, auto record) {
        std::string bytes = library;
        record = at<decltype(record)>(bytes, offset);
        change(record);
        put(bytes, offset, record);
        return bytes;
    };
    const auto file = [&](auto change) { return with(change, 0, Elf64_Ehdr{}); };
    const auto section = [&](std::size_t offset, auto change) { return with(change, offset, Elf64_Shdr{}); };
    const struct {
        const char* what;
        std::string bytes;
    } cases[] = {
        {"magic", file([](auto& h) { h.e_ident[EI_MAG3] = 'G'; })},
        {"class", file([](auto& h) { h.e_ident[EI_CLASS] = 3; })},
        {"other class", file([](auto& h) { h.e_ident[EI_CLASS] = ELFCLASS32; })},
        {"byte order", file([](auto& h) { h.e_ident[EI_DATA] = 0; })},
        {"other byte order", file([](auto& h) { h.e_ident[EI_DATA] = ELFDATA2MSB; })},
        {"object file", file([](auto& h) { h.e_type = ET_REL; })},
        {"core", file([](auto& h) { h.e_type = ET_CORE; })},
        {"no section table", file([](auto& h) { h.e_shoff = 0; })},
        {"table far away", file([](auto& h) { h.e_shoff = UINT64_MAX - 63; })},
        {"table at the end", file([&](auto& h) { h.e_shoff = library.size(); })},
        {"no sections", file([](auto& h) { h.e_shnum = 0; })},
        {"too many sections", file([](auto& h) { h.e_shnum = 0xFFFE; })},
        {"entries too small", file([](auto& h) { h.e_shentsize = 8; })},
        {"entries of no size", file([](auto& h) { h.e_shentsize = 0; })},
        {"names beyond the table", file([](auto& h) { h.e_shstrndx = 0xFFF0; })},
        {"names in section 0", file([](auto& h) { h.e_shstrndx = 0; })},
        {"names elsewhere, beyond the table", file([](auto& h) { h.e_shstrndx = SHN_XINDEX; })},
        {"names far away", section(names, [](auto& s) { s.sh_offset = UINT64_MAX - 4; })},
        {"names cut", section(names, [](auto& s) { s.sh_size = 4; })},
        {"names without bytes", section(names, [](auto& s) { s.sh_type = SHT_NOBITS; })},
        {"section far away", section(own, [](auto& s) { s.sh_offset = UINT64_MAX - 16; })},
        {"section beyond the end", section(own, [&](auto& s) { s.sh_offset = library.size() - 595; })},
        {"section endless", section(own, [](auto& s) { s.sh_size = UINT64_MAX; })},
        {"section larger than any block", section(own, [](auto& s) { s.sh_size = 65537; })},
        {"section without bytes", section(own, [](auto& s) { s.sh_type = SHT_NOBITS; })},
        {"section compressed", section(own, [](auto& s) { s.sh_flags |= SHF_COMPRESSED; })},
        {"section name beyond the table", section(own, [](auto& s) { s.sh_name = UINT32_MAX; })},
    };
    for (const auto& [what, bytes] : cases) {
        EXPECT_FALSE(read(bytes)) << what;
    }
    // Counts that stand in section 0 because they are too large for the file header.
    std::string extended = section(header.e_shoff, [&](auto& s) {
        s.sh_size = header.e_shnum;
        s.sh_link = header.e_shstrndx;
    });
    auto changed = header;
    changed.e_shnum = 0;
    changed.e_shstrndx = SHN_XINDEX;
    put(extended, 0, changed);
    EXPECT_EQ(read(extended), read(library));
}

// A library of one section, in the four forms that there are.
template<typename FileHeader, typename SectionHeader>
std::string small_library(unsigned char file_class, bool big_endian) {
    const auto field = [&]<typename T>(T value) {
        T stored = 0;
        for (std::size_t i = 0; i < sizeof(T); ++i) {
            const auto byte = static_cast<unsigned char>(static_cast<std::uint64_t>(value) >> (8 * i));
            reinterpret_cast<unsigned char*>(&stored)[big_endian ? sizeof(T) - 1 - i : i] = byte;
        }
        return stored;
    };
    const std::string names = std::string("\0.qorrt\0.names\0", 15);
    const std::string content = "qor-library-type=x";
    FileHeader file = {};
    std::memcpy(file.e_ident, ELFMAG, SELFMAG);
    file.e_ident[EI_CLASS] = file_class;
    file.e_ident[EI_DATA] = big_endian ? ELFDATA2MSB : ELFDATA2LSB;
    const auto set = [&](auto& place, std::uint64_t value) {
        place = field(static_cast<std::remove_reference_t<decltype(place)>>(value));
    };
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
    return std::string(reinterpret_cast<const char*>(&file), sizeof(file)) + names + content +
           std::string(reinterpret_cast<const char*>(sections), sizeof(sections));
}

TEST_F(metadata_section, is_read_for_both_word_sizes_and_byte_orders) {
    for (const bool big_endian : {false, true}) {
        EXPECT_EQ(read(small_library<Elf64_Ehdr, Elf64_Shdr>(ELFCLASS64, big_endian)), "qor-library-type=x");
        EXPECT_EQ(read(small_library<Elf32_Ehdr, Elf32_Shdr>(ELFCLASS32, big_endian)), "qor-library-type=x");
    }
}

// Random bytes in random places of small libraries, where nearly each byte counts: any answer will do, sanitizers
// watch for reads and sizes that go astray.
TEST_F(metadata_section, survives_random_damage) {
    std::mt19937 random(4711);
    const std::string originals[] = {small_library<Elf64_Ehdr, Elf64_Shdr>(ELFCLASS64, false),
                                     small_library<Elf32_Ehdr, Elf32_Shdr>(ELFCLASS32, true)};
    for (int round = 0; round < 4000; ++round) {
        std::string bytes = originals[round % 2];
        for (unsigned damage = random() % 8 + 1; damage > 0; --damage) {
            const unsigned kind = random() % 3;
            bytes[random() % bytes.size()] = static_cast<char>(kind == 0 ? 0xFF : kind == 1 ? 0 : random());
        }
        if (random() % 4 == 0) {
            bytes.resize(random() % bytes.size());
        }
        const std::optional<std::string> section = read(bytes);
        ASSERT_LE(section.value_or("").size(), bytes.size());
    }
}

} // namespace
