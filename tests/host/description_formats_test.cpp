#include "tavi/description_formats.hpp"

#include <gtest/gtest.h>

#include <algorithm>

namespace tavi::test {
namespace {

TEST(DescriptionFormats, AreThoseOfTheParsersBesideTheExtractor) {
    const auto formats = host::description_formats();
    const auto* const dbc = host::find_format(formats, "dbc");
    ASSERT_NE(dbc, nullptr);
    EXPECT_EQ(dbc->type, "dbc");
    EXPECT_EQ(dbc->display_name, "CAN database");
    EXPECT_EQ(dbc->extensions, std::vector<std::string>{"dbc"});
}

TEST(DescriptionFormats, AreFoundByTypeWordThenByExtension) {
    const std::vector<host::description_format> formats = {
        {"first", "", {"txt", "json"}, 0}, {"second", "", {"json"}, 0}, {"txt", "", {}, 0}};
    const auto type_for = [&](const char* extension) {
        const auto* const found = host::find_format(formats, extension);
        return found != nullptr ? found->type : "none";
    };
    EXPECT_EQ(type_for("json"), "first");
    EXPECT_EQ(type_for("txt"), "txt");
    EXPECT_EQ(type_for("xml"), "none");
}

} // namespace
} // namespace tavi::test
