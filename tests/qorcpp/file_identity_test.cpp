#include "qorcpp/platform/file_identity.hpp"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "tests/support/temporary_directory.hpp"

namespace {

namespace fs = std::filesystem;
using qor::platform::identify_file;

TEST(file_identity, is_that_of_the_file_whatever_the_name) {
    const tavi::test::temporary_directory directory;
    const fs::path& here = directory.path();
    for (const char* const name : {"a", "b"}) {
        std::ofstream(here / name) << name;
    }
    fs::create_directory(here / "folder");
    fs::create_hard_link(here / "a", here / "hard");
    fs::create_symlink("folder/../a", here / "soft");
    fs::create_directory_symlink("folder", here / "to_folder");
    fs::create_symlink("to_folder/new", here / "dangling");
    fs::create_symlink("dangling", here / "twice");
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"a", "b", false},
        {"a", "./folder/../a", true},
        {"a", "hard", true},
        {"a", "soft", true},
        {"new", "new", true},
        {"new", "other", false},
        {"new", "folder/new", false},
        {"to_folder/new", "folder/new", true},
        {"folder/new", "twice", true},
        {"a", "folder", false},
    };
    for (const auto& [left, right, same] : cases) {
        EXPECT_EQ(*identify_file(here / left) == *identify_file(here / right), same) << left << ' ' << right;
    }
    EXPECT_TRUE(identify_file(here / "a")->is_regular);
    EXPECT_TRUE(identify_file(here / "new")->is_regular);
    EXPECT_FALSE(identify_file(here / "folder")->is_regular);
    EXPECT_FALSE(identify_file("/dev/null")->is_regular);
    EXPECT_FALSE(identify_file(here / "nowhere" / "new"));
    fs::create_symlink("loop", here / "loop");
    EXPECT_FALSE(identify_file(here / "loop"));
}

} // namespace
