// How an extractor comes to life: which plug-ins it finds, in which order, and what fails it.
#include "tests/extractor/extractor_fixture.hpp"

#include <fstream>

namespace tavi::test {
namespace {

using ::testing::ElementsAre;
using namespace fakes;

class startup : public extractor_test {
protected:
    const std::set<std::string> life{"open", "create", "destroy"};
};

TEST_F(startup, takes_matchers_then_parsers_by_file_name_and_ends_the_storage_last) {
    add_parser("a", {{"dbc"}});
    add_matcher("b", {{"can"}});
    add_matcher("c", {{"can"}, {"lin"}});
    add_matcher("without_formats", {});
    // What is no plug-in is passed over.
    add_plugin("other", "data-reader", {});
    std::ofstream(directory.path() / "libtext.so") << "qor-library-type=data-matcher";
    std::ofstream(directory.path() / "libempty.so");
    std::filesystem::create_directory(directory.path() / "libfolder.so");
    ASSERT_EQ(create("", 7), succeeded);
    // All formats of b went to c, so b ends at once.
    EXPECT_THAT(take(life), ElementsAre("qor_signal_storage.open '' mode=0 flags=7", "b.create", "c.create",
                                        "b.destroy", "without_formats.create", "without_formats.destroy", "a.create"));
    destroy();
    EXPECT_THAT(take(life), ElementsAre("a.destroy", "c.destroy", "qor_signal_storage.destroy"));
}

TEST_F(startup, gives_a_matcher_format_to_the_later_and_a_parser_type_to_the_earlier_plugin) {
    add_matcher("m1", {{"x"}});
    add_matcher("m2", {{"x"}});
    add_parser("p1", {{"dbc"}});
    add_parser("p2", {{"dbc"}});
    start();
    ASSERT_EQ(register_descriptions(1, 1, "engine", {{"one", "dbc", "text"}}), succeeded);
    subscribe("1#1.View.Plain");
    EXPECT_THAT(take({"parse_buffer", "register_type"}),
                ElementsAre("p1.parse_buffer one type=0 'text'", "m2.register_type 2 View/Plain at 512 of 8"));
}

TEST_F(startup, needs_no_host_locator_and_logs_nothing_then) {
    host_locator = nullptr;
    start();
    EXPECT_EQ(register_source(1, 1, "engine"), succeeded);
    EXPECT_THAT(take(life), ::testing::IsEmpty()); // the fakes could not reach the host
}

TEST_F(startup, fails_without_a_storage_library_and_with_half_a_log_sink) {
    host.offers_log = true;
    host.log.context = nullptr;
    EXPECT_EQ(create(), failed("invalid logger interface passed to logger constructor"));
    for (const bool present : {true, false}) {
        std::ofstream(directory.path() / "libqor_signal_storage.so", std::ios::trunc) << "no library";
        if (!present) {
            std::filesystem::remove(directory.path() / "libqor_signal_storage.so");
        }
        handle = reinterpret_cast<qor_tavi_extractor_t*>(this);
        EXPECT_EQ(create(), failed("invalid shared library handle specified for the signal storage library"));
        EXPECT_EQ(handle, nullptr);
    }
}

// ---- plug-ins that cannot be used -----------------------------------------------------------------------------------

struct kind {
    std::string name;  // of the file
    std::string word;  // of the metadata
    std::string stem;  // of the entry symbols
    std::string begin; // the first of them
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
    outcome load(const std::set<std::string>& missing, const std::map<std::string, answer>& answers = {},
                 const std::string& without_symbol = {}) {
        destroy();
        EXPECT_EQ(host.control.instances, 0);
        take({});
        add_plugin(tested.name, tested.word, {}, without_symbol) = {.answers = answers, .missing = missing};
        const outcome created = create();
        return created == succeeded && tested.name == "box" ? register_descriptions(1, 1, "engine", {}) : created;
    }
    const kind& tested = GetParam();
    const bool is_storage = tested.name == "qor_signal_storage";
    const std::string table = tested.tables.front();
};

TEST_P(bad_plugin, without_one_of_its_parts_is_refused_and_ended) {
    for (const std::string& end : {tested.begin, std::string("destroy"), std::string("get_service_locator")}) {
        const std::string text = "failed to access function '" + tested.stem + "_" + end + "', ";
        const outcome result = load({}, {}, tested.stem + "_" + end);
        EXPECT_EQ(result.status, QOR_STATUS_FAILURE);
        EXPECT_THAT(result.text.value_or(""), ::testing::MatchesRegex(text + ".+")); // and the linker's own words
    }
    for (const std::string part : {"locator", "resolve", "context"}) {
        EXPECT_EQ(load({part}), failed("invalid service locator interface returned from '" + tested.stem +
                                       "_get_service_locator' function"));
        EXPECT_THAT(take({"destroy"}), ::testing::Contains(tested.name + ".destroy"));
    }
    // The storage is asked without a test before, so it is its own text that comes out.
    for (const std::string& absent : tested.tables) {
        EXPECT_EQ(load({absent}),
                  failed(is_storage ? "the fake has no " + absent : "missing mandatory " + absent + " interface"));
    }
    EXPECT_EQ(load({"can_resolve"}), is_storage ? succeeded : failed("missing mandatory " + table + " interface"));
}

TEST_P(bad_plugin, that_reports_fails_the_call_where_its_details_count) {
    const answer in_use = reports(QOR_STATUS_FILE_EXISTS, "in use");
    const outcome refused = failed("in use", QOR_STATUS_FILE_EXISTS);
    // The storage's details are translated; of the other kinds only the text is taken.
    EXPECT_EQ(load({}, {{tested.begin, in_use}}), is_storage ? refused : failed("in use"));
    EXPECT_EQ(load({}, {{tested.begin, throws_unknown()}}), failed("unknown error"));
    EXPECT_EQ(load({}, {{tested.begin, {.code = QOR_STATUS_INFORMATION, .text = "by the way"}}}), succeeded);
    const bool locator_counts = is_storage || tested.name == "p";
    EXPECT_EQ(load({}, {{"get_service_locator", in_use}}), locator_counts ? refused : succeeded);
    EXPECT_EQ(load({}, {{"can_resolve/" + table, in_use}}), is_storage ? succeeded : refused);
    EXPECT_EQ(load({}, {{"resolve/" + table, in_use}}), refused);
}

INSTANTIATE_TEST_SUITE_P(kinds, bad_plugin, ::testing::ValuesIn(kinds),
                         [](const auto& info) { return info.param.name; });

TEST_F(startup, fails_with_an_open_that_gives_neither_handle_nor_details) {
    storage().answers["open"] = returns(QOR_STATUS_FAILURE);
    EXPECT_EQ(create(), failed("invalid service locator interface returned from "
                               "'qor_signal_storage_get_service_locator' function"));
}

TEST_F(startup, fails_when_a_plugin_cannot_tell_its_formats) {
    const struct {
        std::string plugin, word, table, slot, first_missing;
    } rows[] = {
        {"m", "data-matcher", "qor_data_matcher_format_support_t", "get_supported_format", ""},
        {"p", "data-description-parser", "qor_data_description_parser_format_support_t", "get_supported_file_format",
         "_count"},
        {"box", "data-processor", "qor_data_processor_format_support_t", "get_supported_format", ""},
    };
    for (const auto& row : rows) {
        script& tested = add_plugin(row.plugin, row.word, {{"a"}, {"b"}});
        const auto load = [&](const std::set<std::string>& missing, const std::map<std::string, answer>& answers) {
            destroy();
            tested.missing = missing;
            tested.answers = answers;
            const outcome created = create();
            return created == succeeded ? register_descriptions(1, 1, "engine", {}) : created;
        };
        const std::string table = "invalid " + row.table + " interface, ";
        const auto missing = [&](const std::string& slot) { return failed(table + "missing '" + slot + "' function"); };
        const std::string count = row.slot + "_count";
        EXPECT_EQ(load({row.slot}, {}), missing(row.slot));
        EXPECT_EQ(load({count}, {}), missing(count));
        EXPECT_EQ(load({row.slot, count}, {}), missing(row.slot + row.first_missing));
        EXPECT_EQ(load({}, {{row.slot + "/1", reports(QOR_STATUS_INVALID_ARGUMENT, "what?")}}), invalid("what?"));
        EXPECT_EQ(load({}, {{row.slot + "/1", returns(0)}}),
                  failed(table + "no text from '" + row.slot + "' function"));
        tested = {};
    }
    destroy();
    plugin("p").missing = {"qor_data_description_parser_format_support_t"};
    EXPECT_EQ(create(), failed("the fake has no qor_data_description_parser_format_support_t"));
}

} // namespace
} // namespace tavi::test
