#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "qorcpp/errors.hpp"
#include "runtime/filesystem_provider.hpp"
#include "tests/support/thrown.hpp"

namespace {

using namespace qor::runtime;
using tavi::test::thrown;

// A provider that answers as the test sets it; there is one at a time.
struct fake_provider {
    std::uint32_t create_status = 0;
    std::uint32_t locator_status = 0;
    const char* text = "told by the provider";
    qor_service_locator_t locator = {[](void* self, const char* name, void* target, qor_error_details_t**) {
                                         EXPECT_STREQ(name, "qor_filesystem_provider_support_t");
                                         *static_cast<void**>(target) = &static_cast<fake_provider*>(self)->support;
                                         return QOR_STATUS_OK;
                                     },
                                     [](void* self, const char*, bool* known, qor_error_details_t**) {
                                         *known = static_cast<fake_provider*>(self)->known;
                                         return QOR_STATUS_OK;
                                     },
                                     this};
    qor_service_locator_t* published = &locator;
    qor_filesystem_provider_support_t support = {
        nullptr, [](void*, const char*, qor_filesystem_t**, qor_error_details_t** e) {
            return qor_error_details_create(e, QOR_STATUS_FILE_EXISTS, "there");
        }};
    bool known = true;
    int alive = 0;

    static inline fake_provider* current = nullptr;
    fake_provider() { current = this; }

    static std::uint32_t report(std::uint32_t status, qor_error_details_t** error) {
        return status != 0 ? qor_error_details_create(error, status, current->text) : status;
    }
    io::filesystem_provider_functions functions() const {
        return {[](void** handle, qor_service_locator_t*, qor_error_details_t** error) {
                    *handle = current;
                    ++current->alive;
                    return report(current->create_status, error);
                },
                [](void*) { --current->alive; },
                [](void*, qor_service_locator_t** locator, qor_error_details_t** error) {
                    *locator = current->published;
                    return report(current->locator_status, error);
                }};
    }
    void make() const {
        io::filesystem_provider(std::make_shared<service_locator>(nullptr), make_default_allocator(), functions())
            .open("");
    }
};

TEST(filesystem_provider, tells_what_is_wrong_and_leaves_no_instance) {
    const std::string bad_locator =
        "invalid service locator interface returned from 'qor_reader_get_service_locator' function";
    const struct {
        std::function<void(fake_provider&)> change;
        std::string text;
    } cases[] = {
        {[](auto& p) { p.create_status = QOR_STATUS_INVALID_ARGUMENT; }, "told by the provider"},
        {[](auto& p) { p.locator_status = QOR_STATUS_NOT_IMPLEMENTED; }, "told by the provider"},
        {[](auto& p) {
             p.create_status = 5;
             p.text = nullptr;
         },
         "unknwon error"},
        {[](auto& p) { p.published = nullptr; }, bad_locator},
        {[](auto& p) { p.locator.resolve = nullptr; }, bad_locator},
        {[](auto& p) { p.locator.context = nullptr; }, bad_locator},
        {[](auto& p) { p.locator.can_resolve = nullptr; },
         "missing mandatory qor_filesystem_provider_support_t interface"},
        {[](auto& p) { p.known = false; }, "missing mandatory qor_filesystem_provider_support_t interface"},
        {[](auto& p) { p.support.open_filesystem = nullptr; },
         "invalid qor_filesystem_provider_support_t interface, missing 'open_filesystem' function"},
    };
    for (const auto& [change, text] : cases) {
        fake_provider fake;
        change(fake);
        EXPECT_EQ(thrown<std::runtime_error>([&] { fake.make(); }), text);
        EXPECT_EQ(fake.alive, 0) << text;
    }
    const fake_provider fake;
    EXPECT_EQ(thrown<file_exists_error>([&] { fake.make(); }), "there");
    EXPECT_EQ(thrown<std::invalid_argument>(
                  [] { io::filesystem_provider(std::make_shared<service_locator>(nullptr), nullptr); }),
              "argument 'allocator_ptr' was not initialized");
}

TEST(filesystem, outlives_the_default_provider) {
    const auto files = io::open_default_filesystem();
    ASSERT_NE(files->table, nullptr);
    bool there = false;
    files->table->exists(files->table->context, "/", &there, nullptr);
    EXPECT_TRUE(there);
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
    { const io::filesystem without_close(&table, true); }
    { const io::filesystem without_table(nullptr, true); }
}

} // namespace
