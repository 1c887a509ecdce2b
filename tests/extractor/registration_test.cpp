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
        add_parser("p", {{"dbc"}, {"gps-sdl"}, {"reference-camera-sdl"}, {"rt-range-sdl"}}).context_type = 1;
    }
    // The number of root nodes tells how many descriptions a source has: each has one view here.
    std::size_t descriptions_of(std::uint16_t id, std::uint32_t instance) {
        host.control.nodes = {in_description(1, view_node(1, "A")), in_description(2, view_node(2, "B")),
                              in_description(3, view_node(3, "C"))};
        const qor_data_source_t source = make_source(id, instance, "");
        qor_type_node_sequence_t* nodes = nullptr;
        EXPECT_EQ(call(api.get_root_nodes, handle, &source, &nodes), succeeded);
        const std::size_t count = nodes->count;
        qor_type_node_sequence_destroy(qor_get_default_allocator(), nodes, nullptr);
        return count;
    }
    std::string by_name(const std::string& name) {
        qor_type_node_sequence_t* nodes = nullptr;
        const outcome result = call(api.get_root_nodes_by_source_name, handle, name.c_str(), &nodes);
        qor_type_node_sequence_destroy(qor_get_default_allocator(), nodes, nullptr);
        return result == succeeded ? "found" : result.text.value_or("");
    }
    const std::set<std::string> parsing{"create_context", "parse_buffer", "commit", "context_destroy", "get_signature"};
};

TEST_F(registration, writes_each_description_into_a_context_of_its_own) {
    start();
    ASSERT_EQ(register_descriptions(7, 2, "engine", {{"a.dbc", "dbc", "first"}, {"", "dbc", ""}}), succeeded);
    EXPECT_THAT(take(parsing),
                ElementsAre("qor_signal_storage.create_context a.dbc type=1 'first'",
                            "p.parse_buffer a.dbc type=0 'first'", "qor_signal_storage.commit a.dbc",
                            "qor_signal_storage.context_destroy a.dbc", "qor_signal_storage.create_context  type=1 ''",
                            "p.parse_buffer null type=0 ''", "qor_signal_storage.commit",
                            "qor_signal_storage.context_destroy", "qor_signal_storage.get_signature 1 room=128",
                            "qor_signal_storage.get_signature 2 room=128"));
    EXPECT_THAT(signatures, ElementsAre("signature 1", "signature 2"));
    ASSERT_EQ(host.records.size(), 2u);
    const log_record& first = host.records.front();
    EXPECT_EQ(first.level, 500u);
    EXPECT_EQ(first.message, "Tavi extractor registering source 'engine' with data description 'a.dbc'");
    EXPECT_EQ(first.module, "libqor_tavi_extractor.so");
    EXPECT_EQ(first.function, "qor::tavi::detail::extractor::register_source");
    EXPECT_THAT(first.file, ::testing::MatchesRegex("[a-z_]+\\.cpp"));
    EXPECT_GT(first.line, 0u);
}

TEST_F(registration, gives_signatures_in_zeroed_blocks_of_the_hosts_allocator) {
    host.control.signatures[1] = std::string(299, 's');
    start();
    ASSERT_EQ(register_descriptions(7, 2, "engine", {{"a", "dbc", ""}, {"b", "dbc", ""}}), succeeded);
    EXPECT_THAT(take({"get_signature"}), ElementsAre("qor_signal_storage.get_signature 1 room=128",
                                                     "qor_signal_storage.get_signature 1 room=300",
                                                     "qor_signal_storage.get_signature 2 room=128"));
    EXPECT_THAT(signatures, ElementsAre(std::string(299, 's'), "signature 2"));
    EXPECT_THAT(allocator.callocs, ElementsAre(std::pair(2, 8), std::pair(300, 8), std::pair(12, 8)));
    // Without a place for one of the results nothing is allocated.
    const qor_data_source_t source = make_source(1, 1, "other");
    std::size_t count = 99;
    EXPECT_EQ(call(api.register_source, handle, &source, nullptr, false, nullptr, &count, nullptr), succeeded);
    EXPECT_EQ(count, 99u);
}

TEST_F(registration, leaves_nothing_when_the_allocator_runs_out) {
    start();
    for (allocator.fail_at = 1; allocator.fail_at <= 3; ++allocator.fail_at) {
        allocator.allocations = 0;
        EXPECT_EQ(register_descriptions(7, 2, "engine", {{"a", "dbc", ""}, {"b", "dbc", ""}}),
                  failed("memory allocation failed", QOR_STATUS_OUT_OF_MEMORY));
        EXPECT_EQ(allocator.alive(), 0u) << allocator.fail_at;
    }
}

