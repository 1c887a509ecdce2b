#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "qorcpp/errors.hpp"
#include "runtime/data_source_provider.hpp"
#include "runtime/memory_data_source_provider.hpp"
#include "tests/support/outcome.hpp"
#include "tests/support/thrown.hpp"

namespace {

using namespace qor::extensibility;
using tavi::test::call;
using tavi::test::failed;
using tavi::test::invalid;
using tavi::test::outcome;
using tavi::test::succeeded;
using tavi::test::thrown;
using tavi::test::too_small;

data_source make_source(std::uint16_t id, const char* name, std::uint64_t descriptions) {
    data_source source = {};
    source.source_id = id;
    source.instance = 2;
    source.data_description_count = descriptions;
    std::string(name).copy(source.name, sizeof(source.name) - 1);
    return source;
}

data_description make_description(const char* name, const char* format) {
    data_description description = {};
    std::string(name).copy(description.name, sizeof(description.name) - 1);
    std::string(format).copy(description.format_type, sizeof(description.format_type) - 1);
    return description;
}

// A host's provider: two sources, the second with two descriptions of contents "first" and "". Each function is
// answered with QOR_STATUS_NOT_READY as often as told, with or without details of code 1.
struct fake_provider {
    std::vector<data_source> sources = {make_source(1, "a", 0), make_source(2, "b", 2)};
    std::vector<data_description> descriptions = {make_description("x", "dbc"), make_description("y", "dbc")};
    std::vector<std::string> contents = {"first", ""};
    int not_ready = 0;
    bool informs = false;
    std::uint32_t size_answer = QOR_STATUS_BUFFER_TOO_SMALL;
    std::uint64_t final_size_change = 0;
    const char* failing = "";
    std::string calls;
    int waited = 0;
    std::thread::id caller;

    qor_data_source_provider_t record() {
        return {[](void* self, std::size_t* count, qor_error_details_t** error) {
                    return of(self).answer("count", error, [&] { *count = of(self).sources.size(); });
                },
                [](void* self, std::size_t index, data_source* source, qor_error_details_t** error) {
                    return of(self).answer("source", error, [&] { *source = of(self).sources.at(index); });
                },
                nullptr,
                [](void* self, std::size_t source, std::size_t index, data_description* description,
                   qor_error_details_t** error) {
                    EXPECT_EQ(source, 1u);
                    return of(self).answer("description", error,
                                           [&] { *description = of(self).descriptions.at(index); });
                },
                [](void* self, std::size_t source, std::size_t index, void* buffer, std::uint64_t* size,
                   qor_error_details_t** error) {
                    EXPECT_EQ(source, 1u);
                    const std::string& content = of(self).contents.at(index);
                    if (buffer == nullptr) {
                        EXPECT_EQ(error, nullptr);
                        *size = content.size();
                        const std::uint32_t status = of(self).answer("size", nullptr, [] {});
                        return status != QOR_STATUS_OK ? status : of(self).size_answer;
                    }
                    return of(self).answer("content", error, [&] {
                        std::memcpy(buffer, content.data(), *size);
                        *size += of(self).final_size_change;
                    });
                },
                this};
    }

private:
    static fake_provider& of(void* self) { return *static_cast<fake_provider*>(self); }

