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

    outcome register_plain(std::uint32_t instance = 1) { return register_descriptions(0x23D, instance, "s", {}); }
    bool has_processor(const std::string& format, std::uint32_t instance = 1) {
        bool result = false;
        EXPECT_EQ(call(api.has_data_processor, handle, package(0x23D, instance, format, "").get(), &result), succeeded);
        return result;
    }
    const std::set<std::string> binding{"create", "bind", "get_data_descriptions", "destroy"};
};

TEST_F(processor, is_bound_to_sources_of_its_type_and_class) {
    const std::tuple<std::uint32_t, std::uint16_t, bool> rows[] = {
        {13, 0, true}, {13, 0x23, true}, {13, 0x24, false}, {4, 0x23, false}, {0x23D, 0, false}};
    for (const auto& [type, source_class, fits] : rows) {
        add_processor("box", {{"raw", type, source_class}});
        start();
        take({});
        ASSERT_EQ(register_plain(), succeeded);
        EXPECT_EQ(has_processor("raw"), fits) << type << ' ' << source_class;
        const strings bound = {"box.create", "box.bind s instance=1 of 1", "box.get_data_descriptions"};
        EXPECT_EQ(take(binding), fits ? bound : strings({"box.create", "box.destroy"}));
        destroy();
    }
}

TEST_F(processor, is_bound_to_a_source_once_under_its_first_fitting_format_and_outlives_the_registration) {
    add_processor("box", {{"other", 4}, {"raw", 13}, {"cooked", 13}}).descriptions = {"text"};
    start();
    EXPECT_EQ(register_source(0x23D, 1, "s"), succeeded); // without a provider nobody looks for one
    EXPECT_FALSE(has_processor("raw"));
    ASSERT_EQ(register_plain(), succeeded);
    EXPECT_THAT(signatures, ElementsAre("signature 2"));
    for (const std::string format : {"raw", "cooked", "other", "RAW"}) {
        EXPECT_EQ(has_processor(format), format == "raw");
    }
    take({});
    // Again: a new instance is made for the search, finds its library bound, and goes.
    ASSERT_EQ(register_plain(), succeeded);
    EXPECT_THAT(signatures, IsEmpty());
    EXPECT_THAT(take(binding), ElementsAre("box.create", "box.destroy"));
    // Another instance of the source is another source.
    EXPECT_FALSE(has_processor("raw", 2));
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
    add_processor("box", {{"raw", 13}}).descriptions = {"one", "two"};
    start();
    ASSERT_EQ(register_descriptions(0x23D, 1, "source", {{"a", "dbc", ""}}), succeeded);
    EXPECT_THAT(take({"create_context"}), ElementsAre("qor_signal_storage.create_context a type=1 ''",
                                                      "qor_signal_storage.create_context libbox type=5 'one'",
                                                      "qor_signal_storage.create_context libbox type=5 'two'"));
    EXPECT_THAT(signatures, ElementsAre("signature 2", "signature 3", "signature 3"));
}

TEST_F(processor, without_what_it_needs_fails_the_registration) {
    script& box = add_processor("box", {{"raw", 13}});
    // What the plug-in lacks, what it answers, how the registration ends, and whether the plug-in is bound then.
    const std::tuple<std::set<std::string>, std::map<std::string, answer>, outcome, bool> rows[] = {
        {{"qor_data_processor_data_source_binding_t"}, {}, succeeded, true},
        {{"qor_data_processor_data_description_support_t"},
         {},
         failed("the underlying processor does not support data descriptions"),
         true},
        {{"get_data_descriptions"},
         {},
         failed("invalid 'qor_data_processor_data_description_support' interface"),
         true},
        {{}, {{"get_data_descriptions", reports(QOR_STATUS_INVALID_ARGUMENT, "later")}}, invalid("later"), true},
        {{"bind"}, {}, failed("missing interface 'qor_data_processor_data_source_binding_t'"), false},
        {{}, {{"bind", reports(QOR_STATUS_FILE_EXISTS, "taken")}}, failed("taken", QOR_STATUS_FILE_EXISTS), false},
    };
    for (const auto& [missing, answers, result, bound] : rows) {
        box.missing = missing;
        box.answers = answers;
        start();
        EXPECT_EQ(register_plain(), result);
        EXPECT_EQ(has_processor("raw"), result == succeeded); // else the source was not stored
        // Once bound it stays so all the same, and is not asked again.
        EXPECT_EQ(register_plain(), bound ? succeeded : result);
        EXPECT_EQ(has_processor("raw"), bound);
        destroy();
    }
    plugin("p").formats = {{"dbc"}};
    box = {.formats = box.formats};
    start();
    EXPECT_EQ(register_plain(), failed("failed to find a data description parser for data description type 'sdl'"));
}

} // namespace
} // namespace tavi::test
