// The reader filter: its language, and that `tavi decode` builds packages of exactly the frames that it accepts.
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <stdexcept>

#include "host/candump_reader.hpp"
#include "host/reader_filter.hpp"
#include "tests/tavi/command.hpp"

namespace tavi::test {
namespace {

using host::reader_filter;

TEST(reader_filter, accepts_what_a_term_accepts) {
    const reader_filter filter("(SourceId = 10 AND Instance = 2 AND Cycle = 5 AND Address = 0x1F00) OR "
                               "( Instance=0AND SourceId=11 )");
    EXPECT_EQ(filter.terms().size(), 2u);
    EXPECT_TRUE(filter.accepts(10, 2, 5, 0x1F00));
    EXPECT_FALSE(filter.accepts(11, 2, 5, 0x1F00));
    EXPECT_FALSE(filter.accepts(10, 3, 5, 0x1F00));
    EXPECT_FALSE(filter.accepts(10, 2, 0, 0x1F00));
    EXPECT_FALSE(filter.accepts(10, 2, 5, 0x1F01));
    EXPECT_TRUE(filter.accepts(11, 0, 7, 99));
    EXPECT_FALSE(reader_filter(" ").accepts(11, 0, 0, 0));
    EXPECT_TRUE(reader_filter("(Address = 0xFFFFFFFFFFFFFFFF)").accepts(1, 2, 3, UINT64_MAX));
}

TEST(reader_filter, tells_where_a_text_is_none) {
    const std::pair<const char*, const char*> cases[] = {
        {"SourceId = 1", "expected '(' at 1"},
        {"(Source = 1)", "expected SourceId, Instance, Cycle or Address, each once, at 2"},
        {"(SourceId = 1 AND SourceId = 2)", "expected SourceId, Instance, Cycle or Address, each once, at 19"},
        {"(SourceId 1)", "expected '=' at 11"},
        {"(SourceId = 65536)", "expected a number up to 65535 at 13"},
        {"(Address = 0x)", "expected a number up to 18446744073709551615 at 12"},
        {"(Cycle = 1 OR", "expected 'AND' or ')' at 12"},
        {"(Cycle = 1", "expected 'AND' or ')' at 11"},
        {"(Cycle = 1) AND", "expected 'OR' or the end at 13"},
        {"(Cycle = 1) OR", "expected '(' at 15"},
    };
    for (const auto& [text, message] : cases) {
        try {
            const reader_filter filter(text);
            ADD_FAILURE() << text << " was accepted";
        } catch (const std::invalid_argument& error) {
            EXPECT_EQ(error.what(), std::string("invalid reader filter: ") + message) << text;
        }
    }
}

TEST(filter, accepts_the_frames_of_which_decode_makes_packages) {
    const workplace here;
    const std::string log = source_path("examples/sample_drive/sample.log");
    const std::string asked = " -d '" + source_path("examples/sample_drive/sample.dbc") +
                              "' -s '*.VehicleSpeed' -s CAN.Doors -s '*.OilTemperature'";
    const ended shown = here.tavi("filter" + asked);
    EXPECT_EQ(shown.code, 0) << shown.err;
    EXPECT_EQ(shown.out, "(SourceId = 16 AND Instance = 0 AND Address = 0xC8) OR "
                         "(SourceId = 16 AND Instance = 0 AND Address = 0xE0) OR "
                         "(SourceId = 16 AND Instance = 0 AND Address = 0x3B0)\n");
    EXPECT_EQ(here.tavi("decode '" + log + "' -o x.csv --report r.json" + asked).code, 0);
    const auto report = nlohmann::json::parse(here.read("r.json"));

    const reader_filter filter(lines_of(shown.out).at(0));
    std::ifstream stream(log, std::ios::binary);
    host::candump_reader reader([&](char* buffer, std::size_t room) {
        stream.read(buffer, static_cast<std::streamsize>(room));
        return static_cast<std::size_t>(stream.gcount());
    });
    std::uint64_t accepted = 0;
    host::candump_frame frame;
    while (reader.next(frame) != host::candump_reader::outcome::end) {
        accepted += filter.accepts(16, 0, 0, frame.id) ? 1 : 0;
    }
    EXPECT_GT(accepted, 0u);
    EXPECT_EQ(report["matched"].get<std::uint64_t>() + report["without_values"].get<std::uint64_t>(), accepted);
    EXPECT_EQ(report["frames"], report["matched"].get<std::uint64_t>() + report["not_selected"].get<std::uint64_t>() +
                                    report["unknown_ids"].get<std::uint64_t>());
}

} // namespace
} // namespace tavi::test
