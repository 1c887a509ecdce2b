// Which messages a frame id leads to.
#include "tools/tavi/decode/interface_routes.hpp"

#include <random>
#include <unordered_map>

#include <gmock/gmock.h>

#include "qorc/type_node.h"

namespace tavi::tool {
namespace {

class routes : public ::testing::Test {
protected:
    void add(const std::string& path, std::uint32_t address, bool selected = true, std::uint32_t flags = 0) {
        message& added = messages.emplace_back();
        added.path = path;
        added.address = address;
        added.flags = flags;
        added.selected = selected;
        added.description = description;
    }

    // Of the messages so far.
    void make_routes(interface_routes& made) {
        for (message& each : messages) {
            made.add(each);
        }
        made.close();
    }

    // Paths of the messages for an id, "-" for an unknown id, "!" for one not selected.
    static std::string of(interface_routes& bus, std::uint32_t id) {
        const std::uint32_t number = bus.find(id);
        std::string text(number == interface_routes::unknown        ? "-"
                         : number == interface_routes::not_selected ? "!"
                                                                    : "");
        const std::size_t count = text.empty() ? bus[number].targets.size() : 0;
        for (std::size_t at = 0; at < count; ++at) {
            text.append(bus[number].targets[at]->wanted->path).append(" ");
        }
        return text;
    }
    std::string of(std::uint32_t id, bool j1939 = false) {
        interface_routes bus(0, "can0", j1939);
        make_routes(bus);
        return of(bus, id);
    }

