// A matcher and a storage as plug-in authors write them, driven through their exported entries.
#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

#include "plugins/sdk/plugin.hpp"
#include "qorc/extensibility/data_matcher.h"
#include "qorc/extensibility/signal_storage.h"
#include "tests/support/outcome.hpp"

namespace {

using tavi::test::call;
using tavi::test::failed;
using tavi::test::invalid;
using tavi::test::outcome;
using tavi::test::succeeded;

int alive = 0;

class small_matcher {
public:
    explicit small_matcher(qor_service_locator_t* host_locator) : host_(host_locator) {
        if (host_locator == qor_get_default_service_locator()) {
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
    std::size_t format_count() const {
        if (host_ != nullptr) {
            throw std::runtime_error("none");
        }
        return 1;
    }
    std::uint32_t format(std::size_t index, const char** format) const {
        *format = "x";
        return index == 0 ? QOR_STATUS_OK : QOR_STATUS_TIMED_OUT;
    }

    qor_service_locator_t* host_;
    qor::sdk::service_table services_;
};

class small_storage {
public:
    small_storage(const char* uri, std::uint8_t mode, std::uint32_t flags, qor_service_locator_t*)
        : opened(std::string(uri) + " " + std::to_string(mode) + " " + std::to_string(flags)) {
        services_.offer(qor_signal_storage_t{});
    }
    qor::sdk::service_table& services() { return services_; }

    std::string opened;

private:
    qor::sdk::service_table services_;
};

} // namespace

QOR_DATA_MATCHER(small_matcher)

namespace storage {
#undef QOR_LIBRARY_METADATA
#define QOR_LIBRARY_METADATA(type) // one block is enough for one program
QOR_SIGNAL_STORAGE(small_storage)
} // namespace storage

namespace {

template<typename Table>
Table* find(qor_service_locator_t* locator) {
    Table* table = nullptr;
    EXPECT_EQ(call(locator->resolve, locator->context, qor::service_name<Table>().c_str(), static_cast<void*>(&table)),
              succeeded);
    return table;
}

TEST(plugin, offers_its_members_as_slots) {
    void* handle = nullptr;
    ASSERT_EQ(call(qor_data_matcher_create, &handle, static_cast<qor_service_locator_t*>(nullptr)), succeeded);
    EXPECT_EQ(alive, 1);
    qor_service_locator_t* locator = nullptr;
    ASSERT_EQ(call(qor_data_matcher_get_service_locator, handle, &locator), succeeded);
    const auto* const support = find<qor_data_matcher_support_t>(locator);
    EXPECT_EQ(call(support->unregister_type, handle, std::uint64_t{1}), succeeded);
    EXPECT_EQ(call(support->unregister_type, handle, std::uint64_t{13}), invalid("not this one"));
    EXPECT_EQ(call(support->unregister_type, static_cast<void*>(nullptr), std::uint64_t{1}),
              invalid("argument 'handle' was not initialized"));
    const auto* const formats = find<qor_data_matcher_format_support_t>(locator);
    EXPECT_EQ(formats->get_supported_format_count(handle), 1u);
    EXPECT_EQ(formats->get_supported_format_count(nullptr), 0u);
    const char* format = nullptr;
    EXPECT_EQ(call(formats->get_supported_format, handle, std::size_t{0}, &format), succeeded);
    EXPECT_STREQ(format, "x");
    EXPECT_EQ(call(formats->get_supported_format, handle, std::size_t{1}, &format),
              (outcome{QOR_STATUS_TIMED_OUT, {}, {}}))
        << "the member's own status";
    void* target = nullptr;
    bool known = true;
    EXPECT_EQ(call(locator->resolve, locator->context, "qor_log_t", static_cast<void*>(&target)),
              failed("requested service 'qor_log_t' not found"));
    EXPECT_EQ(call(locator->can_resolve, locator->context, "qor_log_t", &known), succeeded);
    EXPECT_FALSE(known);
    qor_data_matcher_destroy(handle);
    EXPECT_EQ(alive, 0);
}

TEST(plugin, a_throwing_slot_without_details_gives_zero) {
    qor_service_locator_t host = {};
    void* handle = nullptr;
    ASSERT_EQ(call(qor_data_matcher_create, &handle, &host), succeeded);
    qor_service_locator_t* locator = nullptr;
    qor_data_matcher_get_service_locator(handle, &locator, nullptr);
    EXPECT_EQ(find<qor_data_matcher_format_support_t>(locator)->get_supported_format_count(handle), 0u);
    qor_data_matcher_destroy(handle);
}

TEST(plugin, a_constructor_that_throws_leaves_no_instance) {
    auto* handle = reinterpret_cast<void*>(1);
    EXPECT_EQ(call(qor_data_matcher_create, &handle, qor_get_default_service_locator()), failed("no host of mine"));
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(call(qor_data_matcher_create, static_cast<void**>(nullptr), static_cast<qor_service_locator_t*>(nullptr)),
              invalid("argument 'handle' was not initialized"));
}

TEST(plugin, a_storage_is_opened_with_all_that_the_extractor_gives) {
    void* handle = nullptr;
    qor_error_details_t* details = nullptr;
    ASSERT_EQ(storage::qor_signal_storage_open("file:x", 0, 5, nullptr, &handle, &details), QOR_STATUS_OK);
    EXPECT_EQ(static_cast<small_storage*>(handle)->opened, "file:x 0 5");
    qor_service_locator_t* locator = nullptr;
    EXPECT_EQ(call(storage::qor_signal_storage_get_service_locator, handle, &locator), succeeded);
    EXPECT_NE(find<qor_signal_storage_t>(locator), nullptr);
    storage::qor_signal_storage_destroy(handle);
}

TEST(plugin, carries_a_block_that_names_its_kind) {
    const char* const end = std::strstr(qor_runtime_query_metadata(), "\nqor-library-type=");
    ASSERT_NE(end, nullptr);
    EXPECT_STREQ(end, "\nqor-library-type=data-matcher");
}

} // namespace
