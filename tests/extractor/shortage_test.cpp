// Each operation with each of its allocations failing, once and for good: it reports the shortage, leaves what the
// extractor answers as it was, and does its work when it is tried again.
#include <utility>

#include "tests/extractor/extractor_fixture.hpp"
#include "tests/support/memory_shortage.hpp"

namespace tavi::test {
namespace {

using fakes::returns;

class shortage : public extractor_test {
protected:
    shortage() {
        matcher.offers_batch = true;
        box.answers = {{"register_type", returns(1)}};
    }

    // An operation and what has to be there before it.
    struct operation {
        std::string name;
        std::function<void()> prepare;
        std::function<outcome()> perform;
        bool ends_all_the_same = false;
    };

    void subscribe_matching(const std::string& url) {
        const std::uint64_t given = subscribe(url);
        matcher.match[given] = {true, 0, 1, 1};
        box.records[given] = {"x"};
        issued.push_back(given);
    }
    void register_engine() { ASSERT_EQ(register_descriptions(0x15, 2, "engine", {{"one", "dbc", ""}}), succeeded); }
    void register_and_subscribe() {
        register_engine();
        subscribe_matching("engine.View.Plain");
        subscribe_matching("engine.View.Object");
    }

    template<typename Function, typename... Arguments>
    std::string text_of(Function* function, Arguments... arguments) {
        std::size_t size = 0;
        call(function, handle, arguments..., nullptr, &size);
        std::string text(size + 1, '\0');
        return call(function, handle, arguments..., text.data(), &size) == succeeded ? text.substr(0, size - 1)
                                                                                     : "none";
    }
    // All that the extractor tells of its tables, without the numbers of handles.
    std::string state() {
        std::size_t count = 0;
        call(api.get_subscription_count, handle, &count);
        std::string text = std::to_string(count) + " subscriptions";
        for (const std::uint64_t each : issued) {
            text += ", " + text_of(api.get_url, each);
        }
        for (const char* const name : {"engine", "late"}) {
            qor_type_node_sequence_t* nodes = nullptr;
            const outcome result = call(api.get_root_nodes_by_source_name, handle, name, &nodes);
            text += std::string("; ") + name + ": " + result.text.value_or("") + ' ';
            text += nodes != nullptr ? std::to_string(nodes->count) : "none";
            qor_type_node_sequence_destroy(qor_get_default_allocator(), nodes, nullptr);
        }
        text += "; " + text_of(api.get_reader_filter_expression);
        text += "; matched " + std::to_string(match(can).size()) + ", processed " +
                std::to_string(process(can).size()) + " and " + std::to_string(process(raw).size());
        return text;
    }

    // As `call`, but memory runs out during the call where the test says so.
    template<typename... Parameters, typename... Arguments>
    outcome run(std::uint32_t (*function)(Parameters...), Arguments... arguments) {
        qor_error_details_t* details = nullptr;
        const auto make_call = [&] { return function(arguments..., &details); };
        outcome result{round != nullptr ? round->during(make_call) : make_call(), {}};
        if (details != nullptr) {
            result.text = qor_error_details_get_description(details);
            qor_error_details_destroy(details);
        }
        return result;
    }