    std::deque<message> messages;
    std::size_t description = 0; // of what is added
};

TEST_F(routes, tell_unknown_ids_from_those_not_asked_for) {
    add("a", 0x100);
    add("b", 0x101, false);
    add("c", 0x80000100);
    add("d", 0x100);
    EXPECT_EQ(of(0x100), "a d ");
    EXPECT_EQ(of(0x101), "!");
    EXPECT_EQ(of(0x102), "-");
    EXPECT_EQ(of(0x80000100), "c ");
    EXPECT_EQ(of(0x80000101), "-");
}

TEST_F(routes, follow_the_group_for_ids_that_no_message_of_the_description_has) {
    constexpr std::uint32_t group = QOR_OBJECT_PARAMETER_GROUP;
    add("pdu2", 0x98FEF100, true, group);
    add("whole", 0x98FEF1AB);
    add("pdu1", 0x98EA0000, true, group);
    add("pdu2_again", 0x8CFEF1FE, true, group);
    add("pdu2_twin", 0x8CFEF1FE, true, group);
    add("unmarked", 0x98FEF500);
    for (const bool j1939 : {false, true}) {
        EXPECT_EQ(of(0x80FEF142, j1939), "pdu2 "); // other priority and source address
        EXPECT_EQ(of(0x98FEF1AB, j1939), "whole ");
        EXPECT_EQ(of(0x8CFEF1FE, j1939), "pdu2_again pdu2_twin ");
        EXPECT_EQ(of(0x98FEF2AB, j1939), "-");     // another group extension
        EXPECT_EQ(of(0x98EA3307, j1939), "pdu1 "); // another destination
        EXPECT_EQ(of(0x99EA3307, j1939), "-");     // another data page
        EXPECT_EQ(of(0x0F1, j1939), "-");
        EXPECT_EQ(of(0x98FEF501, j1939), j1939 ? "unmarked " : "-");
    }
}

TEST_F(routes, know_ids_and_groups_of_messages_not_asked_for) {
    constexpr std::uint32_t group = QOR_OBJECT_PARAMETER_GROUP;
    add("first", 0x98FEF100, false, group);
    add("second", 0x98FEF121, true, group);
    add("third", 0x98FEF200, true, group);
    add("fourth", 0x98FEF221, false, group);
    EXPECT_EQ(of(0x98FEF100), "!");
    EXPECT_EQ(of(0x98FEF121), "second ");
    EXPECT_EQ(of(0x98FEF142), "!"); // of the first of the file
    EXPECT_EQ(of(0x98FEF221), "!");
    EXPECT_EQ(of(0x98FEF242), "third ");
}

TEST_F(routes, let_each_description_speak_for_itself) {
    constexpr std::uint32_t group = QOR_OBJECT_PARAMETER_GROUP;
    add("a", 0x98FEF100, true, group);
    add("a_id", 0x98FEF121);
    description = 1;
    add("b", 0x98FEF121, true, group);
    add("b_id", 0x98FEF142);
    EXPECT_EQ(of(0x98FEF100), "a b ");
    EXPECT_EQ(of(0x98FEF121), "a_id b ");
    EXPECT_EQ(of(0x98FEF142), "a b_id ");
    EXPECT_EQ(of(0x98FEF1FF), "a b ");
    description = 2;
    add("a", 0x98FEF100, true, group); // the same as before
    add("c", 0x98FEF1AA, true, group);
    messages.back().layer = 1;
    EXPECT_EQ(of(0x98FEF100), "a b ");
    EXPECT_EQ(of(0x98FEF1AA), "a b c ");
    interface_routes bus(0, "can0", false);
    make_routes(bus);
    EXPECT_THAT(bus[bus.find(0x98FEF100)].layers, ::testing::ElementsAre(0));
    EXPECT_THAT(bus[bus.find(0x98FEF1AA)].layers, ::testing::ElementsAre(0, 1));
    EXPECT_EQ(bus[bus.find(0x98FEF100)].by_group.size(), 1u);
    EXPECT_EQ(bus[bus.find(0x98FEF142)].by_group.size(), 1u);
    EXPECT_EQ(bus[bus.find(0x98FEF1FF)].by_group.size(), 2u);
}

TEST_F(routes, exclude_the_ids_that_no_term_accepts) {
    // What 0x100, 0x101 and 0x98FEF1AB then lead to.
    const std::tuple<const char*, std::string, std::string> cases[] = {
        {"", "!!", "!"},
        {"(SourceId = 16 AND Instance = 3 AND Address = 0x101)", "!b ", "!"},
        {"(SourceId = 16 AND Instance = 2 AND Address = 0x101)", "!!", "!"},
        {"(SourceId = 17 AND Instance = 3)", "!!", "!"},
        {"(Address = 0x100) OR (Address = 0x104) OR (Address = 0x98FEF1AB)", "a !", "whole "},
        {"(Address = 0x100000100)", "!!", "!"},
        {"(SourceId = 16 AND Instance = 3 AND Cycle = 2)", "a b ", "whole "},
    };
    add("a", 0x100);
    add("b", 0x101);
    add("group", 0x98FEF100, true, QOR_OBJECT_PARAMETER_GROUP);
    add("whole", 0x98FEF1AB);
    add("not subscribed to", 0x103);
    add("not selected", 0x104, false);
    for (const auto& [filter, kept, whole] : cases) {
        interface_routes filtered(3, "can3", false);
        make_routes(filtered);
        for (const auto& wanted : filtered.targets()) {
            wanted->handle = wanted->wanted->path == "not subscribed to" ? 0 : 1;
        }
        filtered.exclude(host::reader_filter(filter), 16);
        EXPECT_EQ(of(filtered, 0x100) + of(filtered, 0x101), kept) << filter;
        EXPECT_EQ(of(filtered, 0x98FEF1AB), whole) << filter;
        EXPECT_EQ(of(filtered, 0x98FEF142), "group ") << "a filter does not have all ids of a group";
        EXPECT_EQ(of(filtered, 0x103) + of(filtered, 0x104) + of(filtered, 0x102), "not subscribed to !-") << filter;

        interface_routes like(4, "can4", false);
        EXPECT_FALSE(like.is_like(filtered));
        make_routes(like);
        EXPECT_TRUE(like.is_like(filtered));
        like.exclude_as(filtered);
        EXPECT_EQ(of(like, 0x100) + of(like, 0x101), kept);
        EXPECT_EQ(of(like, 0x98FEF1AB) + of(like, 0x98FEF142), whole + "group ");
    }
}

TEST(id_table, finds_what_was_put_in) {
    std::mt19937 random(7);
    id_table table;
    std::unordered_map<std::uint32_t, std::uint32_t> known;
    for (std::uint32_t index = 0; index < 5000; ++index) {
        // Neighbours, multiples of large powers of two, and anything.
        const std::uint32_t id = index % 3 == 0 ? index : index % 3 == 1 ? index << 18 : random();
        table.put(id, index);
        known[id] = index;
    }
    for (const auto& [id, index] : known) {
        ASSERT_EQ(table.find(id), index);
    }
    for (std::uint32_t id = 0; id < 10000; ++id) {
        ASSERT_EQ(table.find(id) == id_table::none, !known.contains(id));
    }
}

} // namespace
} // namespace tavi::tool
