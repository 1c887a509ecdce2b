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
        ASSERT_TRUE(bus.add(added)) << path;
    }

    // Paths of the messages for an id, "-" for an unknown id, "!" for one not asked for.
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
    std::string of(std::uint32_t id) { return of(bus, id); }

    std::deque<message> messages;
    interface_routes bus{0, "can0", false};
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
    EXPECT_FALSE(bus.add(messages.front())) << "a path that is there already";
}

TEST_F(routes, follow_parameter_groups_in_the_order_of_the_descriptions) {
    constexpr std::uint32_t group = QOR_OBJECT_PARAMETER_GROUP;
    add("pdu2", 0x98FEF100, true, group);
    add("whole", 0x98FEF1AB);
    add("pdu1", 0x98EA0000, true, group);
    add("pdu2_again", 0x8CFEF1FE, true, group);
    EXPECT_EQ(of(0x80FEF142), "pdu2 pdu2_again ");       // other priority and source address
    EXPECT_EQ(of(0x98FEF1AB), "pdu2 whole pdu2_again "); // both by group and by whole id
    EXPECT_EQ(of(0x98FEF2AB), "-");                      // another group extension
    EXPECT_EQ(of(0x98EA3307), "pdu1 ");                  // another destination
    EXPECT_EQ(of(0x99EA3307), "-");                      // another data page
}

TEST_F(routes, take_all_29_bit_messages_as_groups_when_asked) {
    interface_routes j1939(0, "can0", true);
    add("m", 0x98FEF100);
    j1939.add(messages.back());
    EXPECT_EQ(of(j1939, 0x80FEF1FF), "m ");
    EXPECT_EQ(of(j1939, 0x0F1), "-");
}

TEST_F(routes, exclude_the_ids_that_no_term_accepts) {
    // What 0x100 and 0x101 then lead to.
    const std::pair<const char*, const char*> cases[] = {
        {"", "!!"},
        {"(SourceId = 16 AND Instance = 3 AND Address = 0x101)", "!b "},
        {"(SourceId = 16 AND Instance = 2 AND Address = 0x101)", "!!"},
        {"(SourceId = 17 AND Instance = 3)", "!!"},
        {"(Address = 0x100) OR (Address = 0x104)", "a !"},
        {"(Address = 0x100000100)", "!!"},
        {"(SourceId = 16 AND Instance = 3 AND Cycle = 2)", "a b "},
    };
    add("a", 0x100);
    add("b", 0x101);
    add("group", 0x98FEF100, true, QOR_OBJECT_PARAMETER_GROUP);
    add("whole", 0x98FEF1AB);
    add("not subscribed to", 0x103);
    add("not asked for", 0x104, false);
    for (const auto& [filter, kept] : cases) {
        interface_routes filtered(3, "can3", false);
        for (message& each : messages) {
            filtered.add(each);
        }
        for (const auto& wanted : filtered.targets()) {
            wanted->handle = wanted->wanted->path == "not subscribed to" ? 0 : 1;
        }
        filtered.exclude(host::reader_filter(filter), 16);
        EXPECT_EQ(of(filtered, 0x100) + of(filtered, 0x101), kept) << filter;
        EXPECT_EQ(of(filtered, 0x98FEF100) + of(filtered, 0x98FEF1AB), "group group whole ") << filter;
        EXPECT_EQ(of(filtered, 0x103) + of(filtered, 0x104) + of(filtered, 0x102), "not subscribed to !-") << filter;

        interface_routes like(4, "can4", false);
        EXPECT_FALSE(like.is_like(filtered));
        for (message& each : messages) {
            like.add(each);
        }
        EXPECT_TRUE(like.is_like(filtered));
        like.exclude_as(filtered);
        EXPECT_EQ(of(like, 0x100) + of(like, 0x101) + of(like, 0x98FEF1AB), std::string(kept) + "group whole ");
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
