// Argument checks of every exported function.
#include "tests/extractor/extractor_fixture.hpp"

namespace tavi::test {
namespace {

// Gives the first `count` of a function's required pointers and null for the others.
struct first {
    std::size_t count;
    template<typename T>
    T* operator()(std::size_t index, T* pointer) const {
        return index < count ? pointer : nullptr;
    }
};

class arguments : public extractor_test {
protected:
    struct export_case {
        const char* name;
        strings checks;
        std::function<outcome(first)> call_with;
    };
    std::vector<export_case> exports();

    package unit{1, 1, "can", "1234"};
    qor_data_source_t source = make_source(1, 1, "engine");
    qor_data_description_content_t content{};
    const char* signature = "signature 1";
    qor_service_locator_t* locator = nullptr;
    qor_tavi_extractor_t* made = nullptr;
    qor_type_node_sequence_t* nodes = nullptr;
    qor_dynamic_data_t** records = nullptr;
    uint64_t* handles = nullptr;
    uint64_t subscription = 0;
    std::size_t size = 0;
    bool answer = false;
};

std::vector<arguments::export_case> arguments::exports() {
    return {
        {"create",
         {"handle", "signal_storage_uri"},
         [this](first n) { return call(api.create, n(1, "uri"), 0u, host_locator, n(0, &made)); }},
        {"get_service_locator",
         {"handle", "service_locator"},
         [this](first n) { return call(api.get_service_locator, n(0, handle), n(1, &locator)); }},
        {"register_source",
         {"handle", "data_source"},
         [this](first n) {
             return call(api.register_source, n(0, handle), n(1, &source), nullptr, false, nullptr, nullptr, nullptr);
         }},
        {"register_source_from_signal_storage",
         {"handle", "source_name", "data_description_signatures"},
         [this](first n) {
             return call(api.register_source_from_signal_storage, n(0, handle), uint16_t{1}, 1u, n(1, "engine"),
                         n(2, &signature), 0u);
         }},
        {"register_source_with_data_descriptions",
         {"handle", "source_name", "data_descriptions"},
         [this](first n) {
             return call(api.register_source_with_data_descriptions, n(0, handle), uint16_t{1}, 1u, n(1, "engine"),
                         n(2, &content), 1u, nullptr, nullptr, nullptr);
         }},
        {"unregister_sources", {"handle"}, [this](first n) { return call(api.unregister_sources, n(0, handle)); }},
        {"checkpoint_signal_storage",
         {"handle"},
         [this](first n) { return call(api.checkpoint_signal_storage, n(0, handle)); }},
        {"get_root_nodes",
         {"handle", "data_source", "nodes"},
         [this](first n) { return call(api.get_root_nodes, n(0, handle), n(1, &source), n(2, &nodes)); }},
        {"get_root_nodes_by_source_name",
         {"handle", "data_source_name", "nodes"},
         [this](first n) {
             return call(api.get_root_nodes_by_source_name, n(0, handle), n(1, "engine"), n(2, &nodes));
         }},
        {"get_node_children",
         {"handle", "nodes"},
         [this](first n) { return call(api.get_node_children, n(0, handle), nullptr, n(1, &nodes)); }},
        {"get_type_schema_by_url",
         {"handle", "url_expression", "size"},
         [this](first n) {
             return call(api.get_type_schema_by_url, n(0, handle), n(1, "1#1.View.Object"), false, false, false,
                         nullptr, n(2, &size));
         }},
        {"subscribe",
         {"handle", "url_expression", "subscription_handle"},
         [this](first n) {
             return call(api.subscribe, n(0, handle), n(1, "1#1.View.Object"), false, n(2, &subscription));
         }},
        {"unsubscribe", {"handle"}, [this](first n) { return call(api.unsubscribe, n(0, handle), 1u); }},
        {"unsubscribe_all", {"handle"}, [this](first n) { return call(api.unsubscribe_all, n(0, handle)); }},
        {"get_subscription_count",
         {"handle", "count"},
         [this](first n) { return call(api.get_subscription_count, n(0, handle), n(1, &size)); }},
        {"get_url",
         {"handle", "size"},
         [this](first n) { return call(api.get_url, n(0, handle), 99u, nullptr, n(1, &size)); }},
        {"get_type_schema_by_subscription",
         {"handle", "size"},
         [this](first n) {
             return call(api.get_type_schema_by_subscription, n(0, handle), 99u, nullptr, n(1, &size));
         }},
        {"get_reader_filter_expression",
         {"handle", "size"},
         [this](first n) { return call(api.get_reader_filter_expression, n(0, handle), nullptr, n(1, &size)); }},
        {"match",
         {"handle", "package", "subscription_handles", "subscription_handle_count", "allocator"},
         [this](first n) {
             return call(api.match, n(0, handle), n(1, unit.get()), false, n(2, &handles), n(3, &size),
                         n(4, &allocator));
         }},
        {"process",
         {"handle", "package", "dynamic_data", "dynamic_data_count", "allocator"},
         [this](first n) {
             return call(api.process, n(0, handle), n(1, unit.get()), false, n(2, &records), n(3, &size),
                         n(4, &allocator));
         }},
        {"has_data_processor",
         {"handle", "package", "result"},
         [this](first n) { return call(api.has_data_processor, n(0, handle), n(1, unit.get()), n(2, &answer)); }},
    };
}

const std::set<std::string> plugin_calls{"open",           "create",        "create_context", "checkpoint",
                                         "get_root_nodes", "find_node",     "match",          "get_node_children",
                                         "register_type",  "get_signature", "unregister_type"};

TEST_F(arguments, are_tested_in_order_before_anything_is_done) {
    add_matcher("m", {"can"});
    start();
    ASSERT_EQ(register_descriptions(1, 1, "engine", {}), succeeded);
    take(plugin_calls);
    allocator.allocations = 0;
    ASSERT_EQ(exports().size(), 21u); // destroy has nothing to test
    for (const export_case& tested : exports()) {
        for (std::size_t given = 0; given < tested.checks.size(); ++given) {
            EXPECT_EQ(tested.call_with(first{given}),
                      invalid("argument '" + tested.checks[given] + "' was not initialized"))
                << tested.name;
        }
    }
    EXPECT_THAT(take(plugin_calls), ::testing::IsEmpty());
    EXPECT_EQ(allocator.allocations, 0u);
}

TEST_F(arguments, that_are_optional_may_be_null) {
    start();
    EXPECT_EQ(api.destroy(nullptr), QOR_STATUS_OK);
    EXPECT_EQ(api.subscribe(nullptr, nullptr, false, nullptr, nullptr), QOR_STATUS_INVALID_ARGUMENT);
    EXPECT_EQ(call(api.register_source_with_data_descriptions, handle, uint16_t{1}, 1u, "engine", nullptr, 0u, nullptr,
                   nullptr, nullptr),
              succeeded);
    EXPECT_EQ(call(api.register_source, handle, &source, nullptr, false, nullptr, nullptr, nullptr), succeeded);
    // The storage decides what a null node means.
    EXPECT_EQ(call(api.get_node_children, handle, nullptr, &nodes), invalid("the null node is not in the fake"));
}

TEST_F(arguments, of_the_extractors_own_locator) {
    start();
    qor_service_locator_t* own = nullptr;
    ASSERT_EQ(call(api.get_service_locator, handle, &own), succeeded);
    bool known = true;
    void* target = nullptr;
    EXPECT_EQ(call(own->can_resolve, own->context, "qor_log_t", &known), succeeded);
    EXPECT_FALSE(known);
    EXPECT_EQ(call(own->resolve, own->context, "x", &target), failed("requested service 'x' not found"));
    const auto missing = [](const std::string& name) { return invalid("argument '" + name + "' was not initialized"); };
    EXPECT_EQ(call(own->resolve, nullptr, nullptr, nullptr), missing("handle"));
    EXPECT_EQ(call(own->resolve, own->context, nullptr, nullptr), missing("service_type"));
    EXPECT_EQ(call(own->resolve, own->context, "x", nullptr), missing("target"));
    EXPECT_EQ(call(own->can_resolve, nullptr, nullptr, nullptr), missing("handle"));
    EXPECT_EQ(call(own->can_resolve, own->context, nullptr, nullptr), missing("service_type"));
    EXPECT_EQ(call(own->can_resolve, own->context, "x", nullptr), missing("can_resolve"));
}

} // namespace
} // namespace tavi::test
