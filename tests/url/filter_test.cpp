// From the expression as written to plain indices: filters on every kind of node, and how tokens meet the hierarchy.
#include <gtest/gtest.h>

#include "qor_tavi_extractor/src/url/driver.hpp"
#include "tests/support/nodes_of.hpp"
#include "tests/support/thrown.hpp"

namespace {

using namespace qor::tavi::detail;
using namespace tavi::test;

// The index, or the text of the failure.
std::string evaluated(const filter_expression& filter, const qor_type_node_t& node) {
    std::uint64_t index = 0;
    const std::string failure = thrown<std::runtime_error>([&] { index = filter.evaluate(node); });
    return failure == "nothing was thrown" ? std::to_string(index) : failure;
}

TEST(filter_expression, selects_an_element_of_an_array) {
    const std::string no_array = "invalid filter expression, the type 'Node' cannot be used as array type";
    const auto beyond = [](const std::string& count) {
        return "index was outside the bounds of the 'Node' array, subscript must be smaller than " + count;
    };
    const std::tuple<std::uint32_t, std::string, std::string> cases[] = {
        {5, "first", "0"},
        {5, "last", "4"},
        {5, "5", "5"}, // one past the end stays accepted
        {5, "6", beyond("5")},
        {4000000000, "last", "3999999999"},
        {1, "0", no_array},
        {1, "last", no_array},
        {0, "7", no_array},
        {5, "-1", beyond("5")},
        {5, "First", "invalid filter expression, function 'First' is not supported"},
    };
    for (const auto& [count, filter, result] : cases) {
        const bool is_function = std::isalpha(filter[0]) != 0;
        const filter_expression_function function(filter);
        const filter_expression_constant constant(is_function ? 0 : std::stoll(filter));
        for (const std::string kind : {"object", "group", "signal"}) {
            nodes_of list((kind + " 1 0 Node 0 8 " + std::to_string(count)).c_str());
            const qor_type_node_t& node = list.nodes()[0];
            EXPECT_EQ(is_function ? evaluated(function, node) : evaluated(constant, node), result)
                << filter << " of " << count << ' ' << kind;
        }
    }
}

TEST(filter_expression, refuses_views_and_lets_unknown_kinds_pass) {
    const std::string refused = "invalid filter expression, a view type 'V' cannot be used as array type";
    const filter_expression_function first("first"), last("last");
    const filter_expression_constant constant(3);
    nodes_of list("view 1 0 V; 9 1 0 other");
    for (const filter_expression* const filter : std::vector<const filter_expression*>{&first, &last, &constant}) {
        EXPECT_EQ(evaluated(*filter, list.nodes()[0]), refused);
        EXPECT_EQ(evaluated(*filter, list.nodes()[1]), filter == &constant ? "3" : "0");
    }
}

// Each token of the resolved expression: "name", with "[index]" when it has one.
std::string resolved(const std::string& expression, nodes_of nodes) {
    const auto url = driver().parse(expression)->resolve(nodes.sequence());
    std::string text;
    for (std::size_t index = 0; index < url->size(); ++index) {
        const url_token& token = url->token(index);
        text += token.name() + (token.has_index() ? "[" + std::to_string(token.index()) + "]|" : "|");
    }
    return text;
}

TEST(url_context, resolves_each_filter_against_its_own_level) {
    const char* const nodes = "view 1 0 v; object 2 1 x 0 8 4; group 3 2 y 0 4 9; signal 4 3 z 0 1 1";
    EXPECT_EQ(resolved("10#2.v.x[1].y[last()].z", nodes), "10#2|v|x[1]|y[8]|z|");
    EXPECT_EQ(resolved("name.v.x[first()]", nodes), "0#0|v|x[0]|");
    EXPECT_EQ(thrown<std::runtime_error>([&] { resolved("a.v.x.y[1].z[0]", nodes); }),
              "invalid filter expression, the type 'z' cannot be used as array type");
    const auto url = driver().parse("70000#7.v.x")->resolve({nullptr, 0});
    const auto& source = dynamic_cast<const url_source_token&>(url->token(0));
    EXPECT_EQ(source.source_id(), 4464u);
    EXPECT_EQ(source.instance(), 7u);
    // A token without a node keeps its place without an index.
    EXPECT_EQ(resolved("a.v.x[1].y[x()].z[2]", "view 1 0 v; object 2 1 x 0 8 4"), "0#0|v|x[1]|y|z|");
    EXPECT_EQ(driver().parse("a.v.x[1]")->resolve({nullptr, 5})->size(), 3u);
    // A path leaves out the source and the filters.
    EXPECT_EQ(driver().parse("10#2.My View.Group[last()].Signal[3]")->location_path(), "My View.Group.Signal");
}

TEST(url_context, a_first_token_that_names_no_source_is_told_so) {
    const url_context context({std::make_shared<token>("t")});
    EXPECT_EQ(thrown<std::runtime_error>([&] { context.source(); }),
              "the first token in a type URL expression must identify a data source");
    EXPECT_EQ(context.resolve({nullptr, 0})->token(0).name(), "t");
}

} // namespace
