// Argument checks of every exported function, and the protocol by which texts are returned.
#include "tests/extractor/extractor_fixture.hpp"

namespace tavi::test {
namespace {

// What any parameter may be given: the address, or the number 1.
struct value {
    void* address;
    template<typename Target>
    operator Target*() const {
        return static_cast<Target*>(address);
    }
    template<std::integral Number>
    operator Number() const {
        return 1;
    }
};

class arguments : public extractor_test {
protected:
    // Calls `function` with null for each pointer that is named and all behind it, in turn; '-' is not tested.
    template<typename... Parameters>
    void check(std::uint32_t (*function)(Parameters...), const std::string& names) {
        static char nothing[sizeof(qor_package_t)] = {};
        std::istringstream words(names);
        std::size_t first_null = 0;
        for (std::string name; words >> name; ++first_null) {
            const auto give = [&](std::size_t index) {
                return value{index >= first_null ? nullptr : index == 0 ? static_cast<void*>(handle) : nothing};
            };
            const auto call_it = [&]<std::size_t... Index>(std::index_sequence<Index...>) {
                return call(function, give(Index)...);
            };
            if (name != "-") {
                EXPECT_EQ(call_it(std::make_index_sequence<sizeof...(Parameters) - 1>()),
                          invalid("argument '" + name + "' was not initialized"));
            }
        }
    }
};

TEST_F(arguments, are_tested_in_order_before_anything_is_done) {
    add_matcher("m", {{"can"}});
    start();
    take({});
    check(api.get_service_locator, "handle service_locator");
    check(api.register_source, "handle data_source - - - - allocator");
    check(api.register_source_from_signal_storage, "handle - - source_name data_description_signatures");
    check(api.register_source_with_data_descriptions, "handle - - source_name data_descriptions - - - allocator");
    check(api.unregister_sources, "handle");
    check(api.checkpoint_signal_storage, "handle");
    check(api.get_root_nodes, "handle data_source nodes");
    check(api.get_root_nodes_by_source_name, "handle data_source_name nodes");
    check(api.get_node_children, "handle - nodes");
    check(api.get_type_schema_by_url, "handle url_expression - - - - size");
    check(api.subscribe, "handle url_expression - subscription_handle");
    check(api.unsubscribe, "handle");
    check(api.unsubscribe_all, "handle");
    check(api.get_subscription_count, "handle count");
    check(api.get_url, "handle - - size");
    check(api.get_type_schema_by_subscription, "handle - - size");
    check(api.get_reader_filter_expression, "handle - size");
    check(api.match, "handle package - subscription_handles subscription_handle_count allocator");
    check(api.process, "handle package - dynamic_data dynamic_data_count allocator");
    check(api.has_data_processor, "handle package result");
    EXPECT_THAT(take({}), ::testing::IsEmpty()); // no plug-in was called
    // The handle of a new extractor comes last and is tested first; it is null after a failure.
    auto* made = reinterpret_cast<qor_tavi_extractor_t*>(this);
    EXPECT_EQ(call(api.create, nullptr, 0, host_locator, nullptr), invalid("argument 'handle' was not initialized"));
    EXPECT_EQ(call(api.create, nullptr, 0, host_locator, &made),
              invalid("argument 'signal_storage_uri' was not initialized"));
    EXPECT_EQ(made, nullptr);
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
    qor_service_locator_t* own = nullptr;
    ASSERT_EQ(call(api.get_service_locator, handle, &own), succeeded);
    void* target = nullptr;
    EXPECT_EQ(call(own->resolve, own->context, "x", &target), failed("requested service 'x' not found"));
}

TEST_F(arguments, for_texts_take_them_with_a_zero_behind_the_size) {
    add_parser("p", {{"dbc"}});
    start();
    ASSERT_EQ(register_descriptions(8, 1, "single", {{"one", "dbc", ""}}), succeeded);
    const std::string url = "8#1.View.Plain";
    subscribe(url);
    const std::size_t needed = url.size() + 1;
    for (const std::size_t room : {std::size_t{0}, needed - 1, needed, needed + 5}) {
        const bool fits = room >= needed;
        std::string buffer(needed + 10, 'x');
        std::size_t size = room;
        EXPECT_EQ(call(api.get_url, handle, 2u, buffer.data(), &size), fits ? succeeded : too_small);
        EXPECT_EQ(size, needed);
        const std::string written = fits ? url + std::string(2, '\0') : "";
        EXPECT_EQ(buffer, written + std::string(needed + 10 - written.size(), 'x')) << room;
        size = room;
        EXPECT_EQ(call(api.get_url, handle, 2u, nullptr, &size), too_small);
        EXPECT_EQ(size, needed);
    }
}

} // namespace
} // namespace tavi::test
