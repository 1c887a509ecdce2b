#include <gtest/gtest.h>

#include "qorc/extensibility/log.h"
#include "runtime/enable_service_locator.hpp"
#include "runtime/service_locator.hpp"
#include "tests/support/outcome.hpp"
#include "tests/support/thrown.hpp"

namespace {

using qor::runtime::service_locator;
using namespace tavi::test;

TEST(service_locator, a_missing_table_or_function_knows_nothing_and_leaves_the_target_alone) {
    qor_service_locator_t hollow{};
    void* target = &hollow;
    for (qor_service_locator_t* const table : {&hollow, static_cast<qor_service_locator_t*>(nullptr)}) {
        EXPECT_NO_THROW(service_locator(table).resolve("qor_log_t", &target));
        EXPECT_EQ(target, &hollow);
        EXPECT_FALSE(service_locator(table).can_resolve("qor_log_t"));
    }
}

TEST(enable_service_locator, answers_for_what_was_entered_and_names_the_first_missing_argument) {
    struct : qor::extensibility::enable_service_locator {
        using enable_service_locator::services;
    } object;
    object.services["qor_log_t"] = [&](void* target) { *static_cast<void**>(target) = &object; };
    object.services["empty"] = nullptr;
    const qor_service_locator_t& record = object;
    EXPECT_EQ(static_cast<void*>(qor::runtime::get_service<qor_log_t>(service_locator(&object))), &object);
    EXPECT_TRUE(qor::runtime::has_service<qor_log_t>(service_locator(&object)));
    void* target = nullptr;
    EXPECT_EQ(thrown<std::runtime_error>([&] { service_locator(&object).resolve("x", &target); }),
              "requested service 'x' not found");
    bool known = true;
    const std::pair<outcome, outcome> cases[] = {
        {call(record.resolve, &object, "QOR_LOG_T", &target), failed("requested service 'QOR_LOG_T' not found")},
        {call(record.resolve, &object, "empty", &target), failed(std::bad_function_call().what())},
        {call(record.resolve, nullptr, nullptr, nullptr), invalid("argument 'handle' was not initialized")},
        {call(record.can_resolve, &object, nullptr, nullptr), invalid("argument 'service_type' was not initialized")},
        {call(record.can_resolve, &object, "x", nullptr), invalid("argument 'can_resolve' was not initialized")},
        {call(record.can_resolve, &object, "struct qor_log_t", &known), succeeded},
    };
    for (const auto& [answer, expected] : cases) {
        EXPECT_EQ(answer, expected);
    }
    EXPECT_FALSE(known);
}

} // namespace
