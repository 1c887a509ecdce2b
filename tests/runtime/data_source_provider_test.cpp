// What a host's provider may get wrong at registration is tested with the extractor.
#include <gtest/gtest.h>

#include "runtime/data_source_provider.hpp"
#include "runtime/memory_data_source_provider.hpp"
#include "tests/support/outcome.hpp"
#include "tests/support/thrown.hpp"

namespace {

using namespace qor::extensibility;
using namespace tavi::test;

class memory_provider : public testing::Test {
protected:
    const data_source source = {7, 2, 0, 2, "", "mine", "", ""};
    const std::vector<data_description_content> contents = {{{"x", "dbc"}, 3, "abc"}, {{"y", "sdl"}, 0, nullptr}};
    const memory_data_source_provider memory{source, contents};
    qor_data_source_provider_t record = memory.record();
};

TEST_F(memory_provider, the_size_is_what_the_last_call_left_but_never_beyond_the_room) {
    static std::uint64_t last = 0;
    record.get_data_description_content = [](void*, std::size_t, std::size_t, void* buffer, std::uint64_t* size,
                                             qor_error_details_t**) -> std::uint32_t {
        *size = buffer == nullptr ? 3 : last;
        return buffer == nullptr ? QOR_STATUS_BUFFER_TOO_SMALL : QOR_STATUS_OK;
    };
    const auto ask = [&] {
        return data_source_provider(record).get_data_description_content(source, contents[0].description).second;
    };
    last = 2;
    EXPECT_EQ(ask(), 2u);
    last = 4;
    EXPECT_EQ(thrown<std::runtime_error>(ask),
              "unexpected value received from 'get_data_description_content' function while retrieving content");
    const data_description unknown = {"x", "sdl"};
    EXPECT_EQ(
        thrown<std::runtime_error>([&] { data_source_provider(record).get_data_description_content(source, unknown); }),
        "the specified data description was not found");
}

// Without a list being made for each content, as a host's provider is asked to.
TEST_F(memory_provider, gives_the_first_content_of_a_name_and_format) {
    const std::vector<data_description_content> alike = {
        {{"x", "dbc"}, 1, "1"}, {{"x", "sdl"}, 1, "2"}, {{"y", "dbc"}, 1, "3"}, {{"x", "dbc"}, 1, "4"}};
    const memory_data_source_provider four({7, 2, 0, 4, "", "mine", "", ""}, alike);
    const qor_data_source_provider_t four_record = four.record();
    const data_source_provider own(four), as_a_hosts(four_record);
    std::string texts;
    for (const data_source_provider* const asked : {&own, &as_a_hosts}) {
        for (const data_description& description : asked->get_data_descriptions(four.sources[0])) {
            const auto [content, size] = asked->get_data_description_content(four.sources[0], description);
            texts.append(content.get(), content.get() + size);
        }
    }
    EXPECT_EQ(texts, "12311231");
}

TEST_F(memory_provider, names_missing_arguments_and_refuses_indices_beyond_the_end) {
    const auto content = [&](std::size_t index, void* buffer, std::uint64_t* size) {
        return call(record.get_data_description_content, record.context, 0, index, buffer, size);
    };
    constexpr std::size_t beyond = 2;
    void* const self = record.context;
    data_source other = {};
    data_description description = {};
    char buffer[8] = {};
    std::uint64_t size = 2;
    const std::pair<outcome, outcome> cases[] = {
        {call(record.get_data_source_count, nullptr, nullptr), invalid("argument 'handle' was not initialized")},
        {call(record.get_data_source, self, beyond, nullptr), invalid("argument 'data_source' was not initialized")},
        {call(record.get_data_source, self, beyond, &other), failed("invalid vector<T> subscript")},
        {call(record.get_data_description, self, beyond, beyond, &description), failed("invalid vector<T> subscript")},
        {call(record.get_data_description, self, beyond, 1, &description), succeeded},
        {content(0, nullptr, nullptr), invalid("argument 'size' was not initialized")},
        {content(beyond, nullptr, &size), failed("invalid vector<T> subscript")},
        {content(0, buffer, &size), succeeded},
    };
    for (const auto& [answer, expected] : cases) {
        EXPECT_EQ(answer, expected);
    }
    EXPECT_STREQ(buffer, "ab");
    EXPECT_EQ(content(0, nullptr, &size), too_small);
    EXPECT_EQ(size, 3u);
    size = 8;
    EXPECT_EQ(content(0, buffer, &size), succeeded);
    EXPECT_EQ(size, 3u) << "no more than there is";
}

} // namespace
