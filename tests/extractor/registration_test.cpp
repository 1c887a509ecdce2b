// What of registrations no page shows: how signatures are returned, and texts too long for one. See conversations/.
#include "tests/extractor/extractor_fixture.hpp"

namespace tavi::test {
namespace {

class registration : public extractor_test {
protected:
    registration() {
        host.offers_log = true;
        add_parser("p", {{"dbc"}});
        start();
    }
};

TEST_F(registration, returns_signatures_in_zeroed_blocks_of_the_hosts_allocator) {
    host.control.signatures[1] = std::string(299, 's');
    const auto register_two = [&] {
        allocator.allocations = 0;
        return register_descriptions(7, 2, "engine", {{"one", "dbc", ""}, {"two", "dbc", ""}});
    };
    ASSERT_EQ(register_two(), succeeded);
    EXPECT_THAT(take({"get_signature"}), ::testing::ElementsAre("qor_signal_storage.get_signature 1 room=128",
                                                                "qor_signal_storage.get_signature 1 room=300",
                                                                "qor_signal_storage.get_signature 2 room=128"));
    EXPECT_THAT(signatures, ::testing::ElementsAre(std::string(299, 's'), "signature 2"));
    EXPECT_THAT(allocator.callocs, ::testing::ElementsAre(std::pair(2, 8), std::pair(300, 8), std::pair(12, 8)));
    for (allocator.fail_at = 1; allocator.fail_at <= 3; ++allocator.fail_at) {
        EXPECT_EQ(register_two(), failed("memory allocation failed", QOR_STATUS_OUT_OF_MEMORY));
        EXPECT_EQ(allocator.alive(), 0u) << allocator.fail_at;
    }
}

TEST_F(registration, cuts_what_it_logs_but_not_what_it_reports) {
    const std::string text(2000, 'e');
    plugin("p").answers = {{"parse_buffer", fakes::reports(QOR_STATUS_INVALID_ARGUMENT, text)}};
    EXPECT_EQ(register_descriptions(7, 2, "engine", {{"bad", "dbc", ""}}), invalid(text));
    const std::string where = "200 extractor::register_source: ";
    const std::string told = where + "Tavi extractor failed to register source 'engine' with data description 'bad': ";
    EXPECT_EQ(host.records.at(0), (told + text).substr(0, where.size() + 1023));
}

// A storage that searches in all descriptions of a source at once is not asked about each of them.
TEST_F(registration, of_many_descriptions_costs_a_subscription_one_search) {
    destroy();
    storage().offers_search = true;
    start();
    ASSERT_EQ(register_descriptions(
                  7, 2, "engine", {{"two", "dbc", ""}, {"three", "dbc", ""}, {"one", "dbc", ""}, {"four", "dbc", ""}}),
              succeeded);
    const std::string search = "qor_signal_storage.find_first 2 3 1 4 View.Plain";
    const std::string found = "qor_signal_storage.find_node 1 View.Plain";
    const std::string last = "qor_signal_storage.find_node 4 View.Plain";
    storage().counts["find_first"] = 2;
    take({});
    subscribe("engine.View.Plain");
    EXPECT_THAT(take({"find_first", "find_node"}), ::testing::ElementsAre(search, found, search, found));
    for (const std::uint64_t none : {4, 400}) {
        storage().counts["find_first"] = none;
        std::uint64_t given = 0;
        EXPECT_EQ(call(api.subscribe, handle, "engine.View.Plain", false, &given),
                  failed("requested type URL expression 'engine.View.Plain' not found in the signal storage"));
        EXPECT_THAT(take({"find_first", "find_node"}), ::testing::ElementsAre(search, last));
    }
    storage().answers = {{"find_first", fakes::reports(QOR_STATUS_TIMED_OUT, "no time")}};
    std::uint64_t given = 0;
    EXPECT_EQ(call(api.subscribe, handle, "engine.View.Plain", false, &given), failed("no time", QOR_STATUS_TIMED_OUT));
}

} // namespace
} // namespace tavi::test
