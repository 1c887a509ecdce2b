// Numbers and texts that plug-ins give: what is beyond the limits of the headers, or missing, is refused.
#include "qorc/extensibility/data_matcher.h"
#include "qorc/extensibility/data_processor.h"
#include "qorc/extensibility/signal_storage.h"
#include "tests/extractor/extractor_fixture.hpp"

namespace tavi::test {
namespace {

constexpr std::uint64_t largest = ~std::uint64_t{0};

class limits : public extractor_test {
protected:
    limits() : box(add_processor("box", {{"raw", 1}})) {
        add_matcher("m", {{"can"}});
        add_parser("p", {{"dbc"}, {"sdl"}});
        // Longer than the first buffer for it.
        host.control.signatures[1] = std::string(200, 's');
    }
    // Does all that a host does; stops at the first failure.
    outcome use() {
        std::uint64_t subscription = 0;
        qor_type_node_sequence_t* nodes = nullptr;
        const std::function<outcome()> steps[] = {
            [&] { return create(); },
            [&] {
                return register_descriptions(1, 1, "engine", {{"one", "dbc", ""}});
            },
            [&] { return call(api.get_root_nodes_by_source_name, handle, "engine", &nodes); },
            [&] { return call(api.get_node_children, handle, host.control.nodes.nodes().data(), &nodes); },
            [&] { return call(api.subscribe, handle, "1#1.View.Plain", false, &subscription); },
            [&] { return try_process(package(1, 1, "raw", "")); },
        };
        outcome result;
        for (const auto& step : steps) {
            result = result == succeeded ? step() : result;
            qor_type_node_sequence_destroy(qor_get_default_allocator(), std::exchange(nodes, nullptr), nullptr);
        }
        destroy();
        return result;
    }
    fakes::script& box;
};

TEST_F(limits, of_numbers_are_kept) {
    // A parser's own function has another name than those of the other kinds.
    const std::tuple<const char*, const char*, const char*, const char*, std::uint64_t> rows[] = {
        {"m", "get_supported_format_count", "get_supported_format_count", "qor_data_matcher_format_support_t",
         QOR_PLUGIN_MAX_FORMATS},
        {"p", "get_supported_format_count", "get_supported_file_format_count",
         "qor_data_description_parser_format_support_t", QOR_PLUGIN_MAX_FORMATS},
        {"box", "get_supported_format_count", "get_supported_format_count", "qor_data_processor_format_support_t",
         QOR_PLUGIN_MAX_FORMATS},
        {"box", "get_data_descriptions", "get_data_descriptions", "qor_data_processor_data_description_support_t",
         QOR_DATA_PROCESSOR_MAX_DESCRIPTIONS},
        {"box", "process", "process", "qor_data_processor_support_t", QOR_DATA_PROCESSOR_MAX_RECORDS},
        {"qor_signal_storage", "get_signature", "get_signature", "qor_signal_storage_access_t",
         QOR_SIGNAL_STORAGE_MAX_SIGNATURE_SIZE},
        {"qor_signal_storage", "get_root_nodes", "get_root_nodes", "qor_signal_storage_access_t",
         QOR_SIGNAL_STORAGE_MAX_NODES},
        {"qor_signal_storage", "get_node_children", "get_node_children", "qor_signal_storage_access_t",
         QOR_SIGNAL_STORAGE_MAX_NODES},
        {"qor_signal_storage", "get_node_hierarchy", "get_node_hierarchy", "qor_signal_storage_access_t",
         QOR_SIGNAL_STORAGE_MAX_NODES},
        {"qor_signal_storage", "get_node_subtree", "get_node_subtree", "qor_signal_storage_access_t",
         QOR_SIGNAL_STORAGE_MAX_NODES},
    };
    ASSERT_EQ(use(), succeeded);
    for (const auto& [name, function, slot, table, limit] : rows) {
        box.descriptions = {"one text"};
        for (const std::uint64_t count : {limit + 1, std::uint64_t{1} << 40, largest}) {
            plugin(name).counts[function] = count;
            EXPECT_EQ(use(), failed("invalid " + std::string(table) + " interface, " + std::to_string(count) +
                                    " from '" + slot + "' function exceeds the limit of " + std::to_string(limit)));
        }
        plugin(name).counts = {};
    }
    // A size beyond the buffer that it is said to fill.
    host.control.signatures = {};
    storage().counts["get_signature"] = 129;
    EXPECT_NE(use(), succeeded);
}

TEST_F(limits, of_a_processors_description_is_its_text) {
    box.descriptions = {"a", ""};
    EXPECT_EQ(use(), succeeded) << "an empty text is for the parser to judge";
    box.descriptions = {"a", "null"};
    EXPECT_EQ(use(), failed("invalid qor_data_processor_data_description_support_t interface, no text from "
                            "'get_data_descriptions' function"));
}

} // namespace
} // namespace tavi::test
