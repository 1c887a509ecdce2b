// The road of a memory image: a description written by hand, the matcher of memory blocks, and values by their names.
#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "tests/support/decoded_text.hpp"

namespace tavi::test {
namespace {

using testing::ElementsAre;

constexpr std::uint16_t memory_source = 0x30;
constexpr std::uint64_t base_address = 0x20000000;

std::string read_file(const std::string& name) {
    std::ifstream file(std::string(TAVI_SOURCE_DIR) + "/examples/memory_layout/" + name, std::ios::binary);
    EXPECT_TRUE(file) << name;
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

class MemoryLayout : public testing::Test {
protected:
    MemoryLayout() { package.set_format("memory"); }

    void register_text(const std::string& name, const std::string& text) {
        package.set_source(memory_source, 0);
        extractor.register_source(memory_source, 0, name, {{name, "sdl", text}});
    }

    const qor_package_t& block(std::uint64_t address, std::uint32_t cycle, std::string_view bytes) {
        std::string payload;
        for (unsigned index = 0; index < 16; ++index) {
            const std::uint64_t value = index < 8 ? address >> (8 * index) : std::uint64_t{cycle} >> (8 * (index - 8));
            payload += static_cast<char>(value & 0xFFu);
        }
        return build_package(package, payload += bytes);
    }

    host::extractor extractor;
    host::package_builder package;
};

TEST_F(MemoryLayout, GivesEachExpectedValue) {
    register_text("memory", read_file("layout.sdl"));
    const std::string memory = read_file("memory.bin");
    std::istringstream expected(read_file("expected.csv"));
    int rows = 0;
    for (std::string url, value, unit;
         std::getline(expected, url, ',') && std::getline(expected, value, ',') && std::getline(expected, unit);
         ++rows) {
        extractor.subscribe(url);
        const auto lines = decoded_text(extractor, block(base_address, 10, memory));
        extractor.unsubscribe_all();
        ASSERT_EQ(lines.size(), 1u) << url;
        const std::string text = lines[0].substr(lines[0].rfind(": ") + 2);
        char* end = nullptr;
        EXPECT_DOUBLE_EQ(std::strtod(text.c_str(), &end), std::stod(value)) << lines[0];
        EXPECT_EQ(std::string(end), unit.empty() ? "" : " " + unit) << lines[0];
    }
    EXPECT_EQ(rows, 85);
}

TEST_F(MemoryLayout, CutsWholesOutOfWhatABlockCovers) {
    register_text("memory", read_file("layout.sdl"));
    const std::string memory = read_file("memory.bin");
    const std::string last = "memory.Raw.Table.Object[last()]";
    const std::string pedestrian = "id=13, kind=3, moving=0, speed=0 m/s, distance=0 m, angle=0 deg, level=0 dB, "
                                   "Size.length=0.5 m, Size.width=0.5 m";
    extractor.subscribe("memory.Raw.Table.Object[2]");
    const std::string third = "memory.Raw.Table.Object[2]: " + pedestrian;
    // Object[2] lies in bytes 40 to 55.
    EXPECT_THAT(decoded_text(extractor, block(base_address + 40, 0, memory.substr(40, 16))), ElementsAre(third));
    EXPECT_THAT(decoded_text(extractor, block(base_address + 40, 0, memory.substr(40, 15))), ElementsAre());
    EXPECT_THAT(decoded_text(extractor, block(base_address + 41, 0, memory.substr(41))), ElementsAre());
    EXPECT_THAT(decoded_text(extractor, block(base_address + 40, 0, memory.substr(40, 3)), host::lenient),
                ElementsAre("memory.Raw.Table.Object[2]: id=13, kind=3, moving=0"));
    extractor.subscribe(last + ".speed");
    EXPECT_THAT(decoded_text(extractor, block(base_address, 7, memory)), ElementsAre(third, last + ".speed: 20 m/s"));
}

TEST_F(MemoryLayout, MatchesTheCycleOfItsView) {
    register_text("memory", read_file("layout.sdl"));
    const std::string memory = read_file("memory.bin");
    const std::string url = "memory.Every 10 ms.Wheel[1]";
    extractor.subscribe(url);
    EXPECT_THAT(decoded_text(extractor, block(base_address, 10, memory)),
                ElementsAre(url + ": speed=80.5 rad/s, slip=-2 %"));
    EXPECT_THAT(decoded_text(extractor, block(base_address, 5, memory)), ElementsAre());
    EXPECT_THAT(decoded_text(extractor, block(base_address, 0, memory)), ElementsAre());
    EXPECT_EQ(extractor.reader_filter(), "(SourceId = 48 AND Instance = 0 AND Cycle = 10 AND Address = 0x20000080)");
}

TEST_F(MemoryLayout, CarriesTheBuiltInDescriptionsOfSources) {
    const std::pair<std::uint16_t, const char*> signals[] = {{0x23F, "x.GPS.SatelliteInView.SignalStrength"},
                                                             {0x80F, "x.ReferenceCamera.Frame.ExposureTime"},
                                                             {0xA2F, "x.RtRange.Target.TimeToCollision"}};
    for (const auto& [source, url] : signals) {
        extractor.register_source(source, 0, "x", {});
        EXPECT_NO_THROW(extractor.subscribe(url)) << url;
        extractor.unregister_sources();
    }
}

TEST_F(MemoryLayout, TellsOfTheByteOrderThatCannotBeRead) {
    register_text("memory", R"({"sdl": 1, "views": [{"name": "V", "objects": [{"name": "O", "address": 0, "members": [
        {"name": "a", "stored": "uint16", "byte_order": "big_endian"}, {"name": "b", "stored": "uint8"}]}]}]})");
    const auto handle = extractor.subscribe("memory.V.O");
    EXPECT_THAT(decoded_text(extractor, block(0, 0, "\x01\x02\x03")), ElementsAre("memory.V.O: b=3"));
    const host::record_plan plan(*host::read_schema(extractor.subscription_schema(handle)));
    EXPECT_FALSE(plan.rows().at(0).unreadable.empty());
}

} // namespace
} // namespace tavi::test
