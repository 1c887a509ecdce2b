// How an extractor comes to life: which plug-ins it finds, in which order, and what fails it.
#include "tests/extractor/extractor_fixture.hpp"

#include <fstream>

namespace tavi::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace fakes;

class startup : public extractor_test {
protected:
    const std::set<std::string> life{"open", "create", "destroy"};
};

TEST_F(startup, opens_the_storage_with_what_the_host_gave) {
    ASSERT_EQ(create("", 7), succeeded);
    EXPECT_THAT(take(life), ElementsAre("qor_signal_storage.open '' mode=0 flags=7 host"));
}

TEST_F(startup, needs_no_host_locator_and_logs_nothing_then) {
    add_parser("p", {{"dbc"}});
    host_locator = nullptr;
    start();
    EXPECT_EQ(register_source(1, 1, "engine"), succeeded);
    EXPECT_THAT(take(life), IsEmpty()); // the fakes could not reach the host
}

TEST_F(startup, takes_matchers_then_parsers_by_file_name_and_ends_the_storage_last) {
    add_parser("a", {{"dbc"}});
    add_parser("d", {{"sdl"}});
    add_matcher("b", {"can"});
    add_matcher("c", {"can", "lin"});
    start();
    // All formats of b went to c, so b ends at once.
    EXPECT_THAT(take(life),
                ElementsAre("qor_signal_storage.open 'file:signal_storage?mode=memory' mode=0 flags=0 host",
                            "b.create host", "c.create host", "b.destroy", "a.create host", "d.create host"));
    destroy();
    const strings ended = take(life);
    ASSERT_EQ(ended.size(), 4u);
    EXPECT_THAT(strings(ended.begin(), ended.begin() + 2), ::testing::UnorderedElementsAre("a.destroy", "d.destroy"));
    EXPECT_EQ(ended[2], "c.destroy");
    EXPECT_EQ(ended[3], "qor_signal_storage.destroy");
}

TEST_F(startup, gives_a_matcher_format_to_the_later_and_a_parser_type_to_the_earlier_plugin) {
    add_matcher("m1", {"x"});
    add_matcher("m2", {"x"});
    add_parser("p1", {{"dbc"}});
    add_parser("p2", {{"dbc"}});
    start();
    ASSERT_EQ(register_descriptions(1, 1, "engine", {{"one", "dbc", "text"}}), succeeded);
    EXPECT_THAT(take({"parse_buffer"}), ElementsAre("p1.parse_buffer one type=0 'text'"));
    subscribe("1#1.View.Plain");
    EXPECT_THAT(take({"register_type"}), ElementsAre("m2.register_type 2 View/Plain at 512 of 8"));
}

TEST_F(startup, passes_over_what_is_no_plugin) {
    std::ofstream(directory.path() / "libtext.so") << "qor-library-type=data-matcher";
    std::ofstream(directory.path() / "libempty.so");
    std::filesystem::create_directory(directory.path() / "libfolder.so");
    add_plugin("other", "data-reader");
    add_matcher("without_formats", {});
    ASSERT_EQ(create(), succeeded);
    EXPECT_THAT(take({"create", "destroy"}), ElementsAre("without_formats.create host", "without_formats.destroy"));
}

TEST_F(startup, fails_without_the_storage_library) {
    std::filesystem::remove(directory.path() / "libqor_signal_storage.so");
    const auto refused = failed("invalid shared library handle specified for the signal storage library");
    handle = reinterpret_cast<qor_tavi_extractor_t*>(this);
    EXPECT_EQ(create(), refused);
    EXPECT_EQ(handle, nullptr);
    std::ofstream(directory.path() / "libqor_signal_storage.so") << "no library";
    EXPECT_EQ(create(), refused);
}

TEST_F(startup, refuses_a_log_sink_with_a_hole) {
    host.offers_log = true;
    const auto refused = failed("invalid logger interface passed to logger constructor");
    host.log.context = nullptr;
    EXPECT_EQ(create(), refused);
    host.log = {nullptr, &host};
    EXPECT_EQ(create(), refused);
}

// ---- plug-ins that cannot be used -----------------------------------------------------------------------------------

