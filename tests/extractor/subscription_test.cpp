// Subscriptions: which node and bytes a URL names, who is told, and how subscriptions end.
#include "tests/extractor/extractor_fixture.hpp"

namespace tavi::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using namespace fakes;

class subscription : public extractor_test {
protected:
    subscription() {
        add_parser("p", {{"dbc"}, {"sdl"}});
        add_matcher("m", {{"can"}});
        add_processor("box", {{"raw", 5}});
    }
    // One source, 0x15#2 "engine", with the sample catalogue. Its processor declines what it is offered.
    void start_with_source() {
        plugin("box").answers = {{"register_type", returns(QOR_STATUS_TIMED_OUT)}};
        start();
        ASSERT_EQ(register_descriptions(0x15, 2, "engine", {{"one", "dbc", ""}}), succeeded);
        take({});
    }
    std::size_t count() {
        std::size_t result = 99;
        EXPECT_EQ(call(api.get_subscription_count, handle, &result), succeeded);
        return result;
    }
    outcome unsubscribe(std::uint64_t subscribed) { return call(api.unsubscribe, handle, subscribed); }
    const std::set<std::string> telling{"register_type", "unregister_type"};
    const std::string plain = "engine.View.Plain";
};

TEST_F(subscription, takes_position_and_extent_from_every_level) {
    host.control.nodes.add("group 9 2 Holder 12 2 2; object 10 9 Inner 0x1000 8 3; signal 11 10 Deep 2 2 4;"
                           "object 20 1 Huge 0xFFFFFFFFFFFFFFF0 100000 100000; group 21 20 Far 0x20 8 2");
    start_with_source();
    const struct {
        std::string path;
        std::uint64_t address, relative, extent;
    } rows[] = {
        {"Object", 0x100, 0, 64},
        {"Object[4]", 0x100, 64, 16}, // one past the end is let through
        {"Object[1].Group[1]", 0x100, 16 + 4 + 4, 4},
        {"Object.Group.Signal", 0x100, 4 + 1, 3},
        {"Object[3].Group[1].Signal[last()]", 0x100, 48 + 4 + 4 + 1 + 2, 1},
        {"Object[3].Holder[1].Inner", 0x1000, 0, 24}, // an object starts anew at its own address
        {"Object[3].Holder[1].Inner[2].Deep[3]", 0x1000, 16 + 2 + 6, 2},
        {"Huge[99999]", 0xFFFFFFFFFFFFFFF0u, 9999900000u, 100000},
        {"Huge.Far[1]", 0xFFFFFFFFFFFFFFF0u, 0x28, 8}, // the absolute position wraps, the relative one does not
    };
    for (const auto& row : rows) {
        const std::uint64_t subscribed = subscribe("engine.View." + row.path);
        const auto line = [&](const std::string& who, std::uint64_t position) {
            return ::testing::MatchesRegex(who + ".register_type " + std::to_string(subscribed) + " View/.* at " +
                                           std::to_string(position) + " of " + std::to_string(row.extent));
        };
        EXPECT_THAT(take(telling), ElementsAre(line("box", row.relative), line("m", row.address + row.relative)));
    }
}

TEST_F(subscription, is_offered_to_processors_first_and_to_matchers_when_none_takes_it) {
    plugin("m").formats = {{"can"}, {"lin"}}; // two formats, so it is told twice
    script& second = add_processor("box2", {{"raw", 5}});
    add_processor("elsewhere", {{"raw", 6}});
    start_with_source();
    const std::string m = "m.register_type 2 View/Plain at 512 of 8";
    const auto offered = [](const std::string& who) { return who + " View/Plain at 0 of 8"; };
    second.answers = {{"register_type", reports(QOR_STATUS_INFORMATION, "fine")}}; // not 0, so it declines
    EXPECT_EQ(subscribe(plain), 2u);                                               // handles count from 2
    EXPECT_THAT(take(telling), ElementsAre(offered("box.register_type 2"), offered("box2.register_type 2"), m, m));
    second.answers = {};
    subscribe(plain);
    EXPECT_THAT(take(telling), ElementsAre(offered("box.register_type 3"), offered("box2.register_type 3")));
    // Processors of other sources are not asked.
    ASSERT_EQ(register_descriptions(0x16, 1, "other", {{"one", "dbc", ""}}), succeeded);
    subscribe("other.View.Plain");
    EXPECT_THAT(take(telling), ElementsAre(offered("elsewhere.register_type 4")));
}

