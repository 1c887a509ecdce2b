// A matcher as plug-in authors write it, driven through its exported entries.
#include <gtest/gtest.h>

#include <stdexcept>

#include "qor_plugin_sdk/plugin.hpp"
#include "qorc/extensibility/data_matcher.h"
#include "tests/support/outcome.hpp"

namespace {

using namespace tavi::test;

int alive = 0;

class small_matcher {
public:
    explicit small_matcher(qor_service_locator_t* host_locator) {
        if (host_locator == nullptr) {
            throw std::runtime_error("no host of mine");
        }
        ++alive;
        services_.offer(qor_data_matcher_support_t{
            .register_type = nullptr,
            .unregister_type = qor::sdk::slot<&small_matcher::unregister_type>,
            .match = nullptr,
        });
        services_.offer(qor_data_matcher_format_support_t{
            .get_supported_format_count = qor::sdk::value_slot<&small_matcher::format_count>,
            .get_supported_format = qor::sdk::slot<&small_matcher::format>,
        });
    }
    ~small_matcher() { --alive; }

    qor::sdk::service_table& services() { return services_; }

private:
    void unregister_type(std::uint64_t handle) {
        if (handle == 13) {
            throw std::invalid_argument("not this one");
        }
    }
    std::size_t format_count() { return asked_++ == 0 ? 1 : throw std::runtime_error("asked twice"); }
    std::uint32_t format(std::size_t index, const char** format) const {
        *format = "x";
        return index == 0 ? QOR_STATUS_OK : QOR_STATUS_TIMED_OUT;
    }

    int asked_ = 0;
    qor::sdk::service_table services_;
};

} // namespace

QOR_DATA_MATCHER(small_matcher)

namespace {

template<typename Table>
Table* find(qor_service_locator_t* locator) {
    Table* table = nullptr;
    EXPECT_EQ(call(locator->resolve, locator->context, qor::service_name<Table>().c_str(), &table), succeeded);
    return table;
}

TEST(plugin, offers_its_members_as_slots) {
    void* handle = nullptr;
    qor_service_locator_t host = {};
    qor_service_locator_t* locator = nullptr;
    ASSERT_EQ(call(qor_data_matcher_create, &handle, &host), succeeded);
    ASSERT_EQ(call(qor_data_matcher_get_service_locator, handle, &locator), succeeded);
    EXPECT_EQ(alive, 1);
    const auto* const support = find<qor_data_matcher_support_t>(locator);
    const auto* const formats = find<qor_data_matcher_format_support_t>(locator);
    EXPECT_EQ(formats->get_supported_format_count(handle), 1u);
    EXPECT_EQ(formats->get_supported_format_count(handle), 0u) << "a slot without details that throws";
    EXPECT_EQ(formats->get_supported_format_count(nullptr), 0u);
    const char* format = nullptr;
    void* target = nullptr;
    bool known = true;
    const std::pair<outcome, outcome> cases[] = {
        {call(support->unregister_type, handle, 1), succeeded},
        {call(support->unregister_type, handle, 13), invalid("not this one")},
        {call(support->unregister_type, nullptr, 1), invalid("argument 'handle' was not initialized")},
        {call(formats->get_supported_format, handle, 0, &format), succeeded},
        {call(formats->get_supported_format, handle, 1, &format), {QOR_STATUS_TIMED_OUT, {}, {}}},
        {call(locator->resolve, locator->context, "qor_log_t", &target),
         failed("requested service 'qor_log_t' not found")},
        {call(locator->can_resolve, locator->context, "qor_log_t", &known), succeeded},
    };
    for (const auto& [answer, expected] : cases) {
        EXPECT_EQ(answer, expected);
    }
    EXPECT_STREQ(format, "x");
    EXPECT_FALSE(known);
    qor_data_matcher_destroy(handle);
    EXPECT_EQ(alive, 0);
}

TEST(plugin, a_constructor_that_throws_leaves_no_instance) {
    auto* handle = reinterpret_cast<void*>(1);
    EXPECT_EQ(call(qor_data_matcher_create, &handle, nullptr), failed("no host of mine"));
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(call(qor_data_matcher_create, nullptr, nullptr), invalid("argument 'handle' was not initialized"));
}

} // namespace