struct kind {
    const char* name;  // of the file
    const char* word;  // of the metadata
    const char* stem;  // of the entry symbols
    const char* begin; // the first of them
    strings tables;    // mandatory, in the order of the tests

    friend void PrintTo(const kind& printed, std::ostream* stream) { *stream << printed.word; }
};

const kind kinds[] = {
    {"qor_signal_storage",
     "signal-storage",
     "qor_signal_storage",
     "open",
     {"qor_signal_storage_t", "qor_signal_storage_access_t", "qor_signal_storage_maintenance_t"}},
    {"m",
     "data-matcher",
     "qor_data_matcher",
     "create",
     {"qor_data_matcher_support_t", "qor_data_matcher_format_support_t"}},
    {"p",
     "data-description-parser",
     "qor_data_description_parser",
     "create",
     {"qor_data_description_parser_support_t"}},
    {"box",
     "data-processor",
     "qor_data_processor",
     "create",
     {"qor_data_processor_support_t", "qor_data_processor_format_support_t", "qor_data_processor_port_support_t"}},
};

class bad_plugin : public startup, public ::testing::WithParamInterface<kind> {
protected:
    // The start, and for a processor the first registration with a provider. Nothing may stay alive of a failure.
    outcome load(const script& with, const std::string& without_symbol = {}) {
        destroy();
        add_plugin(GetParam().name, GetParam().word, without_symbol) = with;
        const outcome created = create();
        return created == succeeded && is("box") ? register_descriptions(1, 1, "engine", {}) : created;
    }
    bool is(const std::string& name) const { return name == GetParam().name; }
};

TEST_P(bad_plugin, without_an_entry_symbol_is_told_by_its_name) {
    for (const std::string& end :
         {std::string(GetParam().begin), std::string("destroy"), std::string("get_service_locator")}) {
        const std::string symbol = std::string(GetParam().stem) + "_" + end;
        const outcome result = load({}, symbol);
        EXPECT_EQ(result.status, QOR_STATUS_FAILURE);
        EXPECT_THAT(result.text.value_or(""), ::testing::StartsWith("failed to access function '" + symbol + "', "));
        EXPECT_GT(result.text.value_or("").size(), ("failed to access function '" + symbol + "', ").size());
        EXPECT_THAT(take({"open", "create"}),
                    ::testing::Not(::testing::Contains(::testing::HasSubstr(std::string(GetParam().name) + "."))));
    }
}

TEST_P(bad_plugin, with_a_locator_that_cannot_be_used_is_refused_and_ended) {
    const auto refused = failed("invalid service locator interface returned from '" + std::string(GetParam().stem) +
                                "_get_service_locator' function");
    for (const locator_form form : {locator_form::null, locator_form::without_resolve, locator_form::without_context}) {
        script with;
        with.locator = form;
        host.control.take({});
        EXPECT_EQ(load(with), refused);
        EXPECT_THAT(take({"destroy"}), ::testing::Contains(std::string(GetParam().name) + ".destroy"));
    }
}

TEST_P(bad_plugin, without_a_mandatory_table_is_refused_and_ended) {
    for (const std::string& table : GetParam().tables) {
        script with;
        with.missing = {table};
        // The storage is asked without a test before, so it is its own text that comes out.
        EXPECT_EQ(load(with), failed(is("qor_signal_storage") ? "the fake has no " + table
                                                              : "missing mandatory " + table + " interface"));
        destroy();
        EXPECT_EQ(host.control.instances, 0);
    }
    script with;
    with.locator = locator_form::without_can_resolve;
    EXPECT_EQ(load(with), is("qor_signal_storage")
                              ? succeeded
                              : failed("missing mandatory " + GetParam().tables.front() + " interface"));
}

TEST_P(bad_plugin, that_fails_to_begin_fails_the_call_with_its_text) {
    script with;
    with.answers[GetParam().begin] = reports(QOR_STATUS_FILE_EXISTS, "in use");
    // The storage's details are translated; of the other kinds only the text is taken.
    EXPECT_EQ(load(with), is("qor_signal_storage") ? failed("in use", QOR_STATUS_FILE_EXISTS) : failed("in use"));
    with.answers[GetParam().begin] = throws_unknown();
    EXPECT_EQ(load(with), failed("unknown error"));
    with.answers[GetParam().begin] = {.status = 0, .code = QOR_STATUS_INFORMATION, .text = "by the way"};
    if (is("box")) {
        with.missing = {"qor_data_processor_port_support_t"}; // it must come as far as the tables
        EXPECT_EQ(load(with), failed("missing mandatory qor_data_processor_port_support_t interface"));
    } else {
        EXPECT_EQ(load(with), succeeded);
    }
}

