#include <gtest/gtest.h>

#include <functional>

#include "qorc/extensibility/log.h"
#include "runtime/enable_service_locator.hpp"
#include "runtime/service_locator.hpp"
#include "tests/support/outcome.hpp"
#include "tests/support/thrown.hpp"

namespace {

using qor::runtime::service_locator;
using tavi::test::call;
using tavi::test::failed;
using tavi::test::invalid;
using tavi::test::succeeded;
using tavi::test::thrown;

// A foreign locator that answers as told, whatever it is asked.
struct fake_locator : qor_service_locator_t {
    fake_locator() {
        qor_service_locator_t::resolve = [](void* self, const char* name, void* target, qor_error_details_t** error) {
            return of(self).answer(name, error, [&] { *static_cast<void**>(target) = of(self).table; });
        };
        qor_service_locator_t::can_resolve = [](void* self, const char* name, bool* known,
                                                qor_error_details_t** error) {
            return of(self).answer(name, error, [&] { *known = true; });
        };
        context = this;
    }
    static fake_locator& of(void* self) { return *static_cast<fake_locator*>(self); }
    template<typename Store>
    std::uint32_t answer(const char* name, qor_error_details_t** error, Store store) {
        asked = name;
        store();
        if (report) {
            qor_error_details_create(error, *report, "reported");
        }
        return status;
    }

    std::string asked;
    std::uint32_t status = 0;
    std::optional<std::uint32_t> report;
    void* table = this;
};

TEST(service_locator, a_missing_table_or_function_knows_nothing_and_leaves_the_target_alone) {
    fake_locator without_resolve;
    without_resolve.qor_service_locator_t::resolve = nullptr;
    int target = 0;
    void* kept = &target;
    for (qor_service_locator_t* const table :
         {static_cast<qor_service_locator_t*>(nullptr), static_cast<qor_service_locator_t*>(&without_resolve)}) {
        const service_locator locator(table);
        EXPECT_NO_THROW(locator.resolve("qor_log_t", &kept));
        EXPECT_EQ(kept, &target);
    }
    EXPECT_FALSE(service_locator(nullptr).can_resolve("qor_log_t"));
    fake_locator without_can_resolve;
    without_can_resolve.qor_service_locator_t::can_resolve = nullptr;
    const service_locator locator(&without_can_resolve);
    EXPECT_FALSE(locator.can_resolve("qor_log_t"));
    locator.resolve("qor_log_t", &kept);
    EXPECT_EQ(kept, &without_can_resolve);
}

TEST(service_locator, only_details_tell_a_failure) {
    const struct {
        std::uint32_t status;
        std::optional<std::uint32_t> report;
        const char* thrown_text;
    } cases[] = {{0, {}, "nothing was thrown"},
                 {QOR_STATUS_FAILURE, {}, "nothing was thrown"},
                 {0, QOR_STATUS_INFORMATION, "nothing was thrown"},
                 {0, QOR_STATUS_FAILURE, "reported"},
                 {0, QOR_STATUS_OK, "reported"}};
    for (const auto& [status, report, text] : cases) {
        fake_locator foreign;
        foreign.status = status;
        foreign.report = report;
        const service_locator locator(&foreign);
        bool known = false;
        qor_log_t* log = nullptr;
        const bool succeeds = std::string(text) == "nothing was thrown";
        EXPECT_EQ(thrown<std::runtime_error>([&] { known = qor::runtime::has_service<qor_log_t>(locator); }), text);
        EXPECT_EQ(known, succeeds);
        EXPECT_EQ(foreign.asked, "qor_log_t");
        EXPECT_EQ(thrown<std::runtime_error>([&] { log = qor::runtime::get_service<qor_log_t>(locator); }), text);
        EXPECT_EQ(log != nullptr, succeeds);
    }
}

TEST(service_locator, success_that_stores_nothing_gives_null) {
    fake_locator foreign;
    foreign.table = nullptr;
    EXPECT_EQ(qor::runtime::get_service<qor_log_t>(service_locator(&foreign)), nullptr);
}

struct offering : qor::extensibility::enable_service_locator {
    offering() {
        services["qor_log_t"] = [this](void* target) { *static_cast<void**>(target) = &table; };
        services["empty"] = nullptr;
    }
    qor_log_t table = {};
};

TEST(enable_service_locator, answers_for_what_was_entered) {
    offering object;
    const qor_service_locator_t& record = object;
    const service_locator locator(&object);
    EXPECT_EQ(record.context, &object);
    EXPECT_EQ(qor::runtime::get_service<qor_log_t>(locator), &object.table);
    for (const char* const unknown : {"x", "QOR_LOG_T", "struct qor_log_t", ""}) {
        void* target = nullptr;
        bool known = true;
        EXPECT_EQ(call(record.can_resolve, record.context, unknown, &known), succeeded);
        EXPECT_FALSE(known);
        EXPECT_EQ(call(record.resolve, record.context, unknown, static_cast<void*>(&target)),
                  failed(std::string("requested service '") + unknown + "' not found"));
    }
    void* target = nullptr;
    EXPECT_EQ(call(record.resolve, record.context, "empty", static_cast<void*>(&target)),
              failed(std::bad_function_call().what()));
}

TEST(enable_service_locator, names_the_first_missing_argument) {
    offering object;
    const qor_service_locator_t& record = object;
    void* const none = nullptr;
    const char* const no_name = nullptr;
    bool* const nowhere = nullptr;
    EXPECT_EQ(call(record.resolve, none, no_name, none), invalid("argument 'handle' was not initialized"));
    EXPECT_EQ(call(record.resolve, record.context, no_name, none),
              invalid("argument 'service_type' was not initialized"));
    EXPECT_EQ(call(record.resolve, record.context, "x", none), invalid("argument 'target' was not initialized"));
    EXPECT_EQ(call(record.can_resolve, none, no_name, nowhere), invalid("argument 'handle' was not initialized"));
    EXPECT_EQ(call(record.can_resolve, record.context, no_name, nowhere),
              invalid("argument 'service_type' was not initialized"));
    EXPECT_EQ(call(record.can_resolve, record.context, "x", nowhere),
              invalid("argument 'can_resolve' was not initialized"));
}

} // namespace
