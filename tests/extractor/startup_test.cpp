// What of the start no page shows: no host, no storage library, no entry symbols. See conversations/start.md.
#include "tests/extractor/extractor_fixture.hpp"

#include <fstream>

namespace tavi::test {
namespace {

using startup = extractor_test;

TEST_F(startup, needs_no_host_locator_and_logs_nothing_then) {
    host_locator = nullptr;
    start();
    EXPECT_EQ(register_source(1, 1, "engine"), succeeded);
    EXPECT_THAT(take({"open", "create"}), ::testing::IsEmpty()); // the fakes could not reach the host
}

TEST_F(startup, fails_without_a_storage_library_and_with_half_a_log_sink) {
    host.offers_log = true;
    host.log.context = nullptr;
    EXPECT_EQ(create(), failed("invalid logger interface passed to logger constructor"));
    for (const bool present : {true, false}) {
        std::ofstream(directory.path() / "libqor_signal_storage.so", std::ios::trunc) << "no library";
        if (!present) {
            std::filesystem::remove(directory.path() / "libqor_signal_storage.so");
        }
        handle = reinterpret_cast<qor_tavi_extractor_t*>(this);
        EXPECT_EQ(create(), failed("invalid shared library handle specified for the signal storage library"));
        EXPECT_EQ(handle, nullptr);
    }
}

TEST_F(startup, needs_every_entry_symbol_of_a_plugin) {
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"signal-storage", "qor_signal_storage", "open"},
        {"data-matcher", "m", "create"},
        {"data-description-parser", "p", "create"},
        {"data-processor", "box", "create"},
    };
    for (const auto& [word, name, begin] : rows) {
        std::string stem = "qor_" + word;
        std::ranges::replace(stem, '-', '_');
        for (const std::string& end : {begin, std::string("destroy"), std::string("get_service_locator")}) {
            add_plugin(name, word, {{"a"}}, stem + "_" + end);
            const outcome created = create();
            const outcome result = created == succeeded ? register_descriptions(1, 1, "engine", {}) : created;
            EXPECT_EQ(result.status, QOR_STATUS_FAILURE);
            EXPECT_THAT(*result.text, ::testing::MatchesRegex("failed to access function '" + stem + "_" + end +
                                                              "', .+")); // and the linker's own words
            destroy();
            EXPECT_EQ(host.control.instances, 0);
        }
        add_plugin(name, word, {{"a"}});
    }
}

} // namespace
} // namespace tavi::test
