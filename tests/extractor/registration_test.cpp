// Registration of sources: descriptions from buffers, from signatures and by built-in rule; names; signatures; log.
#include "tests/extractor/extractor_fixture.hpp"

namespace tavi::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace fakes;

class registration : public extractor_test {
protected:
    registration() {
        host.offers_log = true;
        host.control.description_ids.clear();
        host.control.nodes = "view 1 0 A; object 3 1 O 0 8";
        host.control.nodes.add("view 2 0 B", 2);
        add_parser("p", {{"dbc"}, {"gps-sdl"}, {"reference-camera-sdl"}, {"rt-range-sdl"}, {"arxml", 5}}).context_type =
            1;
        start();
    }
    outcome register_one(const std::string& type = "dbc") {
        return register_descriptions(7, 2, "engine", {{"a", type, "text"}});
    }
    static std::string unknown(const std::string& name) {
        return "<the data source identified with name '" + name + "' was not found>";
    }
    script& parser = plugin("p");
    const std::string s = "qor_signal_storage.";
};

TEST_F(registration, writes_each_description_into_a_context_of_its_own) {
    host.control.signatures[1] = std::string(299, 's');
    ASSERT_EQ(register_descriptions(7, 2, "engine", {{"a.dbc", "dbc", "first"}, {"", "dbc", ""}}), succeeded);
    EXPECT_THAT(take({"create_context", "parse_buffer", "commit", "context_destroy", "get_signature"}),
                ElementsAre(s + "create_context a.dbc type=1 'first'", "p.parse_buffer a.dbc type=0 'first'",
                            s + "commit a.dbc", s + "context_destroy a.dbc", s + "create_context  type=1 ''",
                            "p.parse_buffer null type=0 ''", s + "commit", s + "context_destroy",
                            s + "get_signature 1 room=128", s + "get_signature 1 room=300",
                            s + "get_signature 2 room=128"));
    EXPECT_EQ(host.records[0], "500 Tavi extractor registering source 'engine' with data description 'a.dbc'");
    EXPECT_EQ(host.places[0], "libqor_tavi_extractor.so qor::tavi::detail::extractor::register_source");
    // The signatures stand in zeroed blocks of the host's allocator.
    EXPECT_THAT(signatures, ElementsAre(std::string(299, 's'), "signature 2"));
    EXPECT_THAT(allocator.callocs, ElementsAre(std::pair(2, 8), std::pair(300, 8), std::pair(12, 8)));
    for (allocator.fail_at = 1; allocator.fail_at <= 3; ++allocator.fail_at) {
        allocator.allocations = 0;
        EXPECT_EQ(register_descriptions(7, 2, "engine", {{"a.dbc", "dbc", ""}, {"", "dbc", ""}}),
                  failed("memory allocation failed", QOR_STATUS_OUT_OF_MEMORY));
        EXPECT_EQ(allocator.alive(), 0u) << allocator.fail_at;
    }
}

TEST_F(registration, reports_what_a_plugin_reports) {
    const std::pair<answer, outcome> rows[] = {
        {reports(QOR_STATUS_TIMED_OUT, "a"), failed("a", QOR_STATUS_TIMED_OUT)},
        {reports(QOR_STATUS_INVALID_ARGUMENT, std::nullopt), invalid("unknwon error")},
        {throws_unknown(), failed("unknown error")},
    };
    for (const auto& [given, expected] : rows) {
        for (const char* function : {"parse_buffer", "create_context", "commit"}) {
            parser.answers = storage().answers = {{function, given}};
            EXPECT_EQ(register_one(), expected) << function;
            EXPECT_EQ(host.control.instances, 2) << "a context is left";
        }
    }
    parser.answers = {{"parse_buffer", returns(QOR_STATUS_FAILURE)}}; // a status alone is no failure
    storage().answers = {{"context_destroy", reports(QOR_STATUS_FAILURE, "stuck")}};
    EXPECT_EQ(register_one(), succeeded);
    parser.answers = {{"parse_buffer", reports(QOR_STATUS_FAILURE, "bad")}};
    take({});
    EXPECT_EQ(register_descriptions(8, 2, "wheel", {{"a", "dbc", ""}}), failed("bad"));
    EXPECT_THAT(take({"commit", "context_destroy"}), ElementsAre(s + "context_destroy a"));
    EXPECT_EQ(root_nodes("wheel"), unknown("wheel"));
    parser.answers = {};
    storage().answers = {{"get_signature", reports(QOR_STATUS_INVALID_ARGUMENT, "no signature")}};
    EXPECT_EQ(register_one(), failed("no signature")); // by its text alone
    storage().answers = {};
    host.log_fails = true;
    EXPECT_EQ(register_one(), failed("log is full", QOR_STATUS_TIMED_OUT));
}

