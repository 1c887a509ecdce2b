// Argument checks of every exported function.
#include "tests/extractor/extractor_fixture.hpp"

namespace tavi::test {
namespace {

class arguments : public extractor_test {
protected:
    // Calls `function` with null for each checked pointer and all checked ones behind it, in turn. `names` has the name
    // of a checked argument and null for another.
    template<typename Function, typename... Values>
    void check(Function* function, const std::vector<const char*>& names, Values... values) {
        for (std::size_t first_null = 0; first_null < names.size(); ++first_null) {
            if (names[first_null] == nullptr) {
                continue;
            }
            std::size_t index = 0;
            const auto given = [&](auto value) {
                const bool is_null = index >= first_null && index < names.size() && names[index] != nullptr;
                ++index;
                return is_null ? decltype(value){} : value;
            };
            const std::tuple<Values...> arguments{given(values)...};
            EXPECT_EQ(std::apply([&](auto... each) { return call(function, each...); }, arguments),
                      invalid(std::string("argument '") + names[first_null] + "' was not initialized"));
        }
    }
};

TEST_F(arguments, are_tested_in_order_before_anything_is_done) {
    add_matcher("m", {{"can"}});
    start();
    ASSERT_EQ(register_descriptions(1, 1, "engine", {}), succeeded);
    const std::set<std::string> plugin_calls{"open",  "create",  "create_context",    "checkpoint",    "get_root_nodes",
                                             "match", "resolve", "get_node_children", "register_type", "find_node"};
    take({});
    allocator.allocations = 0;
    const package unit{1, 1, "can", "1234"};
    const qor_data_source_t source = make_source(1, 1, "engine");
    const qor_data_description_content_t content{};
    const char* signature = "signature 1";
    const char* const url = "1#1.View.Object";
    qor_service_locator_t* locator = nullptr;
    qor_tavi_extractor_t* made = nullptr;
    qor_type_node_sequence_t* nodes = nullptr;
    qor_dynamic_data_t** data = nullptr;
    uint64_t* found = nullptr;
    uint64_t subscription = 0;
    std::size_t size = 0;
    bool answer = false;
    const char* const other = nullptr; // no name: not checked
    check(api.get_service_locator, {"handle", "service_locator"}, handle, &locator);
    check(api.register_source, {"handle", "data_source"}, handle, &source, nullptr, false, nullptr, nullptr, nullptr);
    check(api.register_source_from_signal_storage,
          {"handle", other, other, "source_name", "data_description_signatures"}, handle, uint16_t{1}, 1u, "engine",
          &signature, 0u);
    check(api.register_source_with_data_descriptions, {"handle", other, other, "source_name", "data_descriptions"},
          handle, uint16_t{1}, 1u, "engine", &content, 1u, nullptr, nullptr, nullptr);
    check(api.unregister_sources, {"handle"}, handle);
    check(api.checkpoint_signal_storage, {"handle"}, handle);
    check(api.get_root_nodes, {"handle", "data_source", "nodes"}, handle, &source, &nodes);
    check(api.get_root_nodes_by_source_name, {"handle", "data_source_name", "nodes"}, handle, "engine", &nodes);
    check(api.get_node_children, {"handle", other, "nodes"}, handle, nullptr, &nodes);
    check(api.get_type_schema_by_url, {"handle", "url_expression", other, other, other, other, "size"}, handle, url,
          false, false, false, nullptr, &size);
    check(api.subscribe, {"handle", "url_expression", other, "subscription_handle"}, handle, url, false, &subscription);
    check(api.unsubscribe, {"handle"}, handle, 1u);
    check(api.unsubscribe_all, {"handle"}, handle);
    check(api.get_subscription_count, {"handle", "count"}, handle, &size);
    check(api.get_url, {"handle", other, other, "size"}, handle, 99u, nullptr, &size);
    check(api.get_type_schema_by_subscription, {"handle", other, other, "size"}, handle, 99u, nullptr, &size);
    check(api.get_reader_filter_expression, {"handle", other, "size"}, handle, nullptr, &size);
    check(api.match, {"handle", "package", other, "subscription_handles", "subscription_handle_count", "allocator"},
          handle, unit.get(), false, &found, &size, &allocator);
    check(api.process, {"handle", "package", other, "dynamic_data", "dynamic_data_count", "allocator"}, handle,
          unit.get(), false, &data, &size, &allocator);
    check(api.has_data_processor, {"handle", "package", "result"}, handle, unit.get(), &answer);
    // The handle of a new extractor comes last and is tested first; it is null after a failure.
    made = reinterpret_cast<qor_tavi_extractor_t*>(this);
    EXPECT_EQ(call(api.create, nullptr, 0, host_locator, nullptr), invalid("argument 'handle' was not initialized"));
    EXPECT_EQ(call(api.create, nullptr, 0, host_locator, &made),
              invalid("argument 'signal_storage_uri' was not initialized"));
    EXPECT_EQ(made, nullptr);
    EXPECT_THAT(take(plugin_calls), ::testing::IsEmpty());
    EXPECT_EQ(allocator.allocations, 0u);
}

TEST_F(arguments, that_are_optional_may_be_null) {
    add_parser("p", {{"dbc"}});
    start();
    EXPECT_EQ(api.destroy(nullptr), QOR_STATUS_OK);
    EXPECT_EQ(api.subscribe(nullptr, nullptr, false, nullptr, nullptr), QOR_STATUS_INVALID_ARGUMENT);
    const auto register_contents = [&](const qor_data_description_content_t* contents, std::size_t count) {
        return call(api.register_source_with_data_descriptions, handle, 1, 1, "engine", contents, count, nullptr,
                    nullptr, nullptr);
    };
    EXPECT_EQ(register_contents(nullptr, 0), succeeded);
    qor_data_description_content_t content{{"one", "dbc"}, 0, nullptr};
    EXPECT_EQ(register_contents(&content, 1), succeeded);
    content.content_size = 3;
    EXPECT_EQ(register_contents(&content, 1), invalid("argument 'content' was not initialized"));
    // The storage decides what a null node means.
    EXPECT_EQ(names_of(api.get_node_children, nullptr), "<the null node is not in the fake>");
    qor_service_locator_t* own = nullptr;
    ASSERT_EQ(call(api.get_service_locator, handle, &own), succeeded);
    void* target = nullptr;
    EXPECT_EQ(call(own->resolve, own->context, "x", &target), failed("requested service 'x' not found"));
}

} // namespace
} // namespace tavi::test
