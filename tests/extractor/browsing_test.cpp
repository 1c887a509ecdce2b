// Nodes, schemas, the reader filter, and the protocol by which texts are returned.
#include "tests/extractor/extractor_fixture.hpp"

namespace tavi::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using namespace fakes;

class browsing : public extractor_test {
protected:
    browsing() {
        add_parser("p", {{"dbc"}});
        for (const auto& node : {in_description(2, view_node(30, "Second")), in_description(2, view_node(31, "Third")),
                                 in_description(2, object_node(32, 31, "Thing", 0xFF, 4, 2))}) {
            host.control.nodes.push_back(node);
        }
        start();
        EXPECT_EQ(register_descriptions(7, 1, "both", {{"two", "dbc", ""}, {"one", "dbc", ""}}), succeeded);
        EXPECT_EQ(register_descriptions(8, 1, "single", {{"one", "dbc", ""}}), succeeded);
        EXPECT_EQ(register_descriptions(9, 1, "empty", {}), succeeded);
        take({});
    }
    // The names of the nodes that `ask` gives, or its text.
    template<typename... Arguments>
    std::string names(Arguments... arguments) {
        qor_type_node_sequence_t* nodes = nullptr;
        const outcome result = call(arguments..., &nodes);
        if (result != succeeded) {
            return "<" + result.text.value_or("") + ">";
        }
        std::string text;
        for (std::uint64_t i = 0; i < nodes->count; ++i) {
            text += std::string(nodes->nodes[i].name) + " ";
        }
        EXPECT_EQ(qor_type_node_sequence_destroy(qor_get_default_allocator(), nodes, nullptr), QOR_STATUS_OK);
        return text;
    }
    std::string roots(std::uint16_t id, std::uint32_t instance) {
        const qor_data_source_t source = make_source(id, instance, "any name");
        return names(api.get_root_nodes, handle, &source);
    }
};

TEST_F(browsing, gives_the_views_of_all_descriptions_in_order) {
    EXPECT_EQ(roots(7, 1), "Second Third View ");
    EXPECT_EQ(roots(8, 1), "View ");
    EXPECT_EQ(roots(9, 1), "");
    EXPECT_EQ(roots(7, 2), "");
    EXPECT_EQ(names(api.get_root_nodes_by_source_name, handle, "both"), "Second Third View ");
    EXPECT_EQ(names(api.get_root_nodes_by_source_name, handle, "boht"),
              "<the data source identified with name 'boht' was not found, did you mean 'both'?>");
    storage().answers = {{"get_root_nodes/1", reports(QOR_STATUS_FAILURE, "gone")}};
    EXPECT_EQ(roots(7, 1), "<gone>");
}

TEST_F(browsing, passes_children_on_as_the_storage_gives_them) {
    EXPECT_EQ(names(api.get_node_children, handle, &host.control.nodes[0]), "Object Plain ");
    EXPECT_EQ(names(api.get_node_children, handle, &host.control.nodes[3]), "");
    storage().missing = {"get_node_children"};
    destroy();
    start();
    EXPECT_EQ(names(api.get_node_children, handle, &host.control.nodes[0]),
              "<invalid qor_signal_storage_access_t interface, missing 'get_node_children' function>");
}

TEST_F(browsing, takes_a_schema_from_the_first_description_that_has_the_path) {
    EXPECT_THAT(schema("both.View.Plain"), HasSubstr("\"Byte\""));
    EXPECT_THAT(schema("both.Third.Thing"), HasSubstr("\"Thing\""));
    // The error of a single description is its own, of several the last one's, of none a general one.
    EXPECT_EQ(schema("single.View.None"), "<path 'View.None' of description 1 is not in the fake>");
    EXPECT_EQ(schema("both.View.None"), "<path 'View.None' of description 1 is not in the fake>");
    EXPECT_EQ(schema("empty.View.None"), "<failed to access schema with URL 'empty.View.None'>");
    EXPECT_EQ(schema("5#1.View.None"),
              "<the data source identified with source id '5' and instance number '1' was not found>");
    EXPECT_EQ(schema("nobody.View.None"), "<the data source identified with name 'nobody' was not found>");
    // A bad filter is reported at once, whatever stands in the descriptions to come.
    take({});
    EXPECT_EQ(schema("both.Third.Thing[7]"),
              "<index was outside the bounds of the 'Thing' array, subscript must be smaller than 2>");
    EXPECT_THAT(take({"find_node"}), ElementsAre("qor_signal_storage.find_node 2 Third.Thing"));
    storage().answers = {{"find_node/2", reports(QOR_STATUS_FAILURE, "damaged")}};
    EXPECT_EQ(schema("both.View.Plain"), "<damaged>");
}

TEST_F(browsing, passes_the_options_of_a_schema_on) {
    const auto with = [&](bool annotate, bool print_option) {
        return read_text([&](char* buffer, std::size_t* size) {
            return call(api.get_type_schema_by_url, handle, "both.View.Plain", false, annotate, print_option, buffer,
                        size);
        });
    };
    EXPECT_THAT(with(true, false), HasSubstr("measurement"));
    EXPECT_THAT(with(false, false), ::testing::Not(HasSubstr("measurement")));
    EXPECT_THAT(with(false, true), HasSubstr("\n"));
    EXPECT_THAT(with(false, false), ::testing::Not(HasSubstr("\n")));
}