TEST_F(registration, reports_what_a_plugin_reports) {
    const struct {
        answer given;
        outcome expected;
    } rows[] = {
        {reports(QOR_STATUS_TIMED_OUT, "a"), failed("a", QOR_STATUS_TIMED_OUT)},
        {reports(QOR_STATUS_NOT_IMPLEMENTED, "a"), failed("function not implemented", QOR_STATUS_NOT_IMPLEMENTED)},
        {reports(QOR_STATUS_FILE_EXISTS, "a"), failed("a", QOR_STATUS_FILE_EXISTS)},
        {reports(QOR_STATUS_INVALID_ARGUMENT, "a"), invalid("a")},
        {reports(QOR_STATUS_OUT_OF_MEMORY, "a"), failed("a")},
        {reports(0, "a"), failed("a")},
        {reports(12345, std::nullopt), failed("unknwon error")},
        {reports(QOR_STATUS_INVALID_ARGUMENT, std::nullopt), invalid("unknwon error")},
        {throws_unknown(), failed("unknown error")},
        {reports(QOR_STATUS_INFORMATION, "a"), succeeded},
        {returns(QOR_STATUS_FAILURE), succeeded}, // a status alone is no failure
    };
    script& parser = host.control.scripts["p"];
    start();
    for (const auto& row : rows) {
        for (const char* function : {"parse_buffer", "create_context", "commit"}) {
            // A storage that answers nothing gives no context, so only the parser may be silent.
            if (row.expected == succeeded && std::string(function) == "create_context") {
                continue;
            }
            parser.answers = storage().answers = {{function, row.given}};
            EXPECT_EQ(register_descriptions(7, 2, "engine", {{"a", "dbc", "text"}}), row.expected) << function;
            EXPECT_EQ(host.control.instances, 2) << "a context is left";
        }
    }
    parser.answers = {{"parse_buffer", reports(QOR_STATUS_FAILURE, "bad")}};
    storage().answers = {};
    take({});
    EXPECT_EQ(register_descriptions(8, 2, "wheel", {{"a", "dbc", "text"}}), failed("bad"));
    EXPECT_THAT(take({"commit", "context_destroy"}), ElementsAre("qor_signal_storage.context_destroy a"));
    EXPECT_EQ(by_name("wheel"), "the data source identified with name 'wheel' was not found");
}

TEST_F(registration, reports_a_failed_signature_by_its_text_alone) {
    start();
    storage().answers = {{"get_signature", reports(QOR_STATUS_INVALID_ARGUMENT, "no signature")}};
    EXPECT_EQ(register_descriptions(7, 2, "engine", {{"a", "dbc", ""}}), failed("no signature"));
}

TEST_F(registration, refuses_a_context_with_a_hole_and_a_plugin_without_the_slot) {
    start();
    for (const char* hole : {"add_1", "add_2", "add_4", "context_destroy", "context_context"}) {
        storage().missing = {hole};
        EXPECT_EQ(register_descriptions(7, 2, "engine", {{"a", "dbc", ""}}), failed("invalid signal storage context"))
            << hole;
    }
    storage() = {};
    destroy();
    script& parser = host.control.scripts["p"];
    const script whole = parser;
    for (const auto& [slot, table] : {std::pair("parse_buffer", "qor_data_description_parser_support_t"),
                                      std::pair("get_context_type", "qor_data_description_parser_format_support_t")}) {
        parser = whole;
        parser.missing = {slot};
        start();
        EXPECT_EQ(register_descriptions(7, 2, "engine", {{"a", "dbc", ""}}),
                  failed(std::string("invalid ") + table + " interface, missing '" + slot + "' function"));
        destroy();
    }
}

TEST_F(registration, does_not_mind_a_context_that_fails_to_end) {
    storage().answers = {{"context_destroy", reports(QOR_STATUS_FAILURE, "stuck")}};
    start();
    EXPECT_EQ(register_descriptions(7, 2, "engine", {{"a", "dbc", ""}}), succeeded);
}

TEST_F(registration, chooses_the_parser_by_type_and_source_id) {
    add_parser("q", {{"arxml", 5}});
    start();
    EXPECT_EQ(register_descriptions(5, 1, "five", {{"a", "arxml", ""}}), succeeded);
    for (const std::string type : {"arxml", "DBC", "db", ""}) {
        EXPECT_EQ(register_descriptions(6, 1, "six", {{"a", type, ""}}),
                  failed("failed to find a data description parser for data description type '" + type + "'"));
    }
}

