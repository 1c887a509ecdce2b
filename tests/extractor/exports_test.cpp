// What the built libraries show to the dynamic linker and to a reader of the file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/extractor/extractor_functions.hpp"
#include "tests/support/elf_file.hpp"

namespace tavi::test {
namespace {

namespace fs = std::filesystem;

const fs::path library_directory = TAVI_LIBRARY_DIR;
const fs::path extractor_path = library_directory / "libqor_tavi_extractor.so";

TEST(exports, of_the_extractor_are_these_and_no_others) {
#define TAVI_TEST_NAME(name) "qor_tavi_extractor_" #name,
    const std::set<std::string> expected{TAVI_TEST_EXPORTS(TAVI_TEST_NAME) "qor_runtime_query_metadata"};
#undef TAVI_TEST_NAME
    ASSERT_EQ(expected.size(), 23u);
    EXPECT_EQ(elf_file(extractor_path).exported_symbols(), expected);
}

TEST(exports, every_library_is_named_as_its_file_and_finds_the_others_beside_it) {
    for (const auto& entry : fs::directory_iterator(library_directory)) {
        const elf_file file(entry.path());
        EXPECT_EQ(file.soname(), entry.path().filename());
        EXPECT_EQ(file.runpath(), "$ORIGIN") << entry.path();
        EXPECT_THAT(file.section(".qorrt"), ::testing::StartsWith("qor-meta=nddictionary\n")) << entry.path();
    }
}

TEST(exports, metadata_is_the_same_from_the_file_and_from_the_function) {
    const std::string section = elf_file(extractor_path).section(".qorrt");
    ASSERT_EQ(section.size(), 596u);
    const qor::platform::shared_library library(extractor_path.string());
    const auto query = reinterpret_cast<const char* (*)()>(library.get_symbol("qor_runtime_query_metadata"));
    ASSERT_NE(query, nullptr);
    EXPECT_EQ(std::string(query(), section.size()), section);
    const std::string text = section.c_str();
    EXPECT_EQ(section, text + std::string(section.size() - text.size(), '\0'));
    EXPECT_THAT(text, ::testing::MatchesRegex("qor-meta=nddictionary\n"
                                              "qor-sdk-version=[0-9]+\\.[0-9]+\\.[0-9]+-[0-9a-f]{8}(-dirty)?\n"
                                              "build-configuration=[a-z]+\n"
                                              "build-platform=Linux\n"
                                              "build-architecture=[a-z0-9_]+\n"
                                              "build-date=[A-Z][a-z][a-z] +[0-9]+ [0-9]{4}\n"
                                              "compiler=[A-Za-z]+\n"
                                              "compiler-version=[0-9]+\n"
                                              "qor-product-version=[0-9]+\\.[0-9]+\\.[0-9]+-[0-9a-f]{8}(-dirty)?\n"
                                              "qor-library-type=tavi-extractor"));
}

} // namespace
} // namespace tavi::test