TEST_F(browsing, tolerates_a_layout_fault_only_when_lenient) {
    destroy();
    host.offers_log = true;
    host.control.nodes = {view_node(1, "View"),      object_node(2, 1, "Object", 0, 8), group_node(3, 2, "A", 0, 4),
                          signal_node(4, 3, "s", 0), group_node(5, 2, "A", 4, 4),       signal_node(6, 5, "s", 0)};
    start();
    ASSERT_EQ(register_descriptions(8, 1, "single", {{"one", "dbc", ""}}), succeeded);
    host.take_log();
    const std::string clash =
        "member names of aggregation types must be unique, 'Object' already has a member with 'A' name0";
    EXPECT_EQ(schema("single.View.Object"), "<" + clash + ">");
    EXPECT_THAT(host.records, IsEmpty());
    EXPECT_THAT(schema("single.View.Object", true), HasSubstr("\"A_1\""));
    ASSERT_FALSE(host.records.empty());
    EXPECT_EQ(host.records[0].function, "qor::tavi::detail::type_parser::validate_member_name");
    EXPECT_EQ(host.records[1].function, "qor::tavi::detail::type_parser::parse");
    // The text is asked for twice, for its size and for itself.
    EXPECT_THAT(host.take_log(), ElementsAre("300 Validate member: " + clash, "300 Rename 'Object.A' to 'A_1'0",
                                             "300 Validate member: " + clash, "300 Rename 'Object.A' to 'A_1'0"));
    EXPECT_EQ(try_subscribe("single.View.Object"), failed(clash));
    EXPECT_EQ(try_subscribe("single.View.Object", true), succeeded);
}

TEST_F(browsing, returns_texts_with_a_zero_behind_the_size) {
    ASSERT_EQ(try_subscribe("8#1.View.Plain"), succeeded);
    const std::string url = "8#1.View.Plain";
    const std::size_t needed = url.size() + 1;
    const struct {
        std::size_t room;
        bool fits;
    } rows[] = {{0, false}, {needed - 1, false}, {needed, true}, {needed + 5, true}};
    for (const auto& row : rows) {
        std::string buffer(needed + 10, 'x');
        std::size_t size = row.room;
        EXPECT_EQ(call(api.get_url, handle, 2u, buffer.data(), &size), row.fits ? succeeded : too_small);
        EXPECT_EQ(size, needed);
        const std::string written = row.fits ? url + std::string(2, '\0') : "";
        EXPECT_EQ(buffer, written + std::string(buffer.size() - written.size(), 'x')) << row.room;
        size = row.room;
        EXPECT_EQ(call(api.get_url, handle, 2u, static_cast<char*>(nullptr), &size), too_small);
        EXPECT_EQ(size, needed);
    }
}

TEST_F(browsing, sums_the_subscriptions_up_as_a_reader_filter) {
    EXPECT_EQ(filter(), "");
    subscribe("both.Third.Thing");
    EXPECT_EQ(filter(), "(SourceId = 7 AND Instance = 1 AND Address = 0xFF)");
    subscribe("both.Third.Thing[1]"); // the same object
    EXPECT_EQ(filter(), "(SourceId = 7 AND Instance = 1 AND Address = 0xFF)");
    subscribe("single.View.Object[2].Group[1].Signal");
    const std::string first = "(SourceId = 7 AND Instance = 1 AND Address = 0xFF)";
    const std::string second = "(SourceId = 8 AND Instance = 1 AND Cycle = 5 AND Address = 0x100)";
    EXPECT_THAT(filter(), ::testing::AnyOf(first + " OR " + second, second + " OR " + first));
    EXPECT_EQ(call(api.unsubscribe, handle, 2u), succeeded);
    EXPECT_EQ(call(api.unsubscribe, handle, 3u), succeeded);
    EXPECT_EQ(filter(), second);
    storage().answers = {{"get_node_hierarchy", reports(QOR_STATUS_FAILURE, "damaged")}};
    EXPECT_EQ(filter(), "<damaged>");
}

TEST_F(browsing, leaves_fields_of_0_out_of_the_filter_but_source_and_instance) {
    host.control.nodes = {view_node(1, "V"), object_node(2, 1, "O", 0, 4), view_node(3, "W", 0xFFFFFFFF),
                          object_node(4, 3, "O", 0xABCDEF0123456789, 4)};
    ASSERT_EQ(register_descriptions(0, 0, "zero", {{"one", "dbc", ""}}), succeeded);
    ASSERT_EQ(register_descriptions(0, 1, "zero and one", {{"one", "dbc", ""}}), succeeded);
    subscribe("zero.V.O");
    EXPECT_EQ(filter(), "(SourceId = 0 AND Instance = 0)");
    subscribe("zero and one.V.O");
    EXPECT_THAT(filter(), ::testing::AllOf(HasSubstr(") OR ("), HasSubstr("(SourceId = 0 AND Instance = 1)")));
    ASSERT_EQ(call(api.unsubscribe_all, handle), succeeded);
    subscribe("zero.W.O");
    EXPECT_EQ(filter(), "(SourceId = 0 AND Instance = 0 AND Cycle = 4294967295 AND Address = 0xABCDEF0123456789)");
}

} // namespace
} // namespace tavi::test