TEST_F(registration, adds_the_built_in_description_of_the_source_id) {
    const struct {
        std::uint16_t id;
        std::string name;
    } rows[] = {{0x23F, "gps-sdl"},
                {0x80F, "reference-camera-sdl"},
                {0x81F, "reference-camera-sdl"},
                {0x50F, "reference-camera-sdl"},
                {0xA2F, "rt-range-sdl"},
                {0xA3F, "rt-range-sdl"}};
    start();
    for (const auto& row : rows) {
        host.take_log();
        take({});
        ASSERT_EQ(register_source(row.id, 1, "s" + std::to_string(row.id)), succeeded);
        EXPECT_EQ(signatures.size(), 1u);
        EXPECT_THAT(take({"create_context", "parse_buffer"}),
                    ElementsAre("qor_signal_storage.create_context " + row.name + " type=1 zero byte",
                                "p.parse_buffer " + row.name + " type=0 zero byte"));
        EXPECT_THAT(host.take_log(), ElementsAre("500 Tavi extractor registering source 's" + std::to_string(row.id) +
                                                 "' with predefined data description '" + row.name + "'"));
    }
    for (const std::uint16_t id : {0x23E, 0x24F, 0xA1F, 0xA4F, 0x82F, 0x51F, 0x0F}) {
        ASSERT_EQ(register_source(id, 1, "x" + std::to_string(id)), succeeded);
        EXPECT_THAT(signatures, IsEmpty());
        EXPECT_THAT(host.take_log(), ElementsAre("300 Tavi extractor registering source 'x" + std::to_string(id) +
                                                 "' without data description information"));
    }
}

TEST_F(registration, puts_the_given_descriptions_before_the_built_in_one) {
    start();
    ASSERT_EQ(register_descriptions(0x23F, 1, "gps", {{"mine", "dbc", "x"}}), succeeded);
    EXPECT_THAT(take({"commit"}), ElementsAre("qor_signal_storage.commit mine", "qor_signal_storage.commit gps-sdl"));
    EXPECT_THAT(signatures, ElementsAre("signature 1", "signature 2"));
    // A built-in description that fails is nobody's to survive.
    host.control.scripts["p"].answers = {{"parse_buffer/rt-range-sdl", reports(QOR_STATUS_FAILURE, "no")}};
    EXPECT_EQ(register_source(0xA3F, 1, "range"), failed("no"));
}

TEST_F(registration, survives_a_failing_description_for_one_source_id_only) {
    host.control.scripts["p"].answers = {
        {"parse_buffer/bad", reports(QOR_STATUS_INVALID_ARGUMENT, std::string(2000, 'e'))}};
    start();
    const std::vector<description> given{{"bad", "dbc", ""}, {"odd", "xyz", ""}, {"good", "dbc", ""}};
    ASSERT_EQ(register_descriptions(0xA3F, 1, "range", given), succeeded);
    EXPECT_THAT(signatures, ElementsAre("signature 1", "signature 2"));
    const std::string start_of_text = "Tavi extractor failed to register source 'range' with data description 'bad': ";
    EXPECT_THAT(host.take_log(),
                ElementsAre("200 " + start_of_text + std::string(1023 - start_of_text.size(), 'e'),
                            "200 Tavi extractor failed to register source 'range' with data description 'odd': failed "
                            "to find a data description parser for data description type 'xyz'",
                            "500 Tavi extractor registering source 'range' with data description 'good'",
                            "500 Tavi extractor registering source 'range' with predefined data description "
                            "'rt-range-sdl'"));
    EXPECT_EQ(register_descriptions(0xA2F, 1, "other", given), invalid(std::string(2000, 'e')));
    EXPECT_THAT(host.take_log(), ::testing::SizeIs(1)); // told at level 200 all the same
}

TEST_F(registration, fails_when_the_log_sink_fails) {
    host.log_answer = reports(QOR_STATUS_TIMED_OUT, "log is full");
    start();
    EXPECT_EQ(register_source(1, 1, "engine"), failed("log is full", QOR_STATUS_TIMED_OUT));
}

TEST_F(registration, keeps_a_source_under_its_first_name_and_lets_it_grow) {
    start();
    ASSERT_EQ(register_descriptions(7, 2, "engine", {{"a", "dbc", ""}}), succeeded);
    ASSERT_EQ(register_descriptions(7, 2, "engine", {{"a", "dbc", ""}, {"b", "dbc", ""}}), succeeded);
    EXPECT_THAT(signatures, ElementsAre("signature 1", "signature 2"));
    EXPECT_EQ(descriptions_of(7, 2), 2u);
    take({});
    EXPECT_EQ(register_descriptions(7, 2, "motor", {{"c", "dbc", ""}}),
              invalid("the specified data source name does not match the previously registered name"));
    EXPECT_THAT(take({"commit"}), ElementsAre("qor_signal_storage.commit c"));
    EXPECT_EQ(descriptions_of(7, 2), 2u);
    // A second source of that name is one more, but the name leads to the first.
    ASSERT_EQ(register_descriptions(8, 2, "engine", {{"c", "dbc", ""}}), succeeded);
    EXPECT_EQ(descriptions_of(8, 2), 1u);
    EXPECT_EQ(by_name("engine"), "found");
}

