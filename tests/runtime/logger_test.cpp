#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>

#include "runtime/logger.hpp"
#include "tests/support/thrown.hpp"

namespace {

using qor::extensibility::log::logger;
using qor::extensibility::log::statement;
using tavi::test::thrown;

struct sink : qor_log_t {
    sink() {
        qor_log_t::log = [](void* self, const qor_log_info_t* info, qor_error_details_t** error) {
            auto& here = *static_cast<sink*>(self);
            here.info = *info;
            here.message = info->message;
            const auto copy = [](const char* text) {
                return text != nullptr ? std::optional(std::string(text)) : std::nullopt;
            };
            here.module = copy(info->module);
            here.file = copy(info->file);
            here.function = copy(info->function);
            return here.report != 0 ? qor_error_details_create(error, here.report, "the sink is full")
                                    : QOR_STATUS_FAILURE;
        };
        context = this;
    }
    qor_log_info_t info = {};
    std::string message;
    std::optional<std::string> module, file, function;
    std::uint32_t report = 0;
};

TEST(logger, refuses_a_table_without_function_or_context) {
    sink without_context;
    without_context.context = nullptr;
    sink without_function;
    without_function.qor_log_t::log = nullptr;
    for (qor_log_t* const table :
         {static_cast<qor_log_t*>(&without_context), static_cast<qor_log_t*>(&without_function)}) {
        EXPECT_EQ(thrown<std::runtime_error>([&] { logger{table}; }),
                  "invalid logger interface passed to logger constructor");
    }
}

TEST(logger, fills_the_record) {
    sink host;
    logger target(&host);
    target.log(300, L"lib\u00e4.so", L"a.cpp", L"f\u20ac::g", 42, "%s has %d of %lld", "x", 7, 1LL << 40);
    EXPECT_EQ(host.message, "x has 7 of 1099511627776");
    EXPECT_EQ(host.info.level, 300u);
    EXPECT_EQ(host.info.line, 42u);
    EXPECT_EQ(host.info.reserved, nullptr);
    EXPECT_EQ(host.module, "lib\xC3\xA4.so");
    EXPECT_EQ(host.file, "a.cpp");
    EXPECT_EQ(host.function, "f\xE2\x82\xAC::g");
    target.log(300, nullptr, L"", nullptr, 0, "x");
    EXPECT_EQ(host.module, std::nullopt);
    EXPECT_EQ(host.file, "");
    EXPECT_EQ(host.function, std::nullopt);
}

TEST(logger, cuts_long_messages) {
    sink host;
    logger target(&host);
    for (const std::size_t length : {1022, 1023, 1024, 2000}) {
        target.log(500, nullptr, nullptr, nullptr, 0, "%s", std::string(length, 'x').c_str());
        EXPECT_EQ(host.message, std::string(std::min<std::size_t>(length, 1023), 'x'));
    }
}

TEST(logger, throws_what_the_sink_reports_and_looks_at_no_status) {
    sink host;
    logger target(&host);
    const auto speak = [&] { target.log(500, nullptr, nullptr, nullptr, 0, "%s", "x"); };
    EXPECT_EQ(thrown<std::runtime_error>(speak), "nothing was thrown");
    host.report = QOR_STATUS_INFORMATION;
    EXPECT_EQ(thrown<std::runtime_error>(speak), "nothing was thrown");
    host.report = QOR_STATUS_INVALID_ARGUMENT;
    EXPECT_EQ(thrown<std::invalid_argument>(speak), "the sink is full");
}

TEST(log_statement, tells_its_place_by_file_names) {
    sink host;
    const auto target = std::make_shared<logger>(&host);
    const std::uint32_t line = __LINE__ + 1;
    if (const statement say{target, QOR_LOG_LEVEL_WARNING, L"qor::tavi::detail::extractor::register_source"}) {
        say("Validate member: %s", "speed");
    }
    EXPECT_EQ(host.message, "Validate member: speed");
    EXPECT_EQ(host.module, std::filesystem::canonical("/proc/self/exe").filename().string());
    EXPECT_EQ(host.file, "logger_test.cpp");
    EXPECT_EQ(host.function, "qor::tavi::detail::extractor::register_source");
    EXPECT_EQ(host.info.line, line);
    EXPECT_EQ(host.info.level, 300u);
}

TEST(log_statement, without_a_logger_nothing_is_evaluated) {
    int evaluated = 0;
    if (const statement say{nullptr, QOR_LOG_LEVEL_ERROR, L"f"}) {
        say("%d", ++evaluated);
    }
    EXPECT_EQ(evaluated, 0);
}

} // namespace
