#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <thread>
#include <vector>

#include <sys/stat.h>

#include "qorcpp/library_search.hpp"
#include "qorcpp/platform/shared_library.hpp"
#include "tests/support/file_fault.hpp"
#include "tests/support/memory_shortage.hpp"
#include "tests/support/temporary_directory.hpp"

namespace {

namespace fs = std::filesystem;
using namespace qor::runtime;
using namespace tavi::test;

class library_search : public testing::Test {
protected:
    void copy(const char* source, const char* name) const { fs::copy_file(source, directory.path() / name); }
    // The file's first `size` bytes.
    void cut(const char* source, const char* name, std::uintmax_t size) const {
        copy(source, name);
        fs::resize_file(directory.path() / name, size);
    }
    std::vector<std::string> search(const char* word) const {
        std::vector<std::string> names;
        for (const std::string& path : search_local_libraries(directory.path().string(), word)) {
            EXPECT_EQ(fs::path(path).parent_path(), directory.path());
            names.push_back(fs::path(path).filename().string());
        }
        return names;
    }
    const temporary_directory directory;
};

TEST_F(library_search, gives_libraries_of_the_type_by_file_name) {
    for (const char* const name : {"libz.so", "liba.so", "libB.so", "matcher.so", "libx.so.1"}) {
        copy(PROBE_FILE, name);
    }
    copy(QORC_FILE, "libc_runtime.so");
    fs::create_symlink(PROBE_FILE, directory.path() / "liblink.so");
    EXPECT_EQ(search("data-matcher"), (std::vector<std::string>{"libB.so", "liba.so", "liblink.so", "libz.so"}));
    EXPECT_EQ(search("runtime-c"), std::vector<std::string>{"libc_runtime.so"});
    for (const char* const word : {"data", "data-matcher2", "", "9.8.7-01234567"}) {
        EXPECT_TRUE(search(word).empty()) << word;
    }
    for (const std::string& other :
         {(directory.path() / "none").string(), (directory.path() / "liba.so").string(), std::string()}) {
        EXPECT_TRUE(search_local_libraries(other, "data-matcher").empty()) << other;
    }
}

// A file that has not changed for a while is read once, whatever name leads to it.
TEST_F(library_search, reads_a_file_again_when_it_changed) {
    const std::vector<std::string> found{"liba.so"}, none;
    const fs::path link = directory.path() / "liba.so";
    fs::create_symlink(PROBE_FILE, link);
    while (fs::file_time_type::clock::now() - fs::last_write_time(PROBE_FILE) < std::chrono::seconds(3)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    EXPECT_EQ(search("data-matcher"), found);
    {
        const file_fault unreadable("open", EMFILE, "liba.so");
        EXPECT_EQ(search("data-matcher"), found);
    }
    fs::remove(link);
    fs::create_symlink(QORC_FILE, link);
    EXPECT_EQ(search("data-matcher"), none);
    fs::remove(link);
    copy(PROBE_FILE, "liba.so");
    const file_fault unreadable("open", EMFILE, "liba.so");
    EXPECT_THROW(search("data-matcher"), std::system_error) << "new files are read each time";
}

TEST_F(library_search, passes_over_what_is_no_whole_library_with_a_reason) {
    copy(PROBE_FILE, "liba.so");
    copy(QORC_FILE, "libb.so");
    const auto size = std::to_string(fs::file_size(PROBE_FILE));
    cut(PROBE_FILE, "libcut.so", 5000);
    cut(PROBE_FILE, "libcut_in_header.so", 40);
    fs::create_symlink("nowhere", directory.path() / "libdangling.so");
    fs::create_directory(directory.path() / "libdirectory.so");
    std::ofstream(directory.path() / "libempty.so");
    fs::create_symlink("libloop.so", directory.path() / "libloop.so");
    ASSERT_EQ(mkfifo((directory.path() / "libpipe.so").c_str(), 0600), 0) << "without a writer";
    copy("/proc/self/exe", "libprogram.so");
    std::ofstream(directory.path() / "libtext.so") << "qor-library-type=data-matcher\n";
    const library_survey survey = survey_local_libraries(directory.path().string());
    std::string found;
    for (const auto& [path, type] : survey.libraries) {
        found += fs::path(path).filename().string() + " is " + type + "\n";
    }
    EXPECT_EQ(found, "liba.so is data-matcher\nlibb.so is runtime-c\n");
    std::string passed_over;
    for (const auto& [path, reason, is_damaged] : survey.passed_over) {
        EXPECT_EQ(is_damaged, reason != "no metadata block (section .qorrt)");
        passed_over += fs::path(path).filename().string() + ": " + reason + "\n";
    }
    EXPECT_EQ(passed_over, "libcut.so: cut short: its headers describe " + size +
                               " bytes, it has 5000\n"
                               "libcut_in_header.so: cut short: its headers describe 64 bytes, it has 40\n"
                               "libdangling.so: No such file or directory\n"
                               "libdirectory.so: not a regular file\n"
                               "libempty.so: not a shared library\n"
                               "libloop.so: Too many levels of symbolic links\n"
                               "libpipe.so: not a regular file\n"
                               "libprogram.so: no metadata block (section .qorrt)\n"
                               "libtext.so: not a shared library\n");
    EXPECT_EQ(search("data-matcher"), std::vector<std::string>{"liba.so"});
}

// A search that did not see all files has no result: it would make an extractor that lacks a plug-in.
TEST_F(library_search, fails_when_a_file_or_the_directory_cannot_be_read) {
    copy(PROBE_FILE, "liba.so");
    copy(PROBE_FILE, "libb.so");
    const std::string path = directory.path().string();
    const auto cannot = [](const char* what, const std::string& name, int number) {
        return std::string(what) + " '" + name + "': " + std::generic_category().message(number);
    };
    const std::tuple<const char*, int, std::string, std::string> cases[] = {
        {"open", EMFILE, "libb.so", "cannot read"}, {"open", ENFILE, "libb.so", "cannot read"},
        {"open", EACCES, "libb.so", "cannot read"}, {"open", ENOMEM, "libb.so", "cannot read"},
        {"stat", EACCES, "libb.so", "cannot read"}, {"stat", EIO, "libb.so", "cannot read"},
        {"opendir", EMFILE, "", "cannot list"},     {"opendir", EACCES, "", "cannot list"},
        {"readdir", EIO, "", "cannot list"},
    };
    for (const auto& [function, number, name, what] : cases) {
        const std::string place = name.empty() ? path : path + '/' + name;
        const file_fault fault(function, number, name);
        try {
            search_local_libraries(path, "data-matcher");
            ADD_FAILURE() << function << ' ' << number;
        } catch (const std::system_error& error) {
            EXPECT_EQ(error.code(), std::error_code(number, std::generic_category()));
            EXPECT_EQ(error.what(), cannot(what.c_str(), place, number));
        }
        if (!name.empty()) {
            const library_survey survey = survey_local_libraries(path);
            ASSERT_EQ(survey.passed_over.size(), 1u);
            EXPECT_EQ(survey.passed_over[0].reason, "cannot be read: " + std::generic_category().message(number));
            EXPECT_EQ(survey.libraries.size(), 1u);
        }
    }
    const file_fault fault("pread", EIO);
    EXPECT_THROW(search_local_libraries(path, "data-matcher"), std::system_error);
    EXPECT_EQ(survey_local_libraries(path).passed_over.size(), 2u);
}

TEST_F(library_search, without_memory_fails_and_leaves_no_handle_open) {
    copy(PROBE_FILE, "liba.so");
    copy(QORC_FILE, "libb.so");
    const std::string path = directory.path().string();
    const std::string word = "data-matcher";
    const auto open_handles = [] {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    };
    const auto handles = open_handles();
    for (memory_shortage::sweep sweep; sweep.next();) {
        std::size_t found = 0;
        int number = 0;
        sweep.during([&] {
            try {
                found = search_local_libraries(path, word).size();
            } catch (const std::bad_alloc&) {
                number = ENOMEM;
            } catch (const std::system_error& error) {
                number = error.code().value();
            }
        });
        EXPECT_EQ(found, number == 0 ? 1u : 0u) << sweep.number();
        EXPECT_EQ(number, sweep.struck() ? ENOMEM : 0) << sweep.number();
        EXPECT_EQ(open_handles(), handles) << sweep.number();
    }
}

// The loader maps what the headers describe, and the first access to a part that is not there ends the process.
TEST_F(library_search, cut_library_is_not_given_to_the_loader) {
    const auto size = fs::file_size(PROBE_FILE);
    for (const std::uintmax_t length : {std::uintmax_t{100}, std::uintmax_t{5000}, size / 2}) {
        const std::string name = "libcut" + std::to_string(length) + ".so";
        cut(PROBE_FILE, name.c_str(), length);
        const std::string path = (directory.path() / name).string();
        try {
            const qor::platform::shared_library library(path);
            ADD_FAILURE() << length;
        } catch (const std::runtime_error& error) {
            const std::string text = error.what();
            EXPECT_TRUE(text.starts_with("cannot load '" + path + "': cut short: its headers describe ")) << text;
            EXPECT_TRUE(text.ends_with(" bytes, it has " + std::to_string(length))) << text;
        }
    }
    // Without its last byte only the section table is not whole, which the loader does not read.
    cut(PROBE_FILE, "libwhole.so", size - 1);
    EXPECT_TRUE(qor::platform::shared_library((directory.path() / "libwhole.so").string()));
    const file_fault fault("open", EMFILE, "libwhole.so");
    EXPECT_THROW(qor::platform::shared_library((directory.path() / "libwhole.so").string()), std::system_error);
}

} // namespace
