#include <gtest/gtest.h>

#include "qorcpp/errors.hpp"
#include "runtime/enable_service_locator.hpp"
#include "runtime/filesystem_provider.hpp"
#include "tests/support/memory_shortage.hpp"
#include "tests/support/thrown.hpp"

namespace {

using namespace qor::runtime;
using tavi::test::thrown;

// A provider that answers as the test sets it; there is one at a time.
struct fake_provider : qor::extensibility::enable_service_locator {
    fake_provider() {
        current = this;
        services["qor_filesystem_provider_support_t"] = [this](void* target) {
            *static_cast<void**>(target) = &support;
        };
        support.open_filesystem = [](void*, const char*, qor_filesystem_t**, qor_error_details_t** error) {
            return qor_error_details_create(error, QOR_STATUS_FILE_EXISTS, "there");
        };
    }
    using enable_service_locator::services;
    qor_service_locator_t* published = this;
    qor_filesystem_provider_support_t support = {};
    std::uint32_t create_status = 0, locator_status = 0;
    int alive = 0;
    static inline fake_provider* current = nullptr;
};

std::uint32_t report(std::uint32_t status, qor_error_details_t** error) {
    return status != 0 ? qor_error_details_create(error, status, "told by the provider") : status;
}

void open_one() {
    static fake_provider*& fake = fake_provider::current;
    const io::filesystem_provider_functions functions = {
        [](void** handle, qor_service_locator_t*, qor_error_details_t** error) {
            *handle = fake;
            ++fake->alive;
            return report(fake->create_status, error);
        },
        [](void*) { --fake->alive; },
        [](void*, qor_service_locator_t** locator, qor_error_details_t** error) {
            *locator = fake->published;
            return report(fake->locator_status, error);
        }};
    io::filesystem_provider(std::make_shared<service_locator>(nullptr), make_default_allocator(), functions).open("");
}

TEST(filesystem_provider, tells_what_is_wrong_and_leaves_no_instance) {
    const char* const bad_locator =
        "invalid service locator interface returned from 'qor_reader_get_service_locator' function";
    const char* const missing_table = "missing mandatory qor_filesystem_provider_support_t interface";
    const std::pair<void (*)(fake_provider&), const char*> cases[] = {
        {[](auto& p) { p.create_status = QOR_STATUS_INVALID_ARGUMENT; }, "told by the provider"},
        {[](auto& p) { p.locator_status = QOR_STATUS_NOT_IMPLEMENTED; }, "told by the provider"},
        {[](auto& p) { p.published = nullptr; }, bad_locator},
        {[](auto& p) { p.qor_service_locator_t::context = nullptr; }, bad_locator},
        {[](auto& p) { p.qor_service_locator_t::can_resolve = nullptr; }, missing_table},
        {[](auto& p) { p.services.clear(); }, missing_table},
        {[](auto& p) { p.support.open_filesystem = nullptr; },
         "invalid qor_filesystem_provider_support_t interface, missing 'open_filesystem' function"},
    };
    for (const auto& [change, text] : cases) {
        fake_provider fake;
        change(fake);
        EXPECT_EQ(thrown<std::runtime_error>(open_one), text);
        EXPECT_EQ(fake.alive, 0) << text;
    }
    const fake_provider fake;
    EXPECT_EQ(thrown<file_exists_error>(open_one), "there");
}

TEST(filesystem_provider, without_memory_leaves_no_filesystem_open) {
    fake_provider fake;
    static int open_filesystems = 0;
    fake.support.open_filesystem = [](void*, const char*, qor_filesystem_t** filesystem, qor_error_details_t**) {
        static qor_filesystem_t table = {};
        table.close = [](void*, qor_error_details_t**) -> std::uint32_t { return --open_filesystems, QOR_STATUS_OK; };
        table.context = &table;
        ++open_filesystems;
        *filesystem = &table;
        return std::uint32_t{QOR_STATUS_OK};
    };
    for (tavi::test::memory_shortage::sweep sweep; sweep.next();) {
        const bool opened = sweep.during([] {
            try {
                open_one();
                return true;
            } catch (const std::exception&) {
                return false;
            }
        });
        EXPECT_TRUE(opened || sweep.struck());
        EXPECT_EQ(open_filesystems, 0) << sweep.number();
        EXPECT_EQ(fake.alive, 0) << sweep.number();
    }
}

TEST(filesystem, closes_what_it_owns_and_swallows_what_closing_reports) {
    int closed = 0;
    qor_filesystem_t table = {};
    table.close = [](void* context, qor_error_details_t** error) {
        ++*static_cast<int*>(context);
        return qor_error_details_create(error, QOR_STATUS_FAILURE, "will not close");
    };
    table.context = &closed;
    { const io::filesystem owner(&table, true); }
    EXPECT_EQ(closed, 1);
    { const io::filesystem view(&table, false); }
    EXPECT_EQ(closed, 1);
    table.close = nullptr;
    { const io::filesystem without_close(&table, true), without_table(nullptr, true); }
}

} // namespace
