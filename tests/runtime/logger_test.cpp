#include <gtest/gtest.h>

#include <dlfcn.h>

#include <filesystem>
#include <string>

#include "runtime/logger.hpp"
#include "tests/support/thrown.hpp"

// Takes the C library's place in all libraries of the process, and counts.
static int module_look_ups = 0;
extern "C" __attribute__((visibility("default"))) int dladdr1(const void* address, Dl_info* info, void** extra,
                                                              int flags) noexcept {
    ++module_look_ups;
    static auto* const real = reinterpret_cast<decltype(&dladdr1)>(dlsym(RTLD_NEXT, "dladdr1"));
    return real(address, info, extra, flags);
}

namespace {

using qor::extensibility::log::logger;
using qor::extensibility::log::statement;
using tavi::test::thrown;

struct sink : qor_log_t {
    sink() : qor_log_t{} {
        qor_log_t::log = [](void* self, const qor_log_info_t* info, qor_error_details_t** error) {
            auto& here = *static_cast<sink*>(self);
            here.message = info->message;
            here.place = std::to_string(info->level) + ' ' + text_of(info->module) + ' ' + text_of(info->file) + ' ' +
                         text_of(info->function) + ' ' + std::to_string(info->line);
            return here.report != 0 ? qor_error_details_create(error, here.report, "the sink is full")
                                    : QOR_STATUS_FAILURE;
        };
        context = this;
    }
    static std::string text_of(const char* text) { return text != nullptr ? text : "(null)"; }

    std::string message;
    std::string place;
    std::uint32_t report = 0;
};

TEST(logger, fills_the_record_cuts_long_messages_and_throws_what_the_sink_reports) {
    sink host;
    logger target(&host);
    target.log(300, L"lib\u00e4.so", L"a.cpp", L"f\u20ac::g", 42, "%s has %d of %lld", "x", 7, 1LL << 40);
    EXPECT_EQ(host.message, "x has 7 of 1099511627776");
    EXPECT_EQ(host.place, "300 lib\xC3\xA4.so a.cpp f\xE2\x82\xAC::g 42");
    // The status of the sink counts for nothing, its details count when they tell a failure.
    const std::pair<std::size_t, std::uint32_t> rows[] = {
        {1023, 0}, {1024, QOR_STATUS_INFORMATION}, {1025, 0xA0030016}};
    for (const auto& [length, report] : rows) {
        host.report = report;
        EXPECT_EQ(thrown<std::invalid_argument>([&, length = length] {
                      target.log(500, nullptr, L"", nullptr, 0, "%s", std::string(length, 'x').c_str());
                  }),
                  length == 1025 ? "the sink is full" : "nothing was thrown");
        EXPECT_EQ(host.message, std::string(1023, 'x'));
    }
    EXPECT_EQ(host.place, "500 (null)  (null) 0");
}

TEST(log_statement, tells_its_place_by_file_names_and_evaluates_nothing_without_a_logger) {
    sink host;
    const auto target = std::make_shared<logger>(&host);
    const std::string module = std::filesystem::canonical("/proc/self/exe").filename().string();
    const std::uint32_t line = __LINE__ + 1;
    if (const statement say{target, QOR_LOG_LEVEL_WARNING, L"qor::tavi::detail::extractor::register_source"}) {
        say("Validate member: %s", "speed");
    }
    EXPECT_EQ(host.message, "Validate member: speed");
    EXPECT_EQ(host.place, "300 " + module + " logger_test.cpp qor::tavi::detail::extractor::register_source " +
                              std::to_string(line));
    EXPECT_FALSE((statement{nullptr, QOR_LOG_LEVEL_ERROR, L"f"}));
    const int look_ups = module_look_ups;
    EXPECT_GT(look_ups, 0);
    statement{target, QOR_LOG_LEVEL_ERROR, L"f"}("again");
    EXPECT_TRUE(host.place.starts_with("200 " + module)) << host.place;
    EXPECT_EQ(module_look_ups, look_ups) << "the module's path is resolved once";
}

} // namespace
