// Allocations that fail, one by one and for good: the call reports it, nothing is left over, and the next call works.
#include <variant>

#include "tests/extractor/extractor_fixture.hpp"
#include "tests/support/memory_shortage.hpp"

namespace tavi::test {
namespace {

using namespace fakes;

class without_memory : public extractor_test {
protected:
    without_memory() : matcher(add_matcher("m", {{"can"}})) { add_parser("p", {{"dbc"}, {"sdl"}}); }
    script& matcher;
};

TEST_F(without_memory, an_extractor_is_made_with_all_plugins_or_not_at_all) {
    matcher.offers_batch = true;
    for (memory_shortage::sweep sweep; sweep.next();) {
        qor_error_details_t* details = nullptr;
        const std::uint32_t status =
            sweep.during([&] { return api.create("file:x?mode=memory", 0, host_locator, &handle, &details); });
        EXPECT_EQ(status != QOR_STATUS_OK, details != nullptr) << sweep.number();
        EXPECT_EQ(status == QOR_STATUS_OK, handle != nullptr) << sweep.number();
        EXPECT_TRUE(sweep.struck() || status == QOR_STATUS_OK) << sweep.number();
        EXPECT_EQ(host.control.instances, handle != nullptr ? 3 : 0) << sweep.number();
        qor_error_details_destroy(details);
        destroy();
        EXPECT_EQ(host.control.instances, 0) << sweep.number();
    }
    EXPECT_EQ(create(), succeeded);
    EXPECT_EQ(host.control.instances, 3);
}

// Whatever a plug-in says of the shortage: the call must not look like a success.
TEST_F(without_memory, a_source_is_registered_or_not_and_no_context_stays_open) {
    start();
    const int instances = host.control.instances;
    qor_data_description_content_t content = {{"one", "dbc"}, 1, "x"};
    for (memory_shortage::sweep sweep; sweep.next();) {
        char** texts = nullptr;
        std::size_t count = 0;
        qor_error_details_t* details = nullptr;
        const std::uint32_t status = sweep.during([&] {
            return api.register_source_with_data_descriptions(handle, 1, 1, "engine", &content, 1, &texts, &count,
                                                              &allocator, &details);
        });
        EXPECT_EQ(status != QOR_STATUS_OK, details != nullptr) << sweep.number();
        EXPECT_EQ(status == QOR_STATUS_OK, texts != nullptr && count == 1) << sweep.number();
        EXPECT_TRUE(sweep.struck() || status == QOR_STATUS_OK) << sweep.number();
        qor_error_details_destroy(details);
        for (std::size_t i = 0; i < count; ++i) {
            allocator.free(texts[i], allocator.context);
        }
        allocator.free(texts, allocator.context);
        EXPECT_EQ(allocator.alive(), 0u) << sweep.number();
        EXPECT_EQ(host.control.instances, instances) << sweep.number();
    }
    EXPECT_EQ(register_descriptions(1, 1, "engine", {{"one", "dbc", "x"}}), succeeded);
    EXPECT_EQ(signatures, strings{"signature 1"});
}

TEST_F(without_memory, a_package_gives_all_records_or_none) {
    for (const bool at_once : {false, true}) {
        matcher.offers_batch = at_once;
        start();
        ASSERT_EQ(register_descriptions(0x15, 2, "engine", {{"one", "dbc", ""}}), succeeded);
        const std::uint64_t first = subscribe("21#2.View.Plain");
        const std::uint64_t second = subscribe("21#2.View.Plain");
        const std::uint64_t third = subscribe("21#2.View.Plain");
        // Within the payload with more bytes than fit into a record, beyond its end, and one that is small.
        const std::string payload(1000, 'x');
        const package unit(0x15, 2, "can", payload);
        matcher.match = {{first, {true, 0, 1000, 1000}}, {second, {true, 990, 10, 20}}, {third, {true, 0, 8, 8}}};
        for (memory_shortage::sweep sweep; sweep.next();) {
            qor_dynamic_data_t** made = nullptr;
            std::size_t count = 0;
            qor_error_details_t* details = nullptr;
            const std::uint32_t status = sweep.during(
                [&] { return api.process(handle, unit.get(), false, &made, &count, &allocator, &details); });
            EXPECT_EQ(status != QOR_STATUS_OK, details != nullptr) << sweep.number();
            EXPECT_EQ(status == QOR_STATUS_OK, made != nullptr) << sweep.number();
            EXPECT_TRUE(sweep.struck() || status == QOR_STATUS_OK) << sweep.number();
            if (made != nullptr) {
                ASSERT_EQ(count, 3u);
                EXPECT_EQ(std::string(made[0]->sequence.data, made[0]->sequence.data + 1000), payload);
                for (std::size_t i = 0; i < count; ++i) {
                    qor_dynamic_data_destroy(&allocator, made[i], nullptr);
                }
                allocator.free(made, allocator.context);
            }
            qor_error_details_destroy(details);
            EXPECT_EQ(allocator.alive(), 0u) << sweep.number();
        }
        EXPECT_EQ(process(unit).size(), 3u);
        destroy();
    }
}

// A plug-in that has no memory to answer whether it has a table is not one without the table.
TEST_F(without_memory, a_matcher_is_not_taken_for_one_without_a_batch_table) {
    matcher.offers_batch = true;
    const outcome out_of_memory = failed("memory allocation failed", QOR_STATUS_OUT_OF_MEMORY);
    const std::pair<std::variant<answer, std::function<void()>>, outcome> rows[] = {
        {reports(QOR_STATUS_OUT_OF_MEMORY, "no blocks"), out_of_memory},
        {returns(QOR_STATUS_OUT_OF_MEMORY), out_of_memory},
        {[] { throw std::bad_alloc(); }, out_of_memory},
        {reports(QOR_STATUS_FAILURE, "what?"), succeeded},
        {reports(QOR_STATUS_INFORMATION, "by the way"), succeeded},
        {[] { throw std::runtime_error("what?"); }, succeeded},
        {throws_unknown(), succeeded},
    };
    for (const char* const function : {"can_resolve/", "resolve/"}) {
        for (const auto& [given, expected] : rows) {
            const std::string key = function + std::string("qor_data_matcher_batch_support_t");
            if (const auto* const reported = std::get_if<answer>(&given)) {
                matcher.answers = {{key, *reported}};
            } else {
                matcher.call_backs = {{key, std::get<1>(given)}};
            }
            EXPECT_EQ(create(), expected) << key;
            destroy();
            matcher.answers = {};
            matcher.call_backs = {};
        }
    }
}

} // namespace
} // namespace tavi::test
