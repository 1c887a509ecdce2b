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
    add_parser("z", {{"dbc"}});
    add_matcher("b", {{"can"}});
    add_matcher("c", {{"can"}, {"lin"}});
    add_matcher("without_formats", {});
    add_plugin("other", "data-reader", {}); // is passed over
    ASSERT_EQ(create("", 7), succeeded);
    // All formats of b went to c, so b ends at once; of parsers the earlier keeps a type.
    EXPECT_THAT(take(life),
                ElementsAre("qor_signal_storage.open '' mode=0 flags=7", "b.create", "c.create", "b.destroy",
                            "without_formats.create", "without_formats.destroy", "a.create", "z.create", "z.destroy"));
    destroy();
    EXPECT_THAT(take(life), ElementsAre("a.destroy", "c.destroy", "qor_signal_storage.destroy"));
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
    std::string name; // of the file
    std::string word; // of the metadata
    std::string stem; // of entry symbols and tables
    strings tables;   // the mandatory ones in the order of the tests, without the stem

    friend void PrintTo(const kind& printed, std::ostream* stream) { *stream << printed.word; }
};

const kind kinds[] = {
    {"qor_signal_storage", "signal-storage", "qor_signal_storage", {"_t", "_access_t", "_maintenance_t"}},
    {"m", "data-matcher", "qor_data_matcher", {"_support_t", "_format_support_t"}},
    {"p", "data-description-parser", "qor_data_description_parser", {"_support_t"}},
    {"box", "data-processor", "qor_data_processor", {"_support_t", "_format_support_t", "_port_support_t"}},
};

class bad_plugin : public startup, public ::testing::WithParamInterface<kind> {
protected:
    // The start, and for a processor the first registration with a provider. Nothing may stay alive of a failure.
    outcome load(const std::set<std::string>& missing, const std::map<std::string, answer>& answers = {},
                 const std::string& without_symbol = {}) {
        destroy();
        EXPECT_EQ(host.control.instances, 0);
        take({});
        add_plugin(tested.name, tested.word, {{"a"}, {"b"}}, without_symbol);
        plugin(tested.name).answers = answers;
        plugin(tested.name).missing = missing;
        const outcome created = create();
        return created == succeeded && tested.name == "box" ? register_descriptions(1, 1, "engine", {}) : created;
    }
    const kind& tested = GetParam();
    const bool is_storage = tested.name == "qor_signal_storage", is_parser = tested.name == "p";
    const std::string begin = is_storage ? "open" : "create";
    const std::string table = tested.stem + tested.tables.front();
};

TEST_P(bad_plugin, without_one_of_its_parts_is_refused_and_ended) {
    for (const std::string& end : {begin, std::string("destroy"), std::string("get_service_locator")}) {
        const outcome result = load({}, {}, tested.stem + "_" + end);
        EXPECT_EQ(result.status, QOR_STATUS_FAILURE);
        EXPECT_THAT(*result.text, ::testing::MatchesRegex("failed to access function '" + tested.stem + "_" + end +
                                                          "', .+")); // and the linker's own words
    }
    for (const std::string part : {"locator", "resolve", "context"}) {
        EXPECT_EQ(load({part}), failed("invalid service locator interface returned from '" + tested.stem +
                                       "_get_service_locator' function"));
        EXPECT_THAT(take({"destroy"}), ::testing::Contains(tested.name + ".destroy"));
    }
    // The storage is asked without a test before, so it is its own text that comes out.
    for (const std::string& absent : tested.tables) {
        EXPECT_EQ(load({tested.stem + absent}),
                  failed(is_storage ? "the fake has no " + tested.stem + absent
                                    : "missing mandatory " + tested.stem + absent + " interface"));
    }
    EXPECT_EQ(load({"can_resolve"}), is_storage ? succeeded : failed("missing mandatory " + table + " interface"));
}

TEST_P(bad_plugin, that_reports_fails_the_call_where_its_details_count) {
    const answer in_use = reports(QOR_STATUS_FILE_EXISTS, "in use");
    const outcome refused = failed("in use", QOR_STATUS_FILE_EXISTS);
    // The storage's details are translated; of the other kinds only the text is taken.
    EXPECT_EQ(load({}, {{begin, in_use}}), is_storage ? refused : failed("in use"));
    EXPECT_EQ(load({}, {{begin, throws_unknown()}}), failed("unknown error"));
    EXPECT_EQ(load({}, {{begin, {.code = QOR_STATUS_INFORMATION, .text = "by the way"}}}), succeeded);
    EXPECT_EQ(load({}, {{"get_service_locator", in_use}}), is_storage || is_parser ? refused : succeeded);
    EXPECT_EQ(load({}, {{"can_resolve/" + table, in_use}}), is_storage ? succeeded : refused);
    EXPECT_EQ(load({}, {{"resolve/" + table, in_use}}), refused);
}

TEST_P(bad_plugin, that_cannot_tell_its_formats_is_refused) {
    if (is_storage) {
        return;
    }
    const std::string slot = is_parser ? "get_supported_file_format" : "get_supported_format", count = slot + "_count";
    const std::string text = "invalid " + tested.stem + "_format_support_t interface, ";
    const auto missing = [&](const std::string& name) { return failed(text + "missing '" + name + "' function"); };
    EXPECT_EQ(load({slot}), missing(slot));
    EXPECT_EQ(load({count}), missing(count));
    EXPECT_EQ(load({slot, count}), missing(is_parser ? count : slot));
    EXPECT_EQ(load({}, {{slot + "/1", reports(QOR_STATUS_INVALID_ARGUMENT, "what?")}}), invalid("what?"));
    EXPECT_EQ(load({}, {{slot + "/1", returns(0)}}), failed(text + "no text from '" + slot + "' function"));
    if (is_parser) {
        EXPECT_EQ(load({tested.stem + "_format_support_t"}),
                  failed("the fake has no " + tested.stem + "_format_support_t"));
    }
}

INSTANTIATE_TEST_SUITE_P(kinds, bad_plugin, ::testing::ValuesIn(kinds),
                         [](const auto& info) { return info.param.name; });

TEST_F(startup, fails_with_an_open_that_gives_neither_handle_nor_details) {
    storage().answers["open"] = returns(QOR_STATUS_FAILURE);
    EXPECT_EQ(create(), failed("invalid service locator interface returned from "
                               "'qor_signal_storage_get_service_locator' function"));
}

} // namespace
} // namespace tavi::test
