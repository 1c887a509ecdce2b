#include "qorcpp/platform/output_file.hpp"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/temporary_directory.hpp"

namespace {

namespace fs = std::filesystem;
using qor::platform::output_file;

class output_file_test : public ::testing::Test {
protected:
    std::string path(const std::string& name) const { return (directory_.path() / name).string(); }

    void make(const std::string& name, const std::string& text) const { std::ofstream(path(name)) << text; }

    std::string read(const std::string& name) const {
        std::ostringstream text;
        text << std::ifstream(path(name)).rdbuf();
        return text.str();
    }

    std::set<std::string> names() const {
        std::set<std::string> found;
        for (const auto& entry : fs::directory_iterator(directory_.path())) {
            found.insert(entry.path().filename().string());
        }
        return found;
    }

    void write_whole(const std::string& name, const std::string& text) const {
        output_file file(path(name));
        file.write(text.data(), text.size());
        file.publish();
    }

    mode_t mode(const std::string& name) const {
        struct stat status {};
        ::stat(path(name).c_str(), &status);
        return status.st_mode & 07777;
    }

    tavi::test::temporary_directory directory_;
};

using names_of = std::set<std::string>;

TEST_F(output_file_test, leaves_the_earlier_file_until_it_is_whole) {
    make("x", "before");
    {
        output_file file(path("x"));
        file.write("half", 4);
        EXPECT_EQ(read("x"), "before");
        EXPECT_EQ(names(), (names_of{".x.tavi-0", "x"}));
    }
    EXPECT_EQ(names(), names_of{"x"});
    EXPECT_EQ(read("x"), "before");
    write_whole("x", "after");
    EXPECT_EQ(names(), names_of{"x"});
    EXPECT_EQ(read("x"), "after");
}

TEST_F(output_file_test, has_the_permissions_of_the_file_that_it_replaces) {
    const mode_t before = ::umask(027);
    write_whole("new", "");
    EXPECT_EQ(mode("new"), 0640u);
    ::chmod(path("new").c_str(), 0604);
    write_whole("new", "again");
    EXPECT_EQ(mode("new"), 0604u);
    ::umask(before);
}

TEST_F(output_file_test, keeps_a_part_up_to_the_last_write_that_succeeded) {
    make("x", "before");
    make("x.part", "earlier part");
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit unlimited{RLIM_INFINITY, RLIM_INFINITY};
    const rlimit small{6, RLIM_INFINITY};
    output_file file(path("x"));
    file.write("1234", 4);
    ::setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_THROW(file.write("5678", 4), std::system_error);
    ::setrlimit(RLIMIT_FSIZE, &unlimited);
    EXPECT_EQ(file.keep_part(), path("x.part"));
    EXPECT_EQ(read("x.part"), "1234");
    EXPECT_EQ(read("x"), "before");
    EXPECT_EQ(names(), (names_of{"x", "x.part"}));
}

TEST_F(output_file_test, removes_what_a_killed_process_left) {
    for (int run = 0; run < 3; ++run) {
        const pid_t child = ::fork();
        if (child == 0) {
            output_file file(path("x"));
            file.write("half", 4);
            ::raise(SIGKILL);
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status));
        EXPECT_EQ(names(), names_of{".x.tavi-0"});
    }
    write_whole("x", "whole");
    EXPECT_EQ(names(), names_of{"x"});
}

TEST_F(output_file_test, leaves_temporary_files_of_others_alone) {
    make("mine", "mine");
    fs::create_symlink("mine", path(".x.tavi-0"));
    fs::create_hard_link(path("mine"), path(".x.tavi-1"));
    output_file first(path("x"));
    output_file second(path("x"));
    first.write("1", 1);
    second.write("2", 1);
    EXPECT_EQ(names(), (names_of{".x.tavi-0", ".x.tavi-1", ".x.tavi-2", ".x.tavi-3", "mine"}));
    second.publish();
    EXPECT_EQ(read("x"), "2");
    first.publish();
    EXPECT_EQ(read("x"), "1");
    EXPECT_EQ(read("mine"), "mine");
    std::vector<std::unique_ptr<output_file>> others;
    EXPECT_THROW(
        {
            while (others.size() < 20) {
                others.push_back(std::make_unique<output_file>(path("x")));
            }
        },
        std::system_error);
    EXPECT_EQ(others.size(), 8u);
}

TEST_F(output_file_test, follows_links) {
    make("x", "before");
    fs::create_directory(path("folder"));
    fs::create_symlink("x", path("link"));
    fs::create_symlink("folder/new", path("dangling"));
    write_whole("link", "after");
    write_whole("dangling", "new");
    EXPECT_TRUE(fs::is_symlink(path("link")) && fs::is_symlink(path("dangling")));
    EXPECT_EQ(read("x"), "after");
    EXPECT_EQ(read("folder/new"), "new");
}

TEST_F(output_file_test, writes_devices_and_descriptors_directly) {
    output_file null("/dev/null");
    null.write("x", 1);
    EXPECT_EQ(null.keep_part(), "");
    // A descriptor goes on where its file is, also when that has no name any more.
    const int descriptor = ::open(path("x").c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0666);
    ::unlink(path("x").c_str());
    output_file file("/dev/fd/" + std::to_string(descriptor));
    file.write("text", 4);
    file.publish();
    char text[5]{};
    EXPECT_EQ(::pread(descriptor, text, 4, 0), 4);
    EXPECT_STREQ(text, "text");
    EXPECT_EQ(names(), names_of{});
    ::close(descriptor);
}

TEST_F(output_file_test, takes_long_names) {
    const std::string name(255, 'n');
    write_whole(name, "x");
    EXPECT_EQ(names(), names_of{name});
    output_file file(path(name));
    EXPECT_EQ(file.keep_part(), path(std::string(240, 'n') + ".part"));
}

TEST_F(output_file_test, refuses_what_may_not_be_written) {
    ::chmod(directory_.path().c_str(), 0755);
    make("protected", "before");
    make("open", "before");
    ::chmod(path("protected").c_str(), 0444);
    ::chmod(path("open").c_str(), 0666);
    const bool is_root = ::geteuid() == 0;
    constexpr uid_t some_user = 65534;
    const auto refusal_of = [](const std::string& name) {
        try {
            output_file file(name);
        } catch (const qor::platform::folder_error& error) {
            return "folder: " + error.code().message();
        } catch (const std::system_error& error) {
            return error.code().message();
        }
        return std::string("none");
    };
    if (is_root) {
        ASSERT_EQ(::seteuid(some_user), 0);
    } else {
        ::chmod(directory_.path().c_str(), 0555);
    }
    EXPECT_EQ(refusal_of(path("protected")), "Permission denied");
    EXPECT_EQ(refusal_of(path("open")), "folder: Permission denied");
    EXPECT_EQ(refusal_of(path("new")), "folder: Permission denied");
    EXPECT_EQ(refusal_of(path("nowhere/new")), "No such file or directory");
    EXPECT_EQ(refusal_of(path("open/new")), "Not a directory");
    EXPECT_EQ(refusal_of(directory_.path().string()), "Is a directory");
    EXPECT_EQ(refusal_of(path("new/")), "Is a directory");
    if (is_root) {
        ASSERT_EQ(::seteuid(0), 0);
    }
    ::chmod(directory_.path().c_str(), 0755);
    EXPECT_EQ(read("protected"), "before");
    EXPECT_EQ(read("open"), "before");
}

} // namespace
