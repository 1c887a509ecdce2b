// Plug-ins that were built before a table got its last slot: the slot is found missing, whatever is after the table in
// the plug-in's memory.
#include "tests/extractor/extractor_fixture.hpp"

namespace tavi::test {
namespace {

class short_tables : public extractor_test {
protected:
    short_tables() {
        add_parser("p", {{"dbc"}, {"sdl"}});
        for (const char* const kind : {"parser", "matcher", "processor"}) {
            const std::string file = std::string("libshort_") + kind + ".so";
            std::filesystem::copy_file(std::filesystem::path(TAVI_SHORT_TABLES) / file, directory.path() / file);
        }
        start();
    }
};

TEST_F(short_tables, are_refused_where_the_slot_is_needed) {
    EXPECT_EQ(register_descriptions(1, 0, "engine", {{"one", "short", ""}}),
              failed("invalid qor_data_description_parser_format_support_t interface, missing 'get_context_type' "
                     "function"));
    for (const std::uint16_t id : {0x16, 0x17}) {
        ASSERT_EQ(register_descriptions(id, 0, "source" + std::to_string(id), {{"one", "dbc", ""}}), succeeded);
        subscribe(std::to_string(id) + "#0.View.Plain");
    }
    EXPECT_EQ(try_match(package(0x16, 0, "matched", "x")),
              failed("invalid qor_data_matcher_support_t interface, missing 'match' function"));
    EXPECT_EQ(try_process(package(0x17, 0, "processed", "x")),
              failed("invalid qor_data_processor_support_t interface, missing 'process' function"));
}

} // namespace
} // namespace tavi::test
