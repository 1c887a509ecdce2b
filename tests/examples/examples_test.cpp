// The plug-ins of a page each, from a description to values.
#include <gmock/gmock.h>

#include "tests/support/decoded_text.hpp"
#include "tests/support/thrown.hpp"

namespace tavi::test {
namespace {

using testing::ElementsAre;

class examples : public testing::Test {
protected:
    std::vector<std::string> decoded(std::uint16_t source_id, const char* format, const std::string& payload) {
        package.set_source(source_id, 0);
        package.set_format(format);
        return decoded_text(extractor, build_package(package, payload), host::lenient);
    }

    host::extractor extractor;
    host::package_builder package;
};

// The parsers in C++ and in C.
class line_parsers : public examples, public testing::WithParamInterface<const char*> {};

TEST_P(line_parsers, parse_lines_and_match_tags) {
    extractor.register_source(0x10, 0, "box",
                              {{"engine", GetParam(), "Engine 192 Speed 0 16\nEngine 192 Torque 2 8\n"}});
    extractor.subscribe("box.Lines.Engine");
    extractor.subscribe("box.Lines.Engine.Torque");
    const std::string tag("\xC0\0\0\0", 4);
    const std::string bytes("\x10\x27\x2A\0\0\0\0\0\0\0\0\0\0\0\0\0", 16);
    EXPECT_THAT(decoded(0x10, "tagged", tag + bytes),
                ElementsAre("box.Lines.Engine: Speed=10000, Torque=42", "box.Lines.Engine.Torque: 42"));
    EXPECT_THAT(decoded(0x10, "tagged", "\xC1" + tag.substr(1) + bytes), ElementsAre());
    EXPECT_THAT(decoded(0x10, "tagged", tag.substr(0, 3)), ElementsAre());
    EXPECT_EQ(thrown<host::error>([&] {
                  extractor.register_source(0x10, 1, "other",
                                            {{"bad", GetParam(), "Engine 192 Speed 0 16\nEngine 192 Torque 0 65"}});
              }),
              "bad:2: expected object, address, signal, byte and bits");
}

INSTANTIATE_TEST_SUITE_P(examples, line_parsers, testing::Values("lines", "c-lines"));

TEST_F(examples, count_packages) {
    extractor.register_source(0x70F, 0, "counter", {});
    extractor.subscribe("counter.Count.Packages");
    decoded(0x70F, "counted", "abc");
    EXPECT_THAT(decoded(0x70F, "counted", "defg"), ElementsAre("counter.Count.Packages: Number=2, Bytes=7 B"));
    EXPECT_THAT(decoded(0x70F, "other", "defg"), ElementsAre());
}

} // namespace
} // namespace tavi::test
