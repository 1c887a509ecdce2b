#include "qorcpp/node_layout.hpp"

#include <gtest/gtest.h>

namespace {

TEST(NodeLayout, TakesTheFieldsOfTheKind) {
    qor_type_node_t node{};
    node.view.cycle = 9;
    node.object.address = 0x100;
    node.object.element_count = 2;
    node.object.element_size = 3;
    node.group.offset = 4;
    node.group.element_count = 5;
    node.group.element_size = 6;
    node.signal.offset = 7;
    node.signal.element_count = 8;
    node.signal.element_size = 1;
    const std::tuple<std::uint8_t, const char*, std::optional<qor::node_layout>, std::uint32_t*> rows[] = {
        {0, "", std::nullopt, nullptr},
        {QOR_TYPE_NODE_VIEW, "view", std::nullopt, nullptr},
        {QOR_TYPE_NODE_OBJECT, "object", qor::node_layout{0x100, 0, 2, 3}, &node.object.element_count},
        {QOR_TYPE_NODE_GROUP, "group", qor::node_layout{0, 4, 5, 6}, &node.group.element_count},
        {QOR_TYPE_NODE_SIGNAL, "signal", qor::node_layout{0, 7, 8, 1}, &node.signal.element_count},
        {5, "", std::nullopt, nullptr},
        {255, "", std::nullopt, nullptr},
    };
    for (const auto& [kind, name, layout, count] : rows) {
        node.kind = kind;
        EXPECT_STREQ(qor::node_kind_name(qor::kind_of(node)), name);
        EXPECT_EQ(qor::is_node_kind(kind), *name != '\0');
        EXPECT_EQ(qor::layout_of_node(node), layout) << int{kind};
        EXPECT_EQ(qor::element_count_of(node), count) << int{kind};
    }
}

} // namespace
