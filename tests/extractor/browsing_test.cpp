// Nodes, schemas, the reader filter, and the protocol by which texts are returned.
#include "tests/extractor/extractor_fixture.hpp"

namespace tavi::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using namespace fakes;

class browsing : public extractor_test {
protected:
    browsing() {
        add_parser("p", {{"dbc"}});
        host.control.nodes.add("view 30 0 Second; view 31 0 Third; object 32 31 Thing 0xFF 4 2", 2);
        start();
        EXPECT_EQ(register_descriptions(7, 1, "both", {{"two", "dbc", ""}, {"one", "dbc", ""}}), succeeded);
        EXPECT_EQ(register_descriptions(8, 1, "single", {{"one", "dbc", ""}}), succeeded);
        EXPECT_EQ(register_descriptions(9, 1, "empty", {}), succeeded);
    }
};

TEST_F(browsing, gives_nodes_as_the_storage_gives_them) {
    EXPECT_EQ(root_nodes(7, 1), "Second Third View "); // all descriptions in order
    EXPECT_EQ(root_nodes("single"), "View ");
    EXPECT_EQ(root_nodes(7, 2), "");
    EXPECT_EQ(names_of(api.get_node_children, &host.control.nodes.nodes()[0]), "Object Plain ");
    storage().counts_only = true;
    EXPECT_EQ(root_nodes("single"), "<invalid node object state>");
    storage().answers = {{"get_root_nodes/1", reports(QOR_STATUS_FAILURE, "gone")}};
    EXPECT_EQ(root_nodes(8, 1), "<gone>");
}

TEST_F(browsing, takes_a_schema_from_the_first_description_that_has_the_path) {
    EXPECT_THAT(schema("both.View.Plain"), HasSubstr("\"Byte\""));
    // The error of a single description is its own, of several the last one's, of none a general one.
    const std::pair<std::string, std::string> rows[] = {
        {"single.View.None", "<path 'View.None' of description 1 is not in the fake>"},
        {"both.View.None", "<path 'View.None' of description 1 is not in the fake>"},
        {"empty.View.None", "<failed to access schema with URL 'empty.View.None'>"},
        {"5#1.View.None", "<the data source identified with source id '5' and instance number '1' was not found>"},
        {"nobody.View.None", "<the data source identified with name 'nobody' was not found>"},
    };
    for (const auto& [url, text] : rows) {
        EXPECT_EQ(schema(url), text);
    }
    // A bad filter is reported at once, whatever stands in the descriptions to come.
    take({});
    EXPECT_EQ(schema("both.Third.Thing[7]"),
              "<index was outside the bounds of the 'Thing' array, subscript must be smaller than 2>");
    EXPECT_THAT(take({"find_node"}), ::testing::ElementsAre("qor_signal_storage.find_node 2 Third.Thing"));
    storage().answers = {{"find_node/2", reports(QOR_STATUS_FAILURE, "damaged")}};
    EXPECT_EQ(schema("both.View.Plain"), "<damaged>");
}

TEST_F(browsing, passes_the_options_of_a_schema_on) {
    for (const bool annotate : {false, true}) {
        const std::string text = text_of(api.get_type_schema_by_url, "both.View.Plain", false, annotate, !annotate);
        EXPECT_EQ(text.find("measurement") != std::string::npos, annotate);
        EXPECT_EQ(text.find('\n') != std::string::npos, !annotate);
    }
}

TEST_F(browsing, tolerates_a_layout_fault_only_when_lenient) {
    destroy();
    host.offers_log = true;
    host.control.nodes = "view 1 0 View; object 2 1 Object 0 8; group 3 2 A 0 4; group 5 2 A 4 4";
    start();
    ASSERT_EQ(register_descriptions(8, 1, "single", {{"one", "dbc", ""}}), succeeded);
    host.records.clear();
    EXPECT_THAT(*try_subscribe("single.View.Object").text, HasSubstr("already has a member with 'A' name"));
    EXPECT_THAT(host.records, ::testing::IsEmpty());
    EXPECT_EQ(try_subscribe("single.View.Object", true), succeeded);
    EXPECT_THAT(schema("single.View.Object", true), HasSubstr("\"A_1\""));
    EXPECT_EQ(host.records[1], "300 Rename 'Object.A' to 'A_1'0");
    EXPECT_THAT(host.places.back(), ::testing::EndsWith(" qor::tavi::detail::type_parser::parse"));
}

TEST_F(browsing, returns_texts_with_a_zero_behind_the_size) {
    const std::string url = "8#1.View.Plain";
    subscribe(url);
    const std::size_t needed = url.size() + 1;
    for (const std::size_t room : {std::size_t{0}, needed - 1, needed, needed + 5}) {
        const bool fits = room >= needed;
        std::string buffer(needed + 10, 'x');
        std::size_t size = room;
        EXPECT_EQ(call(api.get_url, handle, 2u, buffer.data(), &size), fits ? succeeded : too_small);
        EXPECT_EQ(size, needed);
        const std::string written = fits ? url + std::string(2, '\0') : "";
        EXPECT_EQ(buffer, written + std::string(needed + 10 - written.size(), 'x')) << room;
        size = room;
        EXPECT_EQ(call(api.get_url, handle, 2u, nullptr, &size), too_small);
        EXPECT_EQ(size, needed);
    }
}

TEST_F(browsing, sums_the_subscriptions_up_as_a_reader_filter) {
    EXPECT_EQ(filter(), "");
    subscribe("both.Third.Thing");
    subscribe("both.Third.Thing[1]"); // the same object
    const std::string first = "(SourceId = 7 AND Instance = 1 AND Address = 0xFF)";
    EXPECT_EQ(filter(), first);
    subscribe("single.View.Object[2].Group[1].Signal");
    const std::string second = "(SourceId = 8 AND Instance = 1 AND Cycle = 5 AND Address = 0x100)";
    EXPECT_THAT(filter(), ::testing::AnyOf(first + " OR " + second, second + " OR " + first));
    storage().counts_only = true;
    EXPECT_EQ(filter(), "<invalid node object state>");
    storage().counts_only = false;
    EXPECT_EQ(call(api.unsubscribe_all, handle), succeeded);
    // Fields of 0 are left out, but source and instance are not.
    host.control.nodes = "view 1 0 V; object 2 1 O 0 4; view 3 0 W 0xFFFFFFFF; object 4 3 O 0xABCDEF0123456789 4";
    ASSERT_EQ(register_descriptions(0, 0, "zero", {{"one", "dbc", ""}}), succeeded);
    subscribe("zero.V.O");
    EXPECT_EQ(filter(), "(SourceId = 0 AND Instance = 0)");
    EXPECT_EQ(call(api.unsubscribe_all, handle), succeeded);
    subscribe("zero.W.O");
    EXPECT_EQ(filter(), "(SourceId = 0 AND Instance = 0 AND Cycle = 4294967295 AND Address = 0xABCDEF0123456789)");
}

} // namespace
} // namespace tavi::test
