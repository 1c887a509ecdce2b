// What a reader filter makes of the ids of an interface.
#include <gtest/gtest.h>

#include "qorc/type_node.h"
#include "tools/tavi/interface_routes.hpp"

namespace tavi::tool {
namespace {

TEST(excluded_ids, are_those_that_no_term_accepts) {
    const struct {
        const char* filter;
        bool is_kept[6];
    } cases[] = {
        //                                                                 0x100, 0x101, group, id of group, new, not
        {"", {false, false, true, true, true, false}},
        {"(SourceId = 16 AND Instance = 3 AND Address = 0x101)", {false, true, true, true, true, false}},
        {"(SourceId = 16 AND Instance = 2 AND Address = 0x101)", {false, false, true, true, true, false}},
        {"(SourceId = 17 AND Instance = 3)", {false, false, true, true, true, false}},
        {"(Address = 0x100) OR (Address = 0x104)", {true, false, true, true, true, false}},
        {"(Address = 0x100000100)", {false, false, true, true, true, false}},
        {"(SourceId = 16 AND Instance = 3 AND Cycle = 2)", {true, true, true, true, true, false}},
    };
    for (const auto& row : cases) {
        interface_routes bus(3, "can3", false);
        std::deque<message> messages(6);
        const std::uint32_t ids[] = {0x100, 0x101, 0x98FEF100, 0x98FEF1AB, 0x103, 0x104};
        for (std::size_t at = 0; at < 6; ++at) {
            messages[at].path = std::to_string(at);
            messages[at].address = ids[at];
            messages[at].flags = at == 2 ? QOR_OBJECT_PARAMETER_GROUP : 0;
            messages[at].selected = at != 5;
            bus.add(messages[at]);
        }
        for (const auto& wanted : bus.targets()) {
            wanted->handle = wanted->wanted == &messages[4] ? 0 : 1; // that one could not be subscribed to
        }
        bus.exclude(host::reader_filter(row.filter), 16);
        for (std::size_t at = 0; at < 6; ++at) {
            EXPECT_EQ(bus.find(ids[at]) != interface_routes::not_selected, row.is_kept[at]) << row.filter << ' ' << at;
        }
        EXPECT_EQ(bus.find(0x102), interface_routes::unknown);
    }
}

} // namespace
} // namespace tavi::tool
