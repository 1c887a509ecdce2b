#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <vector>

#include <sys/stat.h>

#include "qorcpp/library_search.hpp"
#include "tests/support/temporary_directory.hpp"

namespace {

namespace fs = std::filesystem;
using qor::runtime::search_local_libraries;

TEST(library_search, gives_libraries_of_the_type_by_file_name) {
    const tavi::test::temporary_directory directory;
    const auto place = [&](const char* source, const char* name) { fs::copy_file(source, directory.path() / name); };
    for (const char* const name : {"libz.so", "liba.so", "libB.so", "matcher.so", "libx.so.1", "libunreadable.so"}) {
        place(PROBE_FILE, name);
    }
    place(QORC_FILE, "libc_runtime.so");
    fs::create_symlink(PROBE_FILE, directory.path() / "liblink.so");
    fs::create_symlink("nowhere", directory.path() / "libdangling.so");
    fs::create_symlink("libloop.so", directory.path() / "libloop.so");
    fs::create_directory(directory.path() / "libdirectory.so");
    ASSERT_EQ(mkfifo((directory.path() / "libpipe.so").c_str(), 0600), 0) << "nobody writes into it";
    std::ofstream(directory.path() / "libempty.so");
    std::ofstream(directory.path() / "libtext.so") << "qor-library-type=data-matcher\n";
    fs::permissions(directory.path() / "libunreadable.so", fs::perms::none);
    std::vector<std::string> names;
    for (const std::string& path : search_local_libraries(directory.path().string(), "data-matcher")) {
        EXPECT_EQ(fs::path(path).parent_path(), directory.path());
        names.push_back(fs::path(path).filename().string());
    }
    // Whoever may read everything reads that one too.
    std::erase(names, "libunreadable.so");
    EXPECT_EQ(names, (std::vector<std::string>{"libB.so", "liba.so", "liblink.so", "libz.so"}));
    EXPECT_EQ(search_local_libraries(directory.path().string(), "runtime-c"),
              std::vector{(directory.path() / "libc_runtime.so").string()});
    for (const char* const word : {"data", "data-matcher2", "", "9.8.7-01234567"}) {
        EXPECT_TRUE(search_local_libraries(directory.path().string(), word).empty()) << word;
    }
    EXPECT_TRUE(search_local_libraries((directory.path() / "none").string(), "data-matcher").empty());
    EXPECT_TRUE(search_local_libraries("", "data-matcher").empty());
}

} // namespace
