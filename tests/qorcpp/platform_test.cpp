#include <gtest/gtest.h>

#include <filesystem>

#include "qorcpp/platform/module.hpp"
#include "qorcpp/platform/shared_library.hpp"
#include "tests/support/temporary_directory.hpp"

namespace {

namespace fs = std::filesystem;
using qor::platform::shared_library;

TEST(module, each_library_finds_its_own_directory_through_links) {
    const tavi::test::temporary_directory elsewhere;
    fs::create_symlink(PROBE_FILE, elsewhere.path() / "libprobe_link.so");
    const shared_library probe((elsewhere.path() / "libprobe_link.so").string());
    ASSERT_TRUE(probe) << qor::platform::get_last_error();
    const auto ask = reinterpret_cast<const char* (*)()>(probe.get_symbol("probe_directory"));
    ASSERT_NE(ask, nullptr);
    EXPECT_EQ(ask(), fs::canonical(fs::path(PROBE_FILE).parent_path()));
    EXPECT_EQ(qor::platform::get_current_module_path(), fs::canonical("/proc/self/exe"));
    EXPECT_EQ(qor::platform::get_current_module_directory(), fs::canonical("/proc/self/exe").parent_path());
    EXPECT_EQ(qor::platform::module_directory_of(reinterpret_cast<void*>(&qor::platform::module_path_of)),
              fs::canonical(fs::path(QORCPP_FILE).parent_path()));
    EXPECT_THROW(qor::platform::module_path_of(nullptr), std::runtime_error);
}

TEST(module, names_of_libraries) {
    EXPECT_EQ(qor::platform::shared_library_file_name("qor_signal_storage"), "libqor_signal_storage.so");
    EXPECT_EQ(qor::platform::get_shared_library_search_path("/some/where"), "/some/where");
    for (const char* const name : {"libx.so", "lib.so"}) {
        EXPECT_TRUE(qor::platform::is_shared_library_file_name(name)) << name;
    }
    for (const char* const name : {"x.so", "libx.so.1", "libx.dll", "libx", "so"}) {
        EXPECT_FALSE(qor::platform::is_shared_library_file_name(name)) << name;
    }
}

TEST(shared_library, tells_later_why_it_could_not_be_loaded) {
    const shared_library missing("/nowhere/libmissing.so");
    EXPECT_FALSE(missing);
    EXPECT_EQ(missing.get_library_path(), "/nowhere/libmissing.so");
    const shared_library unnamed("");
    EXPECT_FALSE(unnamed);
    EXPECT_EQ(unnamed.get_symbol("main"), nullptr);
    EXPECT_EQ(qor::platform::get_last_error(), "no library file given");
    EXPECT_EQ(missing.get_symbol("x"), nullptr);
    EXPECT_NE(qor::platform::get_last_error().find("/nowhere/libmissing.so"), std::string::npos);
}

TEST(shared_library, moves_and_finds_symbols) {
    shared_library first(PROBE_FILE);
    const shared_library second(std::move(first));
    EXPECT_FALSE(first);
    EXPECT_TRUE(second);
    EXPECT_EQ(first.get_symbol("probe_directory"), nullptr);
    EXPECT_NE(second.get_symbol("probe_directory"), nullptr);
    EXPECT_EQ(second.get_library_path(), PROBE_FILE);
    EXPECT_EQ(second.get_symbol("no_such_symbol"), nullptr);
    EXPECT_NE(qor::platform::get_last_error().find("no_such_symbol"), std::string::npos);
}

} // namespace
