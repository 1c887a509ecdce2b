#include <gtest/gtest.h>

#include <string>

#include "qorc/extensibility/data_source.h"
#include "tests/support/outcome.hpp"

namespace {

using tavi::test::call;
using tavi::test::invalid;
using tavi::test::succeeded;
using tavi::test::too_small;

TEST(source_name, becomes_what_a_url_expression_takes_without_quotes) {
    const struct {
        const char* name;
        const char* sanitized;
    } cases[] = {
        {"can0", "can0"},
        {"Front Radar.2", "Front_Radar_2"},
        {"3rd", "_3rd"},
        {"-x", "_-x"},
        {" x", "_x"},
        {"", "_"},
        {"_", "_"},
        {"a-B_9", "a-B_9"},
        {"M\xC3\xBCller", "M_ller"},
        {"\xE2\x82\xAC\xF0\x9F\x9A\x97", "__"},
        {"a\xE2\x82z", "a_z"},
        {"\x80\x80", "__"},
        {"a\tb\nc'd\"e#[]", "a_b_c_d_e___"},
    };
    for (const auto& [name, sanitized] : cases) {
        std::string output(64, '?');
        std::size_t size = output.size();
        EXPECT_EQ(call(qor_data_source_sanitize_name, name, output.data(), &size), succeeded);
        EXPECT_STREQ(output.c_str(), sanitized) << name;
        EXPECT_EQ(size, std::string(sanitized).size() + 1) << name;
    }
}

TEST(source_name, asks_for_the_room_it_needs) {
    char output[8] = "unset";
    std::size_t size = 4;
    EXPECT_EQ(call(qor_data_source_sanitize_name, "can0", output, &size), too_small);
    EXPECT_EQ(size, 5u);
    EXPECT_STREQ(output, "unset");
    EXPECT_EQ(call(qor_data_source_sanitize_name, "can0", output, &size), succeeded);
    size = 100;
    EXPECT_EQ(call(qor_data_source_sanitize_name, "can0", static_cast<char*>(nullptr), &size), too_small);
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(call(qor_data_source_sanitize_name, static_cast<const char*>(nullptr), output, &size),
              invalid("argument 'input' was not initialized"));
}

} // namespace