    template<typename Store>
    std::uint32_t answer(const char* name, qor_error_details_t** error, Store store) {
        caller = std::this_thread::get_id();
        if (waited < not_ready) {
            ++waited;
            if (informs && error != nullptr) {
                qor_error_details_create(error, QOR_STATUS_INFORMATION, "still working");
            }
            return QOR_STATUS_NOT_READY;
        }
        waited = 0;
        calls += std::string(name) + ' ';
        if (std::string(failing) == name) {
            return qor_error_details_create(error, QOR_STATUS_TIMED_OUT, "the provider gave up");
        }
        store();
        return QOR_STATUS_OK;
    }
};

std::string content_of(const fake_provider& fake, const data_source_provider& provider, std::size_t description) {
    const auto [bytes, size] = provider.get_data_description_content(fake.sources[1], fake.descriptions[description]);
    return {reinterpret_cast<const char*>(bytes.get()), size};
}

TEST(data_source_provider, gives_all_in_the_providers_order_on_another_thread) {
    for (const int not_ready : {0, 3}) {
        for (const bool informs : {false, true}) {
            fake_provider fake;
            fake.not_ready = not_ready;
            fake.informs = informs;
            const data_source_provider provider(fake.record());
            const auto sources = provider.get_data_sources();
            ASSERT_EQ(sources.size(), 2u);
            EXPECT_STREQ(sources[1].name, "b");
            EXPECT_NE(fake.caller, std::this_thread::get_id());
            const auto descriptions = provider.get_data_descriptions(fake.sources[1]);
            ASSERT_EQ(descriptions.size(), 2u);
            EXPECT_STREQ(descriptions[1].name, "y");
            fake.calls.clear();
            EXPECT_EQ(content_of(fake, provider, 0), "first");
            EXPECT_EQ(fake.calls, "count source source count source source description description size content ");
            EXPECT_EQ(content_of(fake, provider, 1), "");
        }
    }
}

TEST(data_source_provider, a_source_without_descriptions_asks_for_none) {
    fake_provider fake;
    EXPECT_TRUE(data_source_provider(fake.record()).get_data_descriptions(fake.sources[0]).empty());
    EXPECT_EQ(fake.calls, "count source source ");
}

TEST(data_source_provider, a_source_has_to_be_equal_in_every_field) {
    fake_provider fake;
    const data_source_provider provider(fake.record());
    const std::function<void(data_source&)> changes[] = {
        [](data_source& s) { s.source_id = 3; },     [](data_source& s) { s.instance = 9; },
        [](data_source& s) { s.flag = 1; },          [](data_source& s) { s.data_description_count = 1; },
        [](data_source& s) { s.text_15[0] = 'x'; },  [](data_source& s) { s.name[1] = 'x'; },
        [](data_source& s) { s.text_302[0] = 'x'; }, [](data_source& s) { s.text_557[0] = 'x'; },
    };
    for (std::size_t i = 0; i < std::size(changes); ++i) {
        data_source source = fake.sources[1];
        changes[i](source);
        EXPECT_EQ(thrown<std::runtime_error>([&] { provider.get_data_descriptions(source); }),
                  "the specified data source was not found")
            << i;
    }
    data_source behind_terminators = fake.sources[1];
    behind_terminators.name[20] = 'x';
    EXPECT_EQ(provider.get_data_descriptions(behind_terminators).size(), 2u);
    for (const auto& description : {make_description("x", "sdl"), make_description("z", "dbc")}) {
        EXPECT_EQ(
            thrown<std::runtime_error>([&] { provider.get_data_description_content(fake.sources[1], description); }),
            "the specified data description was not found");
    }
}

TEST(data_source_provider, refuses_a_table_that_lacks_something_before_any_call) {
    const std::function<void(qor_data_source_provider_t&)> removals[] = {
        [](auto& r) { r.context = nullptr; },
        [](auto& r) { r.get_data_source_count = nullptr; },
        [](auto& r) { r.get_data_source = nullptr; },
        [](auto& r) { r.get_data_description = nullptr; },
        [](auto& r) { r.get_data_description_content = nullptr; },
    };
    for (std::size_t i = 0; i < std::size(removals); ++i) {
        fake_provider fake;
        auto record = fake.record();
        removals[i](record);
        EXPECT_EQ(thrown<std::runtime_error>([&] { content_of(fake, data_source_provider(record), 0); }),
                  "invalid data source provider handle")
            << i;
        EXPECT_EQ(fake.calls, "") << i;
    }
}

TEST(data_source_provider, what_the_provider_reports_comes_out) {
    for (const char* const name : {"count", "source", "description", "content"}) {
        fake_provider fake;
        fake.failing = name;
        EXPECT_EQ(
            thrown<qor::runtime::timed_out_error>([&] { content_of(fake, data_source_provider(fake.record()), 0); }),
            "the provider gave up")
            << name;
    }
    fake_provider fake;
    for (const std::uint32_t status : {QOR_STATUS_OK, QOR_STATUS_FAILURE}) {
        fake.size_answer = status;
        EXPECT_EQ(thrown<std::runtime_error>([&] { content_of(fake, data_source_provider(fake.record()), 0); }),
                  "unexpected value received from 'get_data_description_content' function while retrieving content "
                  "size");
    }
}

TEST(data_source_provider, the_size_is_what_the_last_call_left_but_never_beyond_the_room) {
    fake_provider fake;
    fake.final_size_change = static_cast<std::uint64_t>(-2);
    EXPECT_EQ(content_of(fake, data_source_provider(fake.record()), 0), "fir");
    fake.final_size_change = 1;
    EXPECT_EQ(thrown<std::runtime_error>([&] { content_of(fake, data_source_provider(fake.record()), 0); }),
              "unexpected value received from 'get_data_description_content' function while retrieving content");
}

TEST(memory_data_source_provider, serves_what_it_was_given) {
    const data_source source = make_source(7, "mine", 2);
    const std::vector<data_description_content> contents = {{make_description("x", "dbc"), 3, "abc"},
                                                            {make_description("y", "sdl"), 0, nullptr}};
    const memory_data_source_provider memory(source, contents);
    const data_source_provider provider(memory.record());
    EXPECT_EQ(memory.record().reserved_3, nullptr);
    ASSERT_EQ(provider.get_data_sources().size(), 1u);
    ASSERT_EQ(provider.get_data_descriptions(source).size(), 2u);
    const auto [bytes, size] = provider.get_data_description_content(source, contents[0].description);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes.get()), size), "abc");
    EXPECT_EQ(provider.get_data_description_content(source, contents[1].description).second, 0u);
}

