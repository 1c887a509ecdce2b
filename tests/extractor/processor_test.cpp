// Data processors: which sources they are bound to, what they bring, and their part in registrations.
#include "tests/extractor/extractor_fixture.hpp"

namespace tavi::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace fakes;

class processor : public extractor_test {
protected:
    processor() { add_parser("p", {{"dbc"}, {"sdl"}}).context_type = 1; }

    outcome register_plain(std::uint16_t id = 0x235, std::uint32_t instance = 1) {
        return register_descriptions(id, instance, "source " + std::to_string(id), {});
    }
    bool has_processor(const std::string& format, std::uint16_t id = 0x235, std::uint32_t instance = 1) {
        bool result = false;
        const package unit(id, instance, format, "");
        EXPECT_EQ(call(api.has_data_processor, handle, unit.get(), &result), succeeded);
        return result;
    }
    const std::set<std::string> binding{"create", "bind", "get_data_descriptions", "destroy"};
};

TEST_F(processor, takes_sources_of_its_type_and_class) {
    const struct {
        std::uint32_t type;
        std::uint16_t source_class;
        bool fits;
    } rows[] = {{5, 0, true}, {5, 0x23, true}, {5, 0x24, false}, {4, 0, false}, {4, 0x23, false}, {0x235, 0, false}};
    for (const auto& row : rows) {
        add_processor("box", {{"raw", row.type, row.source_class}}).formats.resize(1);
        start();
        take({});
        ASSERT_EQ(register_plain(), succeeded);
        EXPECT_EQ(has_processor("raw"), row.fits) << row.type << ' ' << row.source_class;
        EXPECT_EQ(has_processor("RAW"), false);
        EXPECT_THAT(take(binding), row.fits ? strings({"box.create host", "box.bind source 565 instance=1 of 1",
                                                       "box.get_data_descriptions"})
                                            : strings({"box.create host", "box.destroy"}));
        destroy();
    }
}

TEST_F(processor, is_bound_to_a_source_once_under_its_first_fitting_format) {
    add_processor("box", {{"other", 4}, {"raw", 5}, {"cooked", 5}}).descriptions = {"text"};
    start();
    ASSERT_EQ(register_plain(), succeeded);
    EXPECT_THAT(signatures, ElementsAre("signature 2"));
    EXPECT_TRUE(has_processor("raw"));
    EXPECT_FALSE(has_processor("cooked"));
    EXPECT_FALSE(has_processor("other"));
    take({});
    // Again: a new instance is made for the search, finds its library bound, and goes.
    ASSERT_EQ(register_plain(), succeeded);
    EXPECT_THAT(signatures, IsEmpty());
    EXPECT_THAT(take(binding), ElementsAre("box.create host", "box.destroy"));
    // Another instance of the source is another source.
    EXPECT_FALSE(has_processor("raw", 0x235, 2));
    ASSERT_EQ(register_descriptions(0x235, 2, "second", {}), succeeded);
    EXPECT_TRUE(has_processor("raw", 0x235, 2));
}

TEST_F(processor, outlives_the_registration_of_its_source) {
    add_processor("box", {{"raw", 5}}).descriptions = {"text"};
    start();
    ASSERT_EQ(register_plain(), succeeded);
    EXPECT_EQ(call(api.unregister_sources, handle), succeeded);
    EXPECT_FALSE(has_processor("raw")); // the source is unknown
    ASSERT_EQ(register_plain(), succeeded);
    EXPECT_TRUE(has_processor("raw"));
    EXPECT_THAT(signatures, IsEmpty());
    take({});
    destroy();
    EXPECT_THAT(take({"destroy"}), ElementsAre("box.destroy", "p.destroy", "qor_signal_storage.destroy"));
}

TEST_F(processor, brings_descriptions_after_those_of_the_source) {
    add_processor("box", {{"raw", 5}}).descriptions = {"one", "two"};
    start();
    ASSERT_EQ(register_descriptions(0x235, 1, "source", {{"a", "dbc", ""}}), succeeded);
    EXPECT_THAT(
        take({"create_context", "parse_buffer"}),
        ElementsAre("qor_signal_storage.create_context a type=1 ''", "p.parse_buffer a type=0 ''",
                    "qor_signal_storage.create_context libbox type=5 'one'", "p.parse_buffer libbox type=0 'one'",
                    "qor_signal_storage.create_context libbox type=5 'two'", "p.parse_buffer libbox type=0 'two'"));
    EXPECT_THAT(signatures, ElementsAre("signature 2", "signature 3", "signature 3"));
}