TEST_P(bad_plugin, details_beside_a_locator_count_for_storage_and_parsers_only) {
    script with;
    with.answers["get_service_locator"] = reports(QOR_STATUS_TIMED_OUT, "too slow");
    const bool counts = is("qor_signal_storage") || is("p");
    EXPECT_EQ(load(with), counts ? failed("too slow", QOR_STATUS_TIMED_OUT) : succeeded);
    with.answers = {{"can_resolve/" + GetParam().tables.front(), reports(QOR_STATUS_TIMED_OUT, "still slow")}};
    EXPECT_EQ(load(with), is("qor_signal_storage") ? succeeded : failed("still slow", QOR_STATUS_TIMED_OUT));
    with.answers = {{"resolve/" + GetParam().tables.front(), reports(QOR_STATUS_INVALID_ARGUMENT, "what?")}};
    EXPECT_EQ(load(with), invalid("what?"));
}

INSTANTIATE_TEST_SUITE_P(kinds, bad_plugin, ::testing::ValuesIn(kinds),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(startup, fails_with_an_open_that_gives_neither_handle_nor_details) {
    storage().answers["open"] = returns(QOR_STATUS_FAILURE);
    EXPECT_EQ(create(), failed("invalid service locator interface returned from "
                               "'qor_signal_storage_get_service_locator' function"));
}

TEST_F(startup, fails_when_a_plugin_cannot_tell_its_formats) {
    const std::string matcher_table = "invalid qor_data_matcher_format_support_t interface, missing '";
    const std::string parser_table = "invalid qor_data_description_parser_format_support_t interface, missing '";
    const std::pair<bool, std::pair<std::set<std::string>, std::string>> rows[] = {
        {true, {{"get_supported_format"}, matcher_table + "get_supported_format' function"}},
        {true, {{"get_supported_format_count"}, matcher_table + "get_supported_format_count' function"}},
        {true,
         {{"get_supported_format", "get_supported_format_count"}, matcher_table + "get_supported_format' function"}},
        {false, {{"get_supported_file_format"}, parser_table + "get_supported_file_format' function"}},
        {false, {{"get_supported_file_format_count"}, parser_table + "get_supported_file_format_count' function"}},
        {false,
         {{"get_supported_file_format", "get_supported_file_format_count"},
          parser_table + "get_supported_file_format_count' function"}},
        {false,
         {{"qor_data_description_parser_format_support_t"},
          "the fake has no qor_data_description_parser_format_support_t"}},
    };
    for (const auto& [is_matcher, fault] : rows) {
        add_matcher("m", {"can"}) = {};
        add_parser("p", {{"dbc"}}) = {};
        host.control.scripts[is_matcher ? "m" : "p"].missing = fault.first;
        EXPECT_EQ(create(), failed(fault.second));
    }
    host.control.scripts["p"] = {};
    for (const char* plugin : {"m", "p"}) {
        script with;
        with.formats = {{"a"}, {"b"}, {"c"}};
        with.answers["get_supported_format/1"] = reports(QOR_STATUS_INVALID_ARGUMENT, "no second one");
        with.answers["get_supported_file_format/1"] = with.answers["get_supported_format/1"];
        host.control.scripts[plugin] = with;
        EXPECT_EQ(create(), invalid("no second one")) << plugin;
        host.control.scripts[plugin] = {};
    }
}

TEST_F(startup, lets_a_plugin_with_null_slots_in) {
    add_matcher("m", {"can"}).missing = {"register_type", "unregister_type", "match"};
    add_parser("p", {{"dbc"}}).missing = {"parse_buffer", "get_context_type"};
    storage().missing = {"find_node", "create_context", "checkpoint"};
    EXPECT_EQ(create(), succeeded);
}

} // namespace
} // namespace tavi::test
