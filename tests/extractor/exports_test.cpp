// What the built libraries show to the dynamic linker and to a reader of the file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "qorcpp/metadata_section.hpp"
#include "tests/extractor/extractor_functions.hpp"
#include "tests/support/paths.hpp"

namespace tavi::test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

const fs::path extractor_path = fs::path(library_folder) / "libqor_tavi_extractor.so";

// What a tool of the compiler's prints about a library.
std::string shown_by(const std::string& command, const fs::path& library) {
    std::FILE* const pipe = popen(("LC_ALL=C " + command + " '" + library.string() + "'").c_str(), "r");
    std::string text(1'000'000, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), pipe));
    EXPECT_EQ(pclose(pipe), 0) << command;
    return text;
}

TEST(exports, of_the_extractor_are_these_and_no_others) {
#define TAVI_TEST_NAME(name) "qor_tavi_extractor_" #name,
    std::vector<std::string> expected{TAVI_TEST_EXPORTS(TAVI_TEST_NAME) "qor_runtime_query_metadata"};
#undef TAVI_TEST_NAME
    ASSERT_EQ(expected.size(), 23u);
    std::sort(expected.begin(), expected.end());
    std::string names;
    for (const std::string& name : expected) {
        names += name + '\n';
    }
    EXPECT_EQ(shown_by(TAVI_NM " -D --defined-only --extern-only -j", extractor_path), names);
}

TEST(exports, every_library_is_named_as_its_file_and_finds_the_others_beside_it) {
    for (const auto& entry : fs::directory_iterator(library_folder)) {
        EXPECT_THAT(
            shown_by(TAVI_READELF " -d", entry.path()),
            AllOf(HasSubstr("soname: [" + entry.path().filename().string() + "]"), HasSubstr("runpath: [$ORIGIN]")));
        EXPECT_THAT(qor::runtime::read_metadata_section(entry.path().string()).value_or(""),
                    ::testing::StartsWith("qor-meta=nddictionary\n"))
            << entry.path();
    }
}

TEST(exports, metadata_is_the_same_from_the_file_and_from_the_function) {
    const std::string section = qor::runtime::read_metadata_section(extractor_path.string()).value_or("");
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