TEST_F(processor, needs_the_parser_and_the_table_of_descriptions) {
    script& box = add_processor("box", {{"raw", 5}});
    box.missing = {"qor_data_processor_data_description_support_t"};
    start();
    EXPECT_EQ(register_plain(), failed("the underlying processor does not support data descriptions"));
    EXPECT_FALSE(has_processor("raw"));     // the source was not stored
    ASSERT_EQ(register_plain(), succeeded); // it was bound all the same, and is not asked again
    EXPECT_TRUE(has_processor("raw"));
    destroy();
    box.missing = {"get_data_descriptions"};
    start();
    EXPECT_EQ(register_plain(), failed("invalid 'qor_data_processor_data_description_support' interface"));
    destroy();
    box.missing = {};
    box.answers = {{"get_data_descriptions", reports(QOR_STATUS_TIMED_OUT, "later")}};
    start();
    EXPECT_EQ(register_plain(), failed("later", QOR_STATUS_TIMED_OUT));
    destroy();
    box.answers = {};
    host.control.scripts["p"].formats = {{"dbc"}};
    start();
    EXPECT_EQ(register_plain(), failed("failed to find a data description parser for data description type 'sdl'"));
}

TEST_F(processor, may_do_without_being_told_its_source) {
    script& box = add_processor("box", {{"raw", 5}});
    box.missing = {"qor_data_processor_data_source_binding_t"};
    start();
    ASSERT_EQ(register_plain(), succeeded);
    EXPECT_TRUE(has_processor("raw"));
    EXPECT_THAT(take({"bind"}), IsEmpty());
    destroy();
    box.missing = {"bind"};
    start();
    EXPECT_EQ(register_plain(), failed("missing interface 'qor_data_processor_data_source_binding_t'"));
    destroy();
    box.missing = {};
    box.answers = {{"bind", reports(QOR_STATUS_FILE_EXISTS, "taken")}};
    start();
    take({});
    EXPECT_EQ(register_plain(), failed("taken", QOR_STATUS_FILE_EXISTS));
    EXPECT_THAT(take(binding), ElementsAre("box.create host", "box.bind source 565 instance=1 of 1", "box.destroy"));
}

TEST_F(processor, that_cannot_tell_its_formats_fails_the_registration) {
    script& box = add_processor("box", {{"a", 4}, {"b", 4}});
    const std::string table = "invalid qor_data_processor_format_support_t interface, missing '";
    const script whole = box;
    const std::pair<std::set<std::string>, std::string> holes[] = {
        {{"get_supported_format"}, "get_supported_format"},
        {{"get_supported_format_count"}, "get_supported_format_count"},
        {{"get_supported_format", "get_supported_format_count"}, "get_supported_format"}};
    start();
    for (const auto& [missing, named] : holes) {
        box.missing = missing;
        EXPECT_EQ(register_plain(), failed(table + named + "' function"));
    }
    for (const char* function : {"get_supported_format_count", "get_supported_format/1"}) {
        box = whole;
        box.answers = {{function, reports(QOR_STATUS_INVALID_ARGUMENT, "no idea")}};
        EXPECT_EQ(register_plain(), invalid("no idea")) << function;
    }
}

TEST_F(processor, is_looked_for_only_with_a_provider) {
    add_processor("box", {{"raw", 5}});
    start();
    take({});
    EXPECT_EQ(register_source(0x235, 1, "engine"), succeeded);
    EXPECT_THAT(take({"create"}), IsEmpty());
    EXPECT_FALSE(has_processor("raw"));
    bool result = true;
    EXPECT_EQ(call(api.has_data_processor, handle, package(9, 9, "", "").get(), &result),
              invalid("a generic package without format type specifier was received"));
}

} // namespace
} // namespace tavi::test