TEST_F(registration, refuses_a_context_with_a_hole) {
    for (const char* hole : {"add_1", "context_destroy", "context_context"}) {
        storage().missing = {hole};
        EXPECT_EQ(register_one(), failed("invalid signal storage context")) << hole;
    }
}

TEST_F(registration, chooses_the_parser_by_type_and_source_id) {
    EXPECT_EQ(register_descriptions(5, 1, "five", {{"a", "arxml", ""}}), succeeded);
    for (const std::string type : {"arxml", "DBC", ""}) {
        EXPECT_EQ(register_one(type),
                  failed("failed to find a data description parser for data description type '" + type + "'"));
    }
}

TEST_F(registration, adds_the_built_in_description_of_the_source_id) {
    const std::pair<std::uint16_t, std::string> rows[] = {
        {0x23F, "gps-sdl"},      {0x80F, "reference-camera-sdl"}, {0x81F, "reference-camera-sdl"},
        {0xA2F, "rt-range-sdl"}, {0x50F, "reference-camera-sdl"}, {0xA3F, "rt-range-sdl"}};
    for (const auto& [id, name] : rows) {
        take({});
        ASSERT_EQ(register_descriptions(id, 1, "s", {{"mine", "dbc", "x"}}), succeeded); // the given one goes first
        EXPECT_THAT(take({"create_context", "parse_buffer"}),
                    ElementsAre(s + "create_context mine type=1 'x'", "p.parse_buffer mine type=0 'x'",
                                s + "create_context " + name + " type=1 zero byte",
                                "p.parse_buffer " + name + " type=0 zero byte"));
        EXPECT_EQ(host.records.back(),
                  "500 Tavi extractor registering source 's' with predefined data description '" + name + "'");
    }
    for (const std::uint16_t id : {0x23E, 0x24F, 0xA4F, 0x82F, 0x51F, 0x0F}) {
        ASSERT_EQ(register_source(id, 1, "s"), succeeded);
        EXPECT_EQ(host.records.back(),
                  "300 Tavi extractor registering source 's' without data description information");
    }
}

TEST_F(registration, survives_a_failing_description_for_one_source_id_only) {
    const std::string long_text(2000, 'e');
    parser.answers = {{"parse_buffer/bad", reports(QOR_STATUS_INVALID_ARGUMENT, long_text)}};
    const std::vector<description> given{{"bad", "dbc", ""}, {"odd", "xyz", ""}, {"good", "dbc", ""}};
    ASSERT_EQ(register_descriptions(0xA3F, 1, "range", given), succeeded);
    EXPECT_THAT(signatures, ElementsAre("signature 1", "signature 2"));
    const std::string text = "200 Tavi extractor failed to register source 'range' with data description '";
    const std::string cut = text + "bad': " + long_text;
    EXPECT_EQ(host.records[0], cut.substr(0, 4 + 1023));
    EXPECT_EQ(host.records[1], text + "odd': failed to find a data description parser for data description type 'xyz'");
    EXPECT_EQ(register_descriptions(0xA2F, 1, "other", given), invalid(long_text));
    EXPECT_EQ(host.records.size(), 5u); // told all the same
    // A built-in description that fails is nobody's to survive.
    parser.answers = {{"parse_buffer/rt-range-sdl", reports(QOR_STATUS_FAILURE, "no")}};
    EXPECT_EQ(register_source(0xA3F, 1, "range"), failed("no"));
}