TEST_F(subscription, that_a_plugin_refuses_is_lost_with_its_handle_and_nobody_is_told) {
    start_with_source();
    plugin("m").answers = {{"register_type", reports(QOR_STATUS_FAILURE, "too many")}};
    EXPECT_EQ(try_subscribe(plain), failed("too many"));
    plugin("box").answers = {{"register_type", reports(QOR_STATUS_INVALID_ARGUMENT, "not mine")}};
    EXPECT_EQ(try_subscribe(plain), invalid("not mine"));
    EXPECT_THAT(take(telling),
                ElementsAre("box.register_type 2 View/Plain at 0 of 8", "m.register_type 2 View/Plain at 512 of 8",
                            "box.register_type 3 View/Plain at 0 of 8"));
    plugin("box").answers = plugin("m").answers = {{"register_type", returns(QOR_STATUS_FAILURE)}};
    EXPECT_EQ(subscribe(plain), 4u); // a matcher's status alone says nothing
    EXPECT_EQ(count(), 1u);
}

// What a plug-in's tables leave out is missed by the first call that needs it.
TEST_F(subscription, and_all_around_it_needs_the_slots_of_the_plugins) {
    const std::string parser = "qor_data_description_parser", storage = "qor_signal_storage";
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"p", parser + "_support_t", "parse_buffer"},
        {"p", parser + "_format_support_t", "get_context_type"},
        {"m", "qor_data_matcher_support_t", "register_type"},
        {"m", "qor_data_matcher_support_t", "unregister_type"},
        {"m", "qor_data_matcher_support_t", "match"},
        {"box", "qor_data_processor_support_t", "register_type"},
        {"box", "qor_data_processor_support_t", "unregister_type"},
        {"box", "qor_data_processor_support_t", "process"},
        {storage, storage + "_access_t", "get_node_children"},
    };
    for (const auto& [who, table, slot] : rows) {
        plugin("box").answers = {{"register_type", returns(1)}};
        plugin(who).missing = {slot};
        start();
        outcome result = register_descriptions(0x15, 2, "engine", {{"one", "dbc", ""}});
        const std::function<outcome()> calls[] = {
            [&] { return try_subscribe(plain); }, [&] { return try_match(package(0x15, 2, "can", "")); },
            [&] { return try_process(package(0x15, 2, "raw", "")); }, [&] { return unsubscribe(2); },
            [&] {
                const std::string told = names_of(api.get_node_children, &host.control.nodes.nodes()[0]);
                return told.starts_with('<') ? failed(told.substr(1, told.size() - 2)) : succeeded;
            }};
        for (const auto& each : calls) {
            result = result == succeeded ? each() : result;
        }
        EXPECT_EQ(result, failed("invalid " + table + " interface, missing '" + slot + "' function"));
        destroy();
        plugin(who).missing = {};
    }
}

TEST_F(subscription, keeps_url_and_schema) {
    start_with_source();
    const std::string url = "21#2.View.Object.Group.Signal[ 1 ]";
    const auto subscribed = subscribe(url);
    EXPECT_EQ(text_of(api.get_url, subscribed), url);
    EXPECT_EQ(text_of(api.get_type_schema_by_subscription, subscribed), schema(url));
    EXPECT_THAT(take({"schema"}), ElementsAre("box.schema " + schema(url), "m.schema " + schema(url)));
    std::size_t size = 0;
    EXPECT_EQ(call(api.get_url, handle, 99u, nullptr, &size), invalid("invalid subscription handle"));
    EXPECT_EQ(call(api.get_type_schema_by_subscription, handle, 99u, nullptr, &size),
              failed("subscription handle '99' was not found by Tavi extractor"));
}

TEST_F(subscription, by_number_needs_no_registration_but_a_description) {
    start();
    // Makes the source, then fails on the schema: there is no description to take it from.
    EXPECT_EQ(try_subscribe("10#2.View.Plain"), invalid("failed to access schema with URL '10#2.View.Plain'"));
    EXPECT_EQ(try_subscribe("10#2.View.None"), invalid("path 'View.None' of description 0 is not in the fake"));
    EXPECT_EQ(register_descriptions(10, 2, "engine", {}),
              invalid("the specified data source name does not match the previously registered name"));
    EXPECT_EQ(register_descriptions(10, 2, "10#2", {{"one", "dbc", ""}}), succeeded);
    EXPECT_EQ(subscribe("10#2.View.Plain"), 2u);
    EXPECT_EQ(subscribe("65546#2.View.Plain"), 3u); // the low 16 bits of the number
}

