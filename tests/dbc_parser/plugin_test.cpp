// The plug-in as the extractor drives it: its tables, its warnings in the host's log, its progress and its refusals.
#include <gtest/gtest.h>

#include <algorithm>

#include "qorc/extensibility/data_description_parser.h"
#include "qorc/extensibility/log.h"
#include "tests/support/loaded_plugin.hpp"
#include "tests/support/outcome.hpp"

namespace {

using tavi::test::call;
using tavi::test::failed;
using tavi::test::succeeded;

// A host whose log keeps warnings.
struct host {
    static uint32_t log(void* context, const qor_log_info_t* info, qor_error_details_t**) {
        EXPECT_EQ(info->level, unsigned{QOR_LOG_LEVEL_WARNING});
        EXPECT_STREQ(info->module, qor::platform::shared_library_file_name("qor_dbc_parser").c_str());
        static_cast<host*>(context)->warnings.emplace_back(info->message);
        return 0;
    }
    static uint32_t resolve(void* context, const char*, void* target, qor_error_details_t**) {
        *static_cast<void**>(target) = &static_cast<host*>(context)->table;
        return 0;
    }
    static uint32_t can_resolve(void*, const char* name, bool* result, qor_error_details_t**) {
        *result = std::string_view(name) == "qor_log_t";
        return 0;
    }

    std::vector<std::string> warnings;
    qor_log_t table{log, this};
    qor_service_locator_t locator{resolve, can_resolve, this};
};

class DbcPlugin : public testing::Test {
protected:
    tavi::test::outcome parse(const std::string& text, const char* name, qor_parse_progress_t progress = nullptr) {
        qor_signal_storage_context_t storage{};
        storage.add_nodes = [](void* context, const qor_type_node_t*, uint64_t count, uint64_t* ids,
                               qor_error_details_t**) -> uint32_t {
            for (uint64_t index = 0; index < count; ++index) {
                ids[index] = ++*static_cast<uint64_t*>(context);
            }
            return 0;
        };
        nodes = 0;
        storage.context = &nodes;
        return call(plugin.table<qor_data_description_parser_support_t>().parse_buffer, plugin.handle(), &storage,
                    uint8_t{0}, text.data(), text.size(), name, progress, &fractions);
    }

    host listener;
    tavi::test::loaded_plugin plugin{"qor_dbc_parser", "qor_data_description_parser", &listener.locator};
    uint64_t nodes = 0;
    std::vector<float> fractions;
};

const std::string small = "BO_ 1 M: 1 X\n SG_ s : 0|8@1+ (1,0) [0|0] \"\" X\n SG_ t : 0|0@1+ (1,0) [0|0] \"\" X\n";

TEST_F(DbcPlugin, ServesDescriptionsOfBuses) {
    const auto& formats = plugin.table<qor_data_description_parser_format_support_t>();
    EXPECT_EQ(formats.get_supported_file_format_count(plugin.handle()), 1u);
    qor_data_description_file_format_t format{};
    EXPECT_EQ(call(formats.get_supported_file_format, plugin.handle(), size_t{0}, &format), succeeded);
    EXPECT_STREQ(format.description_type, "dbc");
    EXPECT_EQ(format.source_id_filter, 0);
    EXPECT_EQ(formats.get_context_type(plugin.handle()), QOR_CONTEXT_TYPE_BUS);
}

TEST_F(DbcPlugin, TellsWarningsAndRefusalsByNameLineAndColumn) {
    EXPECT_EQ(parse(small, "car.dbc"), succeeded);
    EXPECT_EQ(nodes, 3u);
    EXPECT_EQ(parse(small, nullptr), succeeded);
    const std::string cause =
        ":3:12: warning: SG_ is left out: message 'M' signal 't': a signal has 1 to 64 bits, not 0";
    EXPECT_EQ(listener.warnings, (std::vector<std::string>{"car.dbc" + cause, "description" + cause}));
    EXPECT_EQ(parse("\nhello", "car.dbc"),
              failed("car.dbc:2:1: expected a section of a DBC such as VERSION, BU_ or BO_, found 'hello'"));
    EXPECT_EQ(nodes, 0u);
}

TEST_F(DbcPlugin, TellsItsProgressAndStopsWhenAsked) {
    const auto go_on = [](float fraction, void* context) {
        static_cast<std::vector<float>*>(context)->push_back(fraction);
        return true;
    };
    std::string large = small;
    while (large.size() < 2'000'000) {
        large += "CM_ \"a comment on everything\";\n";
    }
    EXPECT_EQ(parse(large, "car.dbc", go_on), succeeded);
    EXPECT_GE(fractions.size(), 5u);
    EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
    EXPECT_EQ(fractions.back(), 1.0f);
    const auto stop = [](float fraction, void*) { return fraction < 0.5f; };
    EXPECT_EQ(parse(large, "car.dbc", stop), failed("parsing was stopped"));
    EXPECT_EQ(nodes, 0u);
}

} // namespace
