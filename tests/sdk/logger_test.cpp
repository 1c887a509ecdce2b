#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "plugins/sdk/logger.hpp"

namespace {

// A host with a sink, which keeps what it was told.
struct host {
    struct message {
        std::uint32_t level;
        std::string text, module, file, function;
        std::uint32_t line;
    };
    std::vector<message> messages;
    std::uint32_t report = 0;
    bool known = true;
    qor_log_t sink = {
        [](void* self, const qor_log_info_t* info, qor_error_details_t** error) {
            auto& here = *static_cast<host*>(self);
            here.messages.push_back({info->level, info->message, info->module, info->file, info->function, info->line});
            return here.report != 0 ? qor_error_details_create(error, here.report, "full") : 0u;
        },
        this};
    qor_service_locator_t locator = {[](void* self, const char* name, void* target, qor_error_details_t**) {
                                         EXPECT_STREQ(name, "qor_log_t");
                                         *static_cast<void**>(target) = &static_cast<host*>(self)->sink;
                                         return 0u;
                                     },
                                     [](void* self, const char* name, bool* known, qor_error_details_t**) {
                                         EXPECT_STREQ(name, "qor_log_t");
                                         *known = static_cast<host*>(self)->known;
                                         return 0u;
                                     },
                                     this};
};

TEST(sdk_logger, sends_level_text_and_place) {
    host host;
    const qor::sdk::logger logger(&host.locator);
    ASSERT_TRUE(logger);
    const std::uint32_t line = __LINE__ + 1;
    logger.warning("look");
    logger.error([] { return std::string("survived"); });
    logger.progress(std::string("done"), {"f", "/a/b\\c.cpp", 7});
    ASSERT_EQ(host.messages.size(), 3u);
    EXPECT_EQ(host.messages[0].level, 300u);
    EXPECT_EQ(host.messages[0].text, "look");
    EXPECT_EQ(host.messages[0].file, "logger_test.cpp");
    EXPECT_EQ(host.messages[0].function, "TestBody");
    EXPECT_EQ(host.messages[0].line, line);
    EXPECT_EQ(host.messages[0].module, std::filesystem::canonical("/proc/self/exe").filename().string());
    EXPECT_EQ(host.messages[1].level, 200u);
    EXPECT_EQ(host.messages[1].text, "survived");
    EXPECT_EQ(host.messages[2].level, 500u);
    EXPECT_EQ(host.messages[2].file, "c.cpp");
}

TEST(sdk_logger, is_silent_without_a_sink_and_makes_no_text) {
    host silent;
    silent.known = false;
    host broken;
    broken.sink.context = nullptr;
    qor_service_locator_t empty = {};
    for (qor_service_locator_t* const locator :
         {static_cast<qor_service_locator_t*>(nullptr), &empty, &silent.locator, &broken.locator}) {
        const qor::sdk::logger logger(locator);
        EXPECT_FALSE(logger);
        int made = 0;
        logger.warning([&] { return std::to_string(++made); });
        EXPECT_EQ(made, 0);
    }
}

TEST(sdk_logger, throws_what_the_sink_reports) {
    host host;
    const qor::sdk::logger logger(&host.locator, "libx.so");
    host.report = QOR_STATUS_INVALID_ARGUMENT;
    EXPECT_THROW(logger.error("x"), std::invalid_argument);
    host.report = QOR_STATUS_INFORMATION;
    EXPECT_NO_THROW(logger.error("x"));
    EXPECT_EQ(host.messages.back().module, "libx.so");
}

} // namespace