TEST_F(registration, keeps_a_source_under_its_first_name_and_lets_it_grow) {
    ASSERT_EQ(register_one(), succeeded);
    ASSERT_EQ(register_descriptions(7, 2, "engine", {{"a", "dbc", ""}, {"b", "dbc", ""}}), succeeded);
    EXPECT_THAT(signatures, ElementsAre("signature 1", "signature 2"));
    EXPECT_EQ(root_nodes(7, 2), "A B ");
    EXPECT_EQ(register_descriptions(7, 2, "motor", {{"c", "dbc", ""}}),
              invalid("the specified data source name does not match the previously registered name"));
    EXPECT_EQ(root_nodes(7, 2), "A B ");
    // A second source of that name is one more, but the name leads to the first.
    ASSERT_EQ(register_descriptions(8, 2, "engine", {{"b", "dbc", ""}}), succeeded);
    EXPECT_EQ(root_nodes(8, 2), "B ");
    EXPECT_EQ(root_nodes("engine"), "A B ");
}

TEST_F(registration, finds_sources_by_name_and_suggests_one_up_to_three_edits_away) {
    ASSERT_EQ(register_source(1, 1, "Front Radar.2", true), succeeded); // sanitized on request
    ASSERT_EQ(register_source(2, 1, "Rear Radar.2"), succeeded);
    EXPECT_EQ(root_nodes("Front_Radar_2") + root_nodes("Rear Radar.2"), "");
    EXPECT_THAT(host.records[0], ::testing::HasSubstr("source 'Front Radar.2' without"));
    ASSERT_EQ(register_source(3, 1, "engine"), succeeded);
    const std::pair<std::string, bool> rows[] = {{"nginx", true},     {"engXXX", true},      {"enXXXX", false},
                                                 {"engineabc", true}, {"engineabcd", false}, {"", false}};
    for (const auto& [asked, near] : rows) {
        const std::string plain = "the data source identified with name '" + asked + "' was not found";
        EXPECT_EQ(root_nodes(asked), "<" + plain + (near ? ", did you mean 'engine'?>" : ">"));
    }
}

TEST_F(registration, from_the_storage_looks_the_signatures_up_and_does_nothing_else) {
    add_processor("box", {{"can", 15}});
    take({});
    const auto register_signatures = [&](const char* name, const std::vector<const char*>& given) {
        return call(api.register_source_from_signal_storage, handle, 0x23F, 1, name, given.data(), given.size());
    };
    EXPECT_EQ(register_signatures("a b.c", {"signature 2", "signature 1"}), succeeded);
    EXPECT_THAT(take({"get_description_id", "parse_buffer", "create"}),
                ElementsAre(s + "get_description_id signature 2", s + "get_description_id signature 1"));
    EXPECT_EQ(root_nodes("a b.c"), "B A ");
    EXPECT_THAT(host.records, IsEmpty());
    EXPECT_EQ(register_signatures("a b.c", {"signature 1", "nonsense"}),
              invalid("signature 'nonsense' is not in the fake"));
    EXPECT_EQ(register_signatures("a b.c", {"signature 1", nullptr}),
              invalid("argument 'data_description_signatures' was not initialized"));
}

TEST_F(registration, is_forgotten_by_unregister_sources) {
    add_matcher("m", {{"can"}});
    destroy();
    start();
    ASSERT_EQ(register_one(), succeeded);
    subscribe("engine.A.O");
    EXPECT_EQ(call(api.unregister_sources, handle), succeeded);
    EXPECT_THAT(take({"unregister_type"}), ElementsAre("m.unregister_type 2"));
    EXPECT_EQ(root_nodes("engine"), unknown("engine"));
    EXPECT_EQ(root_nodes(7, 2), "");
    EXPECT_EQ(register_descriptions(7, 2, "motor", {}), succeeded); // the old name is gone
}

TEST_F(registration, checkpoint_goes_to_the_storage) {
    EXPECT_EQ(call(api.checkpoint_signal_storage, handle), succeeded);
    EXPECT_THAT(take({"checkpoint"}), ElementsAre(s + "checkpoint"));
    storage().answers = {{"checkpoint", reports(QOR_STATUS_TIMED_OUT, "disk is slow")}};
    EXPECT_EQ(call(api.checkpoint_signal_storage, handle), failed("disk is slow", QOR_STATUS_TIMED_OUT));
}

} // namespace
} // namespace tavi::test