    fakes::script& matcher = add_matcher("m", {{"can"}});
    fakes::script& box = add_processor("box", {{"raw", 5}});
    fakes::script& parser = add_parser("p", {{"dbc"}, {"sdl"}});
    const package can{0x15, 2, "can", "abcdefgh"};
    const package raw{0x15, 2, "raw", ""};
    std::vector<std::uint64_t> issued;
    memory_shortage::sweep* round = nullptr; // null for calls that have all the memory they need
    qor_memory_allocator_t* const plain = qor_get_default_allocator();
};

TEST_F(shortage, of_memory_leaves_everything_as_it_was) {
    host.control.nodes.add("view 30 0 Second; object 31 30 Thing 0x40 4", 2);
    host.control.description_ids["two"] = 2;
    const char* const signatures[] = {"signature 1", "signature 2"};
    const auto subscribe_to = [&](const char* url) {
        std::uint64_t given = 0;
        const outcome result = run(api.subscribe, handle, url, false, &given);
        if (result == succeeded) {
            issued.push_back(given);
        }
        return result;
    };
    const std::function<outcome()> register_both = [&] {
        static const qor_data_description_content_t contents[] = {{{"one", "dbc"}, 0, nullptr},
                                                                  {{"two", "dbc"}, 0, nullptr}};
        return run(api.register_source_with_data_descriptions, handle, 0x15, 2, "engine", contents, 2, nullptr, nullptr,
                   nullptr);
    };
    const operation operations[] = {
        {"register", [] {}, register_both},
        {"register again", [&] { register_and_subscribe(); }, register_both},
        {"register stored", [&] { register_and_subscribe(); },
         [&] { return run(api.register_source_from_signal_storage, handle, 0x16, 2, "late", signatures, 2); }},
        {"register bare", [] {},
         [&] {
             static const qor_data_source_t source = make_source(0x16, 2, "late");
             return run(api.register_source, handle, &source, nullptr, true, nullptr, nullptr, nullptr);
         }},
        {"subscribe", [&] { register_engine(); }, [&] { return subscribe_to("engine.View.Plain"); }},
        {"subscribe again", [&] { register_and_subscribe(); }, [&] { return subscribe_to("21#2.View.Object[1]"); }},
        {"unsubscribe", [&] { register_and_subscribe(); }, [&] { return run(api.unsubscribe, handle, issued[0]); },
         true},
        {"unsubscribe_all", [&] { register_and_subscribe(); }, [&] { return run(api.unsubscribe_all, handle); }},
        {"unregister_sources", [&] { register_and_subscribe(); }, [&] { return run(api.unregister_sources, handle); }},
        {"match", [&] { register_and_subscribe(); },
         [&] {
             std::uint64_t* found = nullptr;
             std::size_t count = 0;
             const outcome result = run(api.match, handle, can.get(), false, &found, &count, plain);
             plain->free(found, plain->context);
             return result;
         }},
        {"process", [&] { register_and_subscribe(); },
         [&] {
             qor_dynamic_data_t** made = nullptr;
             std::size_t count = 0;
             const outcome result = run(api.process, handle, can.get(), false, &made, &count, plain);
             for (std::size_t i = 0; made != nullptr && i < count; ++i) {
                 qor_dynamic_data_destroy(plain, made[i], nullptr);
             }
             plain->free(made, plain->context);
             return result;
         }},
        {"filter", [&] { register_and_subscribe(); },
         [&] {
             std::size_t size = 0;
             const outcome result = run(api.get_reader_filter_expression, handle, nullptr, &size);
             return result == too_small ? succeeded : result;
         }},
    };
    for (const operation& operation : operations) {
        SCOPED_TRACE(operation.name);
        const auto prepare = [&] {
            destroy();
            issued.clear();
            start();
            operation.prepare();
        };
        prepare();
        ASSERT_EQ(operation.perform(), succeeded);
        const std::string after = state();
        prepare();
        const std::string before = state();
        for (memory_shortage::sweep sweep; sweep.next();) {
            SCOPED_TRACE(sweep.number());
            round = &sweep;
            const outcome result = operation.perform();
            round = nullptr;
            if (result != succeeded) {
                // With the status of what failed: a plug-in, the loader and the runtime have their own.
                ASSERT_NE(result.status, QOR_STATUS_OK);
                ASSERT_TRUE(result.text);
                if (!operation.ends_all_the_same) {
                    ASSERT_EQ(state(), before);
                    continue; // the next round tries again
                }
                ASSERT_THAT(state(), ::testing::AnyOf(before, after));
                ASSERT_EQ(operation.perform(), succeeded);
            }
            ASSERT_EQ(state(), after);
            prepare();
        }
    }
}

} // namespace
} // namespace tavi::test
