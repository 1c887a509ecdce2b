// Plug-ins and hosts whose answers do not hold what they promise.
#include "tests/extractor/extractor_fixture.hpp"
#include "tests/extractor/host_provider.hpp"

namespace tavi::test {
namespace {

using ::testing::ElementsAre;
using namespace fakes;

class missing_answers : public extractor_test {
protected:
    void start_with_processor(script& box) {
        add_parser("p", {{"sdl"}});
        box.process = [](std::uint64_t) { return strings{"ab", "cd", "ef"}; };
        start();
        ASSERT_EQ(register_descriptions(0x235, 1, "s", {}), succeeded);
        ASSERT_EQ(register_signatures(0x235, 1, "s", {"signature 1"}), succeeded);
        subscribe("s.View.Plain.Byte");
    }
    const package unit{0x235, 1, "raw", "x"};
};

TEST_F(missing_answers, formats_without_a_text_are_refused) {
    add_processor("box", {{"raw", 5}}).answers["get_supported_format"] = returns(0);
    start();
    EXPECT_EQ(register_descriptions(0x235, 1, "s", {}), failed("invalid qor_data_processor_format_support_t interface, "
                                                               "no text from 'get_supported_format' function"));
    destroy();
    add_parser("p", {{"dbc"}}).answers["get_supported_file_format"] = returns(0);
    EXPECT_EQ(create(), failed("invalid qor_data_description_parser_format_support_t interface, no text from "
                               "'get_supported_file_format' function"));
    add_matcher("m", {"can"}).answers["get_supported_format"] = returns(0);
    EXPECT_EQ(create(), failed("invalid qor_data_matcher_format_support_t interface, no text from "
                               "'get_supported_format' function"));
}

TEST_F(missing_answers, records_of_a_processor_that_are_not_there_fail_the_package) {
    script& box = add_processor("box", {{"raw", 5}});
    start_with_processor(box);
    EXPECT_EQ(process(unit).size(), 3u);
    for (const std::size_t hole : {0, 1, 2}) {
        box.holes = {hole};
        EXPECT_EQ(try_process(unit), invalid("invalid dynamic data state")) << hole;
    }
    box.announces_without_array = true;
    EXPECT_EQ(try_process(unit), invalid("invalid dynamic data state"));
}

TEST_F(missing_answers, nodes_that_are_counted_and_not_given_fail_the_query) {
    start();
    ASSERT_EQ(register_signatures(10, 1, "s", {"signature 1"}), succeeded);
    subscribe("s.View.Plain.Byte");
    storage().nodes_without_records = true;
    const outcome without_records = invalid("invalid node object state");
    qor_type_node_sequence_t* nodes = nullptr;
    EXPECT_EQ(call(api.get_root_nodes_by_source_name, handle, "s", &nodes), without_records);
    EXPECT_EQ(try_subscribe("s.View.Object[1].Group"), without_records);
    EXPECT_EQ(filter(), "<invalid node object state>");
}

TEST_F(missing_answers, arguments_within_arguments_are_tested) {
    add_parser("p", {{"dbc"}});
    start();
    EXPECT_EQ(register_signatures(10, 1, "s", {"signature 1", nullptr}),
              invalid("argument 'data_description_signatures' was not initialized"));
    qor_data_description_content_t content{{"one", "dbc"}, 3, nullptr};
    EXPECT_EQ(
        call(api.register_source_with_data_descriptions, handle, 10, 1, "s", &content, 1, nullptr, nullptr, nullptr),
        invalid("argument 'content' was not initialized"));
    content.content_size = 0;
    EXPECT_EQ(
        call(api.register_source_with_data_descriptions, handle, 10, 1, "s", &content, 1, nullptr, nullptr, nullptr),
        succeeded);
}

TEST_F(missing_answers, a_size_that_comes_with_not_ready_counts_for_nothing) {
    add_parser("p", {{"dbc"}});
    start();
    host_provider provider(make_source(10, 1, "s"), {{"one", "dbc", "text"}});
    provider.not_ready = 2;
    static const auto give_content = provider.get_data_description_content;
    provider.get_data_description_content = [](void* self, std::size_t source, std::size_t index, void* buffer,
                                               std::uint64_t* size, qor_error_details_t** error) {
        const std::uint32_t status = give_content(self, source, index, buffer, size, error);
        *size = status == QOR_STATUS_NOT_READY ? 100'000'000 : *size;
        return status;
    };
    EXPECT_EQ(call(api.register_source, handle, &provider.source, &provider, false, nullptr, nullptr, nullptr),
              succeeded);
    EXPECT_THAT(take({"create_context"}), ElementsAre("qor_signal_storage.create_context one type=0 'text'"));
}

TEST_F(missing_answers, a_create_without_uri_leaves_a_null_handle) {
    qor_tavi_extractor_t* made = reinterpret_cast<qor_tavi_extractor_t*>(this);
    EXPECT_EQ(call(api.create, nullptr, 0, host_locator, &made),
              invalid("argument 'signal_storage_uri' was not initialized"));
    EXPECT_EQ(made, nullptr);
}

} // namespace
} // namespace tavi::test
