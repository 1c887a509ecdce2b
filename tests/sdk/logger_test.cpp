#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "qor_plugin_sdk/logger.hpp"

namespace {

// A host with a sink, which keeps what it was told.
struct host {
    std::vector<std::string> messages;
    std::uint32_t report = 0;
    bool known = true;
    qor_log_t sink = {[](void* self, const qor_log_info_t* info, qor_error_details_t** error) {
                          auto& here = *static_cast<host*>(self);
                          here.messages.push_back(std::to_string(info->level) + ' ' + info->module + ' ' + info->file +
                                                  ' ' + std::to_string(info->line) + ' ' + info->function + ": " +
                                                  info->message);
                          return here.report != 0 ? qor_error_details_create(error, here.report, "full") : 0u;
                      },
                      this};
    qor_service_locator_t locator = {[](void* self, const char*, void* target, qor_error_details_t**) {
                                         *static_cast<void**>(target) = &static_cast<host*>(self)->sink;
                                         return 0u;
                                     },
                                     [](void* self, const char* name, bool* known, qor_error_details_t**) {
                                         *known = static_cast<host*>(self)->known && name == std::string("qor_log_t");
                                         return 0u;
                                     },
                                     this};
};

TEST(sdk_logger, sends_level_text_and_place_and_throws_what_the_sink_reports) {
    host host;
    const qor::sdk::logger logger(&host.locator);
    logger.warning("look", {"g", "/a/b\\c.cpp", 7});
    const std::string line = std::to_string(__LINE__ + 1);
    logger.error([] { return std::string("survived"); });
    const std::string module = std::filesystem::canonical("/proc/self/exe").filename().string();
    EXPECT_EQ(host.messages, (std::vector{"300 " + module + " c.cpp 7 g: look",
                                          "200 " + module + " logger_test.cpp " + line + " TestBody: survived"}));
    host.report = QOR_STATUS_INVALID_ARGUMENT;
    EXPECT_THROW(logger.error("x"), std::invalid_argument);
    host.report = QOR_STATUS_INFORMATION;
    EXPECT_NO_THROW(logger.progress("x"));
}

TEST(sdk_logger, is_silent_without_a_sink_and_makes_no_text) {
    host silent;
    silent.known = false;
    host broken;
    broken.sink.context = nullptr;
    qor_service_locator_t empty = {};
    for (qor_service_locator_t* const locator : {&empty, &silent.locator, &broken.locator, {}}) {
        const qor::sdk::logger logger(locator);
        EXPECT_FALSE(logger);
        logger.warning([]() -> std::string { throw std::runtime_error("made a text"); });
    }
}

} // namespace
