// Each call that leaves the extractor with each call that may come back from it, on the same thread. Run with
// AddressSanitizer it shows what the extractor still holds of tables that changed meanwhile.
#include "tests/extractor/call_back_fixture.hpp"

namespace tavi::test {
namespace {

class all_call_backs : public call_back_test, public ::testing::WithParamInterface<const char*> {
protected:
    // Sums up what the extractor answers; whatever a call-back did, all of it has to fit together.
    void expect_coherent() {
        std::size_t living = 0;
        for (const std::uint64_t each : issued) {
            std::size_t size = 0;
            living += call(api.get_url, handle, each, nullptr, &size) == too_small ? 1 : 0;
        }
        EXPECT_EQ(count(), living);
        for (const std::string& line : take({"match", "match_batch", "process", "unregister_type"})) {
            std::istringstream words(line.substr(line.find(' ') + 1));
            for (std::string word; words >> word;) {
                if (std::isdigit(static_cast<unsigned char>(word[0])) != 0) {
                    EXPECT_THAT(issued, ::testing::Contains(std::stoull(word))) << line;
                }
            }
        }
    }

    void try_subscribe(const char* url = "engine.View.Plain") {
        std::uint64_t given = 0;
        if (call(api.subscribe, handle, url, false, &given) == succeeded) {
            issue(given);
        }
    }
    void browse() {
        const qor_data_source_t source = make_source(0x15, 2, "engine");
        qor_type_node_sequence_t* nodes = nullptr;
        call(api.get_root_nodes, handle, &source, &nodes);
        qor_type_node_sequence_destroy(qor_get_default_allocator(), nodes, nullptr);
        nodes = nullptr;
        call(api.get_node_children, handle, host.control.nodes.nodes().data(), &nodes);
        qor_type_node_sequence_destroy(qor_get_default_allocator(), nodes, nullptr);
    }
    void ask_for_texts() {
        std::size_t size = 0;
        call(api.get_reader_filter_expression, handle, nullptr, &size);
        call(api.get_type_schema_by_url, handle, "21#2.View.Object[0]", true, true, true, nullptr, &size);
    }

    // Everything that a host does in the life of an extractor.
    void live() {
        const char* const signature = "signature 1";
        register_descriptions(0x15, 2, "engine", {{"one", "dbc", ""}, {"two", "dbc", ""}});
        register_descriptions(0x15, 2, "engine", {});
        call(api.register_source_from_signal_storage, handle, 0x15, 2, "engine", &signature, 1);
        register_source(0x16, 1, "bare");
        try_subscribe(), try_subscribe("21#2.View.Object[0]"), try_subscribe("33#1.View.Plain");
        try_match(can), try_process(can), try_process(raw);
        browse(), ask_for_texts();
        call(api.checkpoint_signal_storage, handle);
        call(api.unsubscribe, handle, issued.back());
        call(api.unsubscribe_all, handle);
        try_subscribe();
        call(api.unregister_sources, handle);
    }

    // What is called back.
    std::uint32_t others = 0;
    const std::map<std::string, std::function<void()>> calls = {
        {"subscribe",
         [&] {
             for (int i = 0; i < 4; ++i) {
                 try_subscribe();
             }
         }},
        {"unsubscribe", [&] { call(api.unsubscribe, handle, issued.back()); }},
        {"unsubscribe_all", [&] { call(api.unsubscribe_all, handle); }},
        {"unregister_sources", [&] { call(api.unregister_sources, handle); }},
        {"register",
         [&] {
             register_descriptions(0x15, 2, "engine", {{"one", "dbc", ""}, {"three", "dbc", ""}});
         }},
        {"register_others",
         [&] {
             for (const std::uint32_t end = others + 4; others != end; ++others) {
                 register_source(0x100, others, "x" + std::to_string(others));
             }
         }},
        {"packages", [&] { try_match(can), try_process(can), try_process(raw); }},
        {"browse", [&] { browse(), ask_for_texts(); }},
    };
};

INSTANTIATE_TEST_SUITE_P(each, all_call_backs,
                         ::testing::Values("subscribe", "unsubscribe", "unsubscribe_all", "unregister_sources",
                                           "register", "register_others", "packages", "browse"));

TEST_P(all_call_backs, leave_an_extractor_that_works) {
    host.offers_log = true;
    issued.push_back(0); // the handle of a subscription that failed
    std::vector<std::pair<std::string, std::function<void()>*>> places = {{"host", &host.call_back},
                                                                          {"allocator", &allocator.call_back}};
    for (const auto& [who, functions] :
         {std::pair(&storage(), "create_context commit context_destroy find_node get_root_nodes get_node_children "
                                "get_node_hierarchy get_node_subtree get_signature get_description_id checkpoint"),
          std::pair(&parser, "parse_buffer"), std::pair(&matcher, "register_type unregister_type match match_batch"),
          std::pair(&box, "create get_service_locator resolve get_supported_format bind get_data_descriptions "
                          "register_type unregister_type process destroy")}) {
        std::istringstream words(functions);
        for (std::string word; words >> word;) {
            places.emplace_back(word, &who->call_backs[word]);
        }
    }
    for (const auto& [place, slot] : places) {
        *slot = [] {};
    }
    for (const auto& [place, slot] : places) {
        SCOPED_TRACE(place);
        matcher.offers_batch = place == "match_batch";
        start();
        int calls_left = 6;
        bool is_inside = false;
        *slot = [&] {
            if (!is_inside && handle != nullptr && calls_left-- > 0) {
                is_inside = true;
                calls.at(GetParam())();
                is_inside = false;
            }
        };
        live();
        EXPECT_LT(calls_left, 6) << "never called";
        *slot = [] {};
        expect_coherent();
        EXPECT_EQ(call(api.unregister_sources, handle), succeeded);
        EXPECT_EQ(count(), 0u);
        register_engine();
        subscribe_all(2);
        EXPECT_EQ(match(can).size(), 2u);
        destroy();
        EXPECT_EQ(allocator.alive(), 0u);
    }
}

} // namespace
} // namespace tavi::test