TEST_F(registration, sanitizes_the_name_on_request) {
    start();
    ASSERT_EQ(register_source(1, 1, "Front Radar.2", nullptr, true), succeeded);
    ASSERT_EQ(register_source(2, 1, "Rear Radar.2", nullptr, false), succeeded);
    EXPECT_EQ(by_name("Front_Radar_2"), "found");
    EXPECT_EQ(by_name("Rear Radar.2"), "found");
    EXPECT_THAT(host.take_log(), ::testing::Contains(::testing::HasSubstr("source 'Front Radar.2' without")));
}

TEST_F(registration, suggests_a_name_up_to_three_edits_away) {
    start();
    ASSERT_EQ(register_source(1, 1, "engine"), succeeded);
    ASSERT_EQ(register_source(2, 1, "engine_control_unit"), succeeded);
    const struct {
        std::string asked, suggested;
    } rows[] = {{"engine1", "engine"},
                {"nginx", "engine"},
                {"engXXX", "engine"},
                {"enXXXX", ""},
                {"engineabc", "engine"},
                {"engineabcd", ""},
                {"Engine_control_unit", "engine_control_unit"},
                {"", ""}};
    for (const auto& [asked, suggested] : rows) {
        const std::string plain = "the data source identified with name '" + asked + "' was not found";
        const std::string expected = suggested.empty() ? plain : plain + ", did you mean '" + suggested + "'?";
        EXPECT_EQ(by_name(asked), expected);
        if (!asked.empty()) {
            EXPECT_EQ(try_subscribe(asked + ".View.Object"), failed(expected));
        }
    }
}

TEST_F(registration, from_the_storage_looks_the_signatures_up_and_does_nothing_else) {
    add_processor("box", {{"can", 1}});
    start();
    take({});
    EXPECT_EQ(register_signatures(0x23F, 1, "gps", {"signature 2", "signature 1"}), succeeded);
    EXPECT_THAT(take({"get_description_id", "parse_buffer", "create"}),
                ElementsAre("qor_signal_storage.get_description_id signature 2",
                            "qor_signal_storage.get_description_id signature 1"));
    EXPECT_EQ(descriptions_of(0x23F, 1), 2u);
    EXPECT_THAT(host.records, IsEmpty());
    EXPECT_EQ(register_signatures(9, 1, "nine", {"signature 1", "nonsense"}),
              invalid("signature 'nonsense' is not in the fake"));
    EXPECT_EQ(descriptions_of(9, 1), 0u);
    EXPECT_EQ(register_signatures(9, 1, "a b.c", {}), succeeded);
    EXPECT_EQ(by_name("a b.c"), "found");
}

TEST_F(registration, is_forgotten_by_unregister_sources) {
    add_matcher("m", {"can"});
    host.control.nodes = sample_catalogue();
    host.control.description_ids["one"] = 1;
    start();
    ASSERT_EQ(register_descriptions(7, 2, "engine", {{"one", "dbc", ""}}), succeeded);
    const auto subscription = subscribe("engine.View.Plain");
    take({});
    EXPECT_EQ(call(api.unregister_sources, handle), succeeded);
    EXPECT_THAT(take({"unregister_type"}), ElementsAre("m.unregister_type " + std::to_string(subscription)));
    EXPECT_EQ(by_name("engine"), "the data source identified with name 'engine' was not found");
    EXPECT_EQ(descriptions_of(7, 2), 0u);
    EXPECT_EQ(register_descriptions(7, 2, "motor", {}), succeeded); // the old name is gone
}

TEST_F(registration, checkpoint_goes_to_the_storage) {
    start();
    EXPECT_EQ(call(api.checkpoint_signal_storage, handle), succeeded);
    EXPECT_THAT(take({"checkpoint"}), ElementsAre("qor_signal_storage.checkpoint"));
    storage().answers = {{"checkpoint", reports(QOR_STATUS_TIMED_OUT, "disk is slow")}};
    EXPECT_EQ(call(api.checkpoint_signal_storage, handle), failed("disk is slow", QOR_STATUS_TIMED_OUT));
}

} // namespace
} // namespace tavi::test
