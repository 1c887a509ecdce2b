// The extractor through its C++ object, with the real plug-ins: from a description and a frame to values.
#include "tavi/extractor.hpp"

#include <gmock/gmock.h>

#include "tests/support/decoded_text.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tavi::test {
namespace {

using host::extractor;
using host::lenient;
using host::strict;
using testing::ElementsAre;

const host::description description{"engine", "dbc", R"(VERSION ""
BO_ 192 EngineData: 8 ECU
 SG_ EngineSpeed : 7|16@0+ (0.25,0) [0|16000] "rpm" ECU
 SG_ Oil : 24|8@1- (1,-40) [0|0] "degC" ECU
BO_ 193 Short: 2 ECU
 SG_ Counter : 0|8@1+ (1,0) [0|255] "" ECU
)"};

TEST(HostExtractor, TurnsFramesIntoNamedValues) {
    extractor extractor;
    EXPECT_EQ(extractor.register_source(0x10, 2, "can0", {description}).size(), 1u);
    const std::uint64_t message = extractor.subscribe("can0.CAN.EngineData");
    const std::uint64_t speed = extractor.subscribe("16#2.CAN.EngineData.EngineSpeed");
    host::can_package package;
    package.set_source(0x10, 2);
    const std::vector<std::uint8_t> bytes = {0x10, 0x01, 1, 0xFE, 0, 0, 0, 0};
    EXPECT_THAT(decoded_text(extractor, package.build(191, 0, bytes)), ElementsAre());
    EXPECT_THAT(decoded_text(extractor, package.build_remote(192, 8)), ElementsAre());
    EXPECT_THAT(
        decoded_text(extractor, package.build(192, 0, std::span(bytes).first(3)), lenient),
        ElementsAre("can0.CAN.EngineData: EngineSpeed=1024.25 rpm", "16#2.CAN.EngineData.EngineSpeed: 1024.25 rpm"));
    const qor_package_t& frame = package.build(192, 0, bytes);
    EXPECT_THAT(decoded_text(extractor, frame),
                ElementsAre("can0.CAN.EngineData: EngineSpeed=1024.25 rpm, Oil=-42 degC",
                            "16#2.CAN.EngineData.EngineSpeed: 1024.25 rpm"));
    std::vector<std::uint64_t> handles;
    extractor.match(frame, strict, handles);
    EXPECT_THAT(handles, ElementsAre(message, speed));
    EXPECT_FALSE(extractor.has_data_processor(frame));
    EXPECT_EQ(extractor.reader_filter(), "(SourceId = 16 AND Instance = 2 AND Address = 0xC0)");
    EXPECT_EQ(extractor.subscription_count(), 2u);
    extractor.unsubscribe(speed);
    EXPECT_EQ(extractor.subscription_count(), 1u);
    extractor.unsubscribe_all();
    EXPECT_THAT(decoded_text(extractor, frame), ElementsAre());
}

// What the parser writes of the other messages reaches the matcher, whatever is subscribed to.
TEST(HostExtractor, GivesNoFrameOfAnotherMessageToItsParameterGroup) {
    const host::description groups{"groups", "dbc", R"(VERSION ""
BO_ 2566844672 A: 8 X
 SG_ a : 0|8@1+ (1,0) [0|0] "" X
BO_ 2566844705 B: 8 X
 SG_ b : 0|8@1+ (1,0) [0|0] "" X
BA_DEF_ BO_ "VFrameFormat" ENUM "StandardCAN","ExtendedCAN","res","J1939PG";
BA_DEF_DEF_ "VFrameFormat" "J1939PG";
)"};
    const temporary_directory directory;
    const std::string file = "file:" + (directory.path() / "groups.db3").string();
    for (const char* const format : {"can", "j1939"}) {
        for (const std::string& uri : {std::string(host::memory_catalogue), file}) {
            extractor extractor(uri);
            extractor.register_source(0x10, 0, "can0", {groups});
            extractor.subscribe("can0.CAN.A");
            host::can_package package(format);
            package.set_source(0x10, 0);
            const std::vector<std::uint8_t> bytes(8, 1);
            EXPECT_THAT(decoded_text(extractor, package.build(0x98FEF100, 0, bytes)), ElementsAre("can0.CAN.A: 1"));
            EXPECT_THAT(decoded_text(extractor, package.build(0x98FEF121, 0, bytes)), ElementsAre());
            EXPECT_THAT(decoded_text(extractor, package.build(0x8CFEF142, 0, bytes)), ElementsAre("can0.CAN.A: 1"));
            extractor.subscribe("can0.CAN.B.b");
            EXPECT_THAT(decoded_text(extractor, package.build(0x98FEF121, 0, bytes)), ElementsAre("can0.CAN.B.b: 1"));
            EXPECT_THAT(decoded_text(extractor, package.build(0x8CFEF142, 0, bytes)), ElementsAre("can0.CAN.A: 1"));
        }
    }
}

// `tavi tree` shows the nodes themselves.
TEST(HostExtractor, ShowsTheCatalogue) {
    extractor extractor;
    extractor.register_source(0x10, 0, "can0", {description});
    const host::nodes roots = extractor.roots(0x10, 0);
    ASSERT_EQ(roots.size(), 1u);
    const host::node_tree tree = extractor.tree(roots[0]);
    EXPECT_EQ(tree.children.size(), 2u);
    EXPECT_EQ(tree.children.find("Absent"), nullptr);
    EXPECT_TRUE(extractor.roots(0x11, 0).empty());
    EXPECT_EQ(extractor.schema("can0.CAN.EngineData").find('\n'), std::string::npos);
    const std::string rich = extractor.schema("can0.CAN.EngineData", {lenient, true, true});
    EXPECT_NE(rich.find('\n'), std::string::npos);
    EXPECT_EQ(host::read_schema(rich)->annotations().size(), 1u);
}

TEST(HostExtractor, ThrowsWhatTheLibraryReports) {
    extractor extractor;
    host::package_builder generic;
    host::record_list records;
    const auto register_type = [&](const std::string& type) {
        extractor.register_source(1, 0, "can0", {{"x", type, ""}});
    };
    const auto fails = [](auto&& call) {
        try {
            call();
            return std::string("no failure");
        } catch (const host::error& error) {
            return (error.status() == QOR_STATUS_INVALID_ARGUMENT ? "invalid argument: " : "failure: ") +
                   std::string(error.what());
        }
    };
    EXPECT_EQ(fails([&] { extractor.url(99); }), "invalid argument: invalid subscription handle");
    EXPECT_EQ(fails([&] { register_type("zzz"); }),
              "failure: failed to find a data description parser for data description type 'zzz'");
    EXPECT_EQ(fails([&] { register_type("dddddddddddddddd"); }),
              "invalid argument: the description type "
              "'dddddddddddddddd' has a zero byte or more than 15 bytes");
    EXPECT_EQ(fails([&] { extractor.process(generic.build({}), strict, records); }),
              "invalid argument: a generic package without format type specifier was received");
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
