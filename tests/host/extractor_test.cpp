// The extractor through its C++ object, with the real plug-ins: from a description and a frame to values.
#include "host/extractor.hpp"

#include <gtest/gtest.h>

#include "host/package_builder.hpp"
#include "host/record_plan.hpp"
#include "host/schema_reader.hpp"

namespace tavi::test {
namespace {

using host::extractor;
using host::lenient;
using host::strict;

constexpr char description_text[] = R"(VERSION ""
BU_: ECU
BO_ 192 EngineData: 8 ECU
 SG_ EngineSpeed : 7|16@0+ (0.25,0) [0|16000] "rpm" ECU
 SG_ Mode M : 16|2@1+ (1,0) [0|3] "" ECU
 SG_ Oil m1 : 24|8@1- (1,-40) [0|0] "degC" ECU
 SG_ Fuel m2 : 24|8@1+ (0.5,0) [0|0] "l" ECU
BO_ 193 Short: 2 ECU
 SG_ Counter : 0|8@1+ (1,0) [0|255] "" ECU
VAL_ 192 Mode 0 "off" 1 "oil" 2 "fuel" ;
)";

const host::description description{"engine", "dbc", description_text};

std::vector<std::string> decode(extractor& extractor, std::uint64_t handle, const qor_package_t& package) {
    host::record_list records;
    extractor.process(package, lenient, records);
    const auto type = host::read_schema(extractor.subscription_schema(handle));
    const auto roots = extractor.roots("can0");
    const host::node_tree tree = extractor.tree(roots[0]);
    const host::record_plan plan(*type, &tree.trees[0]);
    std::vector<host::reading> readings(plan.rows().size());
    std::vector<std::string> texts;
    for (const qor_dynamic_data_t& record : records) {
        for (const host::reading& value : plan.read(host::bytes_of(record), readings)) {
            texts.push_back(plan.rows()[value.row].name + " " + plan.text(value) + plan.rows()[value.row].unit);
        }
    }
    return texts;
}

const std::vector<std::uint8_t> oil_frame = {0x10, 0x01, 1, 0xFE, 0, 0, 0, 0};
using texts = std::vector<std::string>;

TEST(HostExtractor, TurnsFramesIntoNamedValues) {
    extractor extractor;
    const auto signatures = extractor.register_source(0x10, 2, "can0", {description});
    ASSERT_EQ(signatures.size(), 1u);
    const std::uint64_t handle = extractor.subscribe("can0.CAN.EngineData");
    host::can_package package;
    package.set_source(0x10, 2);
    EXPECT_EQ(decode(extractor, handle, package.build(192, 0, oil_frame)),
              (texts{"EngineSpeed 1024.25rpm", "Mode 1", "Oil -42degC"}));
    EXPECT_EQ(decode(extractor, handle, package.build(192, 0, std::span(oil_frame).first(3))),
              (texts{"EngineSpeed 1024.25rpm", "Mode 1"}));
    EXPECT_TRUE(decode(extractor, handle, package.build(191, 0, oil_frame)).empty());
    EXPECT_TRUE(decode(extractor, handle, package.build_remote(192, 8)).empty());

    host::record_list records;
    const std::uint64_t speed = extractor.subscribe("16#2.CAN.EngineData.EngineSpeed");
    const qor_package_t& frame = package.build(192, 0, oil_frame);
    extractor.process(frame, strict, records);
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].subscription_handle, handle);
    EXPECT_EQ(records[1].subscription_handle, speed);
    EXPECT_EQ(host::bytes_of(records[1]).size(), 2u);
    std::vector<std::uint64_t> handles;
    extractor.match(frame, strict, handles);
    EXPECT_EQ(handles, (std::vector<std::uint64_t>{handle, speed}));
    EXPECT_FALSE(extractor.has_data_processor(frame));

    EXPECT_EQ(extractor.subscription_count(), 2u);
    EXPECT_EQ(extractor.url(speed), "16#2.CAN.EngineData.EngineSpeed");
    EXPECT_NE(extractor.reader_filter().find("Instance = 2"), std::string::npos);
    extractor.unsubscribe(speed);
    EXPECT_EQ(extractor.subscription_count(), 1u);
    extractor.unsubscribe_all();
    extractor.process(frame, lenient, records);
    EXPECT_TRUE(records.empty());
}

