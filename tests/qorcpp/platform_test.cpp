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
    EXPECT_EQ(qor::platform::module_directory_of(reinterpret_cast<void*>(&qor::platform::module_path_of)),
              fs::canonical(fs::path(QORCPP_FILE).parent_path()));
    EXPECT_THROW(qor::platform::module_path_of(nullptr), std::runtime_error);
}

TEST(module, names_of_libraries) {
    EXPECT_EQ(qor::platform::shared_library_file_name("qor_signal_storage"), "libqor_signal_storage.so");
    EXPECT_TRUE(qor::platform::is_shared_library_file_name("libx.so"));
    for (const char* const name : {"x.so", "libx.so.1", "libx.dll", "libx", "so"}) {
        EXPECT_FALSE(qor::platform::is_shared_library_file_name(name)) << name;
    }
}

TEST(shared_library, tells_later_why_something_was_not_found) {
    shared_library moved(PROBE_FILE);
    const shared_library probe(std::move(moved));
    EXPECT_TRUE(probe);
    EXPECT_EQ(probe.get_library_path(), PROBE_FILE);
    EXPECT_NE(probe.get_symbol("probe_directory"), nullptr);
    const shared_library missing("/nowhere/libmissing.so");
    const shared_library unnamed("");
    const std::tuple<const shared_library*, const char*, std::string> cases[] = {
        {&probe, "no_such_symbol", "no_such_symbol"},
        {&missing, "x", "/nowhere/libmissing.so"},
        {&unnamed, "main", "no library file given"},
        {&moved, "probe_directory", ""},
    };
    for (const auto& [library, symbol, reason] : cases) {
        EXPECT_EQ(static_cast<bool>(*library), library == &probe);
        EXPECT_EQ(library->get_symbol(symbol), nullptr);
        EXPECT_NE(qor::platform::get_last_error().find(reason), std::string::npos) << reason;
    }
}

} // namespace