TEST(memory_data_source_provider, names_missing_arguments_and_refuses_indices_beyond_the_end) {
    const std::vector<data_description_content> contents = {{make_description("x", "dbc"), 3, "abc"}};
    const memory_data_source_provider memory(make_source(7, "mine", 1), contents);
    const qor_data_source_provider_t r = memory.record();
    constexpr std::size_t first = 0;
    constexpr std::size_t beyond = 1;
    void* const none = nullptr;
    data_source source = {};
    data_description description = {};
    std::uint64_t size = 0;
    const outcome no_handle = invalid("argument 'handle' was not initialized");
    const outcome subscript = failed("invalid vector<T> subscript");
    const auto no = [](const char* name) {
        return invalid(std::string("argument '") + name + "' was not initialized");
    };
    EXPECT_EQ(call(r.get_data_source_count, none, static_cast<std::size_t*>(nullptr)), no_handle);
    EXPECT_EQ(call(r.get_data_source_count, r.context, static_cast<std::size_t*>(nullptr)), no("count"));
    EXPECT_EQ(call(r.get_data_source, none, first, static_cast<data_source*>(nullptr)), no_handle);
    EXPECT_EQ(call(r.get_data_source, r.context, beyond, static_cast<data_source*>(nullptr)), no("data_source"));
    EXPECT_EQ(call(r.get_data_source, r.context, beyond, &source), subscript);
    EXPECT_EQ(call(r.get_data_description, none, first, first, &description), no_handle);
    EXPECT_EQ(call(r.get_data_description, r.context, first, first, static_cast<data_description*>(nullptr)),
              no("data_description"));
    EXPECT_EQ(call(r.get_data_description, r.context, first, beyond, &description), subscript);
    EXPECT_EQ(call(r.get_data_description, r.context, std::size_t{99}, first, &description), succeeded)
        << "the source's index does not count";
    EXPECT_EQ(call(r.get_data_description_content, none, first, first, none, &size), no_handle);
    EXPECT_EQ(call(r.get_data_description_content, r.context, first, first, none, static_cast<std::uint64_t*>(nullptr)),
              no("size"));
    EXPECT_EQ(call(r.get_data_description_content, r.context, first, first, none, &size), too_small);
    EXPECT_EQ(size, 3u);
    EXPECT_EQ(call(r.get_data_description_content, r.context, first, beyond, none, &size), subscript);
    char buffer[8] = {};
    size = 2;
    EXPECT_EQ(call(r.get_data_description_content, r.context, first, first, static_cast<void*>(buffer), &size),
              succeeded);
    EXPECT_STREQ(buffer, "ab");
    size = 8;
    EXPECT_EQ(call(r.get_data_description_content, r.context, first, first, static_cast<void*>(buffer), &size),
              succeeded);
    EXPECT_EQ(size, 3u) << "no more than there is";
}

} // namespace