TEST(HostExtractor, ShowsTheCatalogue) {
    extractor extractor;
    extractor.register_source(0x10, 0, "can0", {description});
    const host::nodes roots = extractor.roots(0x10, 0);
    ASSERT_EQ(roots.size(), 1u);
    const host::node_tree tree = extractor.tree(roots[0]);
    ASSERT_EQ(tree.trees.size(), 2u);
    EXPECT_STREQ(tree.trees[0].node->name, "EngineData");
    EXPECT_EQ(host::element_size(*tree.trees[0].node), 8u);
    const qor_type_node_t* const oil = tree.trees[0].children.find("Oil");
    ASSERT_NE(oil, nullptr);
    EXPECT_EQ(host::text_of(oil->signal.unit), "degC");
    EXPECT_EQ(host::offset_in_parent(*oil), 3u);
    EXPECT_EQ(tree.children.find("Absent"), nullptr);
    EXPECT_TRUE(extractor.roots(0x11, 0).empty());
    const std::string plain = extractor.schema("can0.CAN.EngineData");
    const std::string rich = extractor.schema("can0.CAN.EngineData", {lenient, true, true});
    EXPECT_EQ(plain.find('\n'), std::string::npos);
    EXPECT_NE(rich.find('\n'), std::string::npos);
    EXPECT_EQ(host::read_schema(rich)->annotations().size(), 1u);
}

TEST(HostExtractor, ThrowsWhatTheLibraryReports) {
    extractor extractor;
    const auto fails = [](auto&& call, const std::string& text, qor_status_t status) {
        try {
            call();
            ADD_FAILURE() << "no failure: " << text;
        } catch (const host::error& error) {
            EXPECT_EQ(error.what(), text);
            EXPECT_EQ(error.status(), status);
        }
    };
    fails([&] { extractor.url(99); }, "invalid subscription handle", QOR_STATUS_INVALID_ARGUMENT);
    fails(
        [&] {
            extractor.register_source(1, 0, "can0", {{"x", "zzz", ""}});
        },
        "failed to find a data description parser for data description type 'zzz'", QOR_STATUS_FAILURE);
    fails(
        [&] {
            extractor.register_source(1, 0, "can0", {{"x", std::string(16, 'd'), ""}});
        },
        "the description type 'dddddddddddddddd' has a zero byte or more than 15 bytes", QOR_STATUS_INVALID_ARGUMENT);
    host::package_builder generic;
    host::record_list records;
    fails([&] { extractor.process(generic.build({}), strict, records); },
          "a generic package without format type specifier was received", QOR_STATUS_INVALID_ARGUMENT);
    EXPECT_THROW(host::extractor("file:/nowhere/at/all"), host::error);
}

TEST(HostExtractor, MovesAndHandsMessagesToTheLogFunction) {
    std::string messages;
    extractor first(host::memory_catalogue, 0, [&](const qor_log_info_t& info) { messages += info.message; });
    extractor second(std::move(first));
    second.register_source(0x10, 0, "can0", {{"bad", "dbc", "BO_ 5 M: 1 E\n SG_ none : 0|0@1+ (1,0) [0|0] \"\" E\n"}});
    EXPECT_NE(messages.find("none"), std::string::npos) << messages;
    first = std::move(second);
    EXPECT_EQ(first.roots("can0").size(), 1u);
    first.unregister_sources();
    EXPECT_TRUE(first.roots(0x10, 0).empty());
}

} // namespace
} // namespace tavi::test
