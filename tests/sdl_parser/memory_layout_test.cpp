// Elements of a table cut out of blocks of memory; transcripts of the command show whole objects and views.
#include <gmock/gmock.h>

#include "tests/support/decoded_text.hpp"

namespace tavi::test {
namespace {

using testing::ElementsAre;

TEST(MemoryLayout, CutsElementsOutOfWhatABlockCovers) {
    host::extractor extractor;
    extractor.register_source(0x30, 0, "m", {{"m", "sdl", R"({"sdl": 1, "views": [{"name": "V", "objects": [
        {"name": "T", "address": 4096, "members": [
            {"name": "big", "stored": "uint16", "byte_order": "big_endian"}, {"name": "E", "count": 3, "members": [
                {"name": "id", "stored": "uint8"}, {"name": "v", "stored": "int16", "unit": "m/s"}]}]}]}]})"}});
    host::package_builder package;
    package.set_source(0x30, 0);
    package.set_format("memory");
    const std::string memory("\1\2"
                             "\13\1\0"
                             "\14\2\0"
                             "\15\3\0",
                             11);
    // The block of `count` bytes from 0x1000 + `begin` on, of no cycle.
    const auto from = [&](std::size_t begin, std::size_t count, host::tolerance cut = host::strict) {
        const std::string header = std::string(1, static_cast<char>(begin)) + '\x10' + std::string(14, '\0');
        return decoded_text(extractor, build_package(package, header + memory.substr(begin, count)), cut);
    };
    extractor.subscribe("m.V.T.E[1]");
    EXPECT_THAT(from(5, 3), ElementsAre("m.V.T.E[1]: id=12, v=2 m/s"));
    EXPECT_THAT(from(5, 2), ElementsAre());
    EXPECT_THAT(from(6, 5), ElementsAre());
    EXPECT_THAT(from(5, 2, host::lenient), ElementsAre("m.V.T.E[1]: id=12"));
    extractor.subscribe("m.V.T.E[last()].v");
    EXPECT_THAT(from(0, 11), ElementsAre("m.V.T.E[1]: id=12, v=2 m/s", "m.V.T.E[last()].v: 3 m/s"));
    // A byte order that no decoder reads is left out.
    extractor.unsubscribe_all();
    const auto handle = extractor.subscribe("m.V.T");
    EXPECT_THAT(from(0, 5, host::lenient), ElementsAre("m.V.T: E[0].id=11, E[0].v=1 m/s"));
    const host::record_plan plan(*host::read_schema(extractor.subscription_schema(handle)));
    EXPECT_FALSE(plan.rows().at(0).unreadable.empty());
}

TEST(MemoryLayout, CarriesTheBuiltInDescriptionsOfSources) {
    const std::pair<std::uint16_t, const char*> signals[] = {{0x23F, "x.GPS.SatelliteInView.SignalStrength"},
                                                             {0x80F, "x.ReferenceCamera.Frame.ExposureTime"},
                                                             {0xA2F, "x.RtRange.Target.TimeToCollision"}};
    for (const auto& [source, url] : signals) {
        host::extractor extractor;
        extractor.register_source(source, 0, "x", {});
        EXPECT_NO_THROW(extractor.subscribe(url)) << url;
    }
}

} // namespace
} // namespace tavi::test
