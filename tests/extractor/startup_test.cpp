// What of the start no page shows: no host, no storage library, no entry symbols. See conversations/start.md.
#include "tests/extractor/extractor_fixture.hpp"

#include <fstream>
#include <ios>

#include "qorcpp/errors.hpp"

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

// Whatever a plug-in or the host throws while a plug-in is taken into use reaches the host with its own status and
// text.
TEST_F(startup, reports_an_exception_with_the_status_of_its_type) {
    add_matcher("m", {{"can"}}).offers_batch = true;
    add_parser("p", {{"dbc"}});
    add_processor("box", {{"raw", 1}});
    const auto system = [](int value, const std::error_category& category) {
        const std::system_error error(value, category, "no licence");
        return std::pair(std::function<void()>([error] { throw error; }), std::string(error.what()));
    };
    const auto [access, access_text] = system(EACCES, std::generic_category());
    const auto [memory, memory_text] = system(ENOMEM, std::generic_category());
    const auto [nothing, nothing_text] = system(0, std::generic_category());
    const auto [device, device_text] = system(EIO, std::system_category());
    const auto [stream, stream_text] = system(1, std::iostream_category());
    const std::pair<std::function<void()>, outcome> exceptions[] = {
        {access, failed(access_text, 0xA003000D)},
        {memory, failed(memory_text, 0xA003000C)},
        {nothing, outcome{0, nothing_text, 0}},
        {device, failed(device_text, 0xA0070005)},
        {stream, failed(stream_text, 0xA0050001)},
        {[] { throw qor::runtime::not_implemented_error("no licence"); }, failed("no licence", 0xA0000FA1)},
        {[] { throw qor::runtime::timed_out_error("no licence"); }, failed("no licence", 0xA00005B4)},
        {[] { throw std::bad_alloc(); }, failed("memory allocation failed", 0xA003000C)},
        {[] { throw std::invalid_argument("no licence"); }, invalid("no licence")},
        {[] { throw 42; }, failed("unknown error")},
    };
    const std::pair<const char*, const char*> places[] = {
        {"qor_signal_storage", "open"},
        {"qor_signal_storage", "get_service_locator"},
        {"qor_signal_storage", "resolve"},
        {"m", "create"},
        {"m", "get_service_locator"},
        {"m", "can_resolve/qor_data_matcher_support_t"},
        {"m", "resolve"},
        {"m", "get_supported_format"},
        {"p", "create"},
        {"p", "get_supported_file_format"},
        {"box", "create"},
        {"box", "get_supported_format_count"},
        {"box", "bind"},
    };
    for (const auto& [act, expected] : exceptions) {
        for (const auto& [name, function] : places) {
            plugin(name).call_backs = {{function, act}};
            const outcome created = create();
            EXPECT_EQ(created == succeeded, handle != nullptr);
            EXPECT_EQ(created == succeeded ? register_descriptions(1, 1, "engine", {}) : created, expected)
                << name << ' ' << function;
            destroy();
            EXPECT_EQ(host.control.instances, 0) << name << ' ' << function;
            plugin(name).call_backs = {};
        }
        static std::function<void()> by_host;
        by_host = act;
        const auto can_resolve = host.locator.can_resolve;
        host.locator.can_resolve = [](auto...) -> std::uint32_t { return by_host(), QOR_STATUS_OK; };
        EXPECT_EQ(create(), expected) << "the host's locator";
        host.locator.can_resolve = can_resolve;
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