TEST_F(subscription, looks_in_one_description_after_the_other) {
    host.control.nodes.add("view 30 0 Second; object 31 30 Thing 0x40 4", 2);
    start();
    ASSERT_EQ(register_descriptions(7, 1, "both", {{"one", "dbc", ""}, {"two", "dbc", ""}}), succeeded);
    EXPECT_EQ(subscribe("both.Second.Thing"), 2u);
    const outcome not_found =
        failed("requested type URL expression 'both.Second.Thing' not found in the signal storage");
    // A storage that finds nothing, with the one report that counts as that and without a word; another report.
    const std::pair<answer, outcome> rows[] = {
        {reports(QOR_STATUS_INVALID_ARGUMENT, "no"), not_found},
        {returns(0), not_found},
        {reports(QOR_STATUS_TIMED_OUT, "slow disk"), failed("slow disk", QOR_STATUS_TIMED_OUT)}};
    for (const auto& [given, expected] : rows) {
        storage().answers = {{"find_node", given}};
        EXPECT_EQ(try_subscribe("both.Second.Thing"), expected);
    }
}

TEST_F(subscription, fails_with_the_text_of_what_is_wrong) {
    // A node whose name holds a dot answers a path of more levels than it has.
    host.control.nodes.add("object 40 1 Dotted.Name 0 4");
    start_with_source();
    const std::pair<std::string, outcome> rows[] = {
        {"engine.View", invalid("1.12: syntax error, unexpected end of expression, expecting .")},
        {"engine.View.Plain[0]", failed("invalid filter expression, the type 'Plain' cannot be used as array type")},
        {"engine.View.Dotted.Name", failed("the URL 'engine.View.Dotted.Name' token count 3 does not match the signal "
                                           "storage hierarchy level count 2")},
        {"nobody.View.Plain", failed("the data source identified with name 'nobody' was not found")},
        {"0#5.View.Plain", failed("the data source identified with name '0#5' was not found")},
    };
    for (const auto& [url, expected] : rows) {
        EXPECT_EQ(try_subscribe(url), expected) << url;
    }
    storage().counts_only = true;
    EXPECT_EQ(try_subscribe("engine.View.Object[1].Group"), invalid("invalid node object state"));
    storage().answers = {{"get_node_hierarchy", reports(QOR_STATUS_INVALID_ARGUMENT, "no path")}};
    storage().counts_only = false;
    EXPECT_EQ(try_subscribe(plain), invalid("no path"));
    EXPECT_EQ(count(), 0u);
}

TEST_F(subscription, ended_is_forgotten_but_still_offered_to_the_matcher) {
    start_with_source();
    subscribe(plain);
    subscribe("engine.View.Object");
    take({});
    for (const std::string ended : {"2", "77"}) { // one that never was goes the same way
        EXPECT_EQ(unsubscribe(std::stoul(ended)), succeeded);
        EXPECT_THAT(take(telling), ElementsAre("m.unregister_type " + ended, "box.unregister_type " + ended));
        EXPECT_EQ(count(), 1u);
    }
    EXPECT_EQ(text_of(api.get_url, 2u), "<invalid subscription handle>");
    plugin("m").match[2] = plugin("m").match[3] = {true};
    EXPECT_THAT(match(package(0x15, 2, "can", "")), ElementsAre(2u, 3u));
    // A plug-in that fails ends the round.
    plugin("m").answers = {{"unregister_type", reports(QOR_STATUS_TIMED_OUT, "busy")}};
    EXPECT_EQ(unsubscribe(3), failed("busy", QOR_STATUS_TIMED_OUT));
    EXPECT_THAT(take(telling), ElementsAre("m.unregister_type 3"));
    EXPECT_EQ(count(), 0u);
}

TEST_F(subscription, all_end_at_once) {
    start_with_source();
    subscribe(plain);
    subscribe("engine.View.Object");
    take({});
    EXPECT_EQ(call(api.unsubscribe_all, handle), succeeded);
    EXPECT_THAT(take(telling), ::testing::UnorderedElementsAre("m.unregister_type 2", "box.unregister_type 2",
                                                               "m.unregister_type 3", "box.unregister_type 3"));
    EXPECT_EQ(count(), 0u);
    EXPECT_THAT(match(package(0x15, 2, "can", "")), IsEmpty());
    EXPECT_THAT(take({"match"}), IsEmpty());
    EXPECT_EQ(subscribe(plain), 4u); // the source is still there
    take({});
    destroy();
    EXPECT_THAT(take(telling), IsEmpty()); // nobody is told at the end
}

} // namespace
} // namespace tavi::test
