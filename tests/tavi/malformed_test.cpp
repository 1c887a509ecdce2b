// Broken inputs: none may crash or hang, what is intact is used, and the damage is told.
#include <gmock/gmock.h>

#include "tests/tavi/command.hpp"

namespace tavi::test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

class malformed : public ::testing::Test, public workplace {
protected:
    void SetUp() override {
        if (!shared_data()) {
            GTEST_SKIP() << "needs the folder of measurement data (TAVI_SHARED_DATA)";
        }
        folder = *shared_data() / "malformed";
        write("e.dbc", "BO_ 100 M: 8 X\n SG_ A : 0|16@1+ (1,0) [0|0] \"\" X\n SG_ B : 16|16@1+ (1,0) [0|0] \"\" X\n");
    }

    fs::path folder;
};

// Rows, damaged lines and exit code.
TEST_F(malformed, logs_give_what_is_intact) {
    const std::pair<const char*, const char*> logs[] = {
        {"empty.log", "0 0 0"},          {"cut_lines.log", "5 3 3"},       {"wrong_hex.log", "4 3 3"},
        {"too_long.log", "4 3 3"},       {"id_out_of_range.log", "4 3 3"}, {"bad_time.log", "2 4 3"},
        {"time_goes_back.log", "6 0 0"}, {"crlf_mixed.log", "6 0 0"},      {"remote_and_error.log", "4 0 0"},
    };
    for (const auto& [log, expected] : logs) {
        const ended run = tavi("decode '" + (folder / log).string() + "' -d e.dbc --report report");
        const std::string report = read("report");
        const std::string damaged = report.substr(report.find("\"damaged_lines\":") + 16, 1);
        EXPECT_EQ(std::to_string(rows_of(run.out).size()) + ' ' + damaged + ' ' + std::to_string(run.code), expected)
            << log << run.err;
    }
}

TEST_F(malformed, logs_are_shown_without_their_control_characters) {
    const ended run = tavi("decode '" + (folder / "binary.log").string() + "' -d e.dbc");
    EXPECT_EQ(run.code, 3);
    for (const char character : run.err) {
        ASSERT_TRUE(character == '\n' || static_cast<unsigned char>(character) >= ' ') << run.err;
    }
}

TEST_F(malformed, a_line_of_ten_megabytes_is_one_damaged_line) {
    write("big.log", read_gzip(folder / "one_line_10mb.log.gz"));
    const ended run = tavi("decode big.log -d e.dbc");
    EXPECT_EQ(run.code, 3);
    EXPECT_EQ(lines_of(run.out).size(), 3u);
    EXPECT_THAT(run.err, HasSubstr("big.log:1:46: error: "));
    EXPECT_LT(run.err.size(), 1000u);
}

// Every description is either used or refused with a place; a frame of each id goes through what was read.
TEST_F(malformed, descriptions_are_used_or_refused_with_a_place) {
    std::string log;
    for (const char* const id : {"001", "064", "065", "0C8", "00000064"}) {
        log += std::string("(1.0) can0 ") + id + "#0102030405060708\n(2.0) can0 " + id + "#\n";
    }
    write("ids.log", log);
    std::size_t seen = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
        std::string name = entry.path().filename().string();
        std::string description = entry.path().string();
        if (name.ends_with(".dbc.gz")) {
            name.resize(name.size() - 3);
            write(name, read_gzip(entry.path()));
            description = name;
        } else if (!name.ends_with(".dbc")) {
            continue;
        }
        ++seen;
        const ended run = tavi("decode ids.log -d '" + description + '\'');
        EXPECT_THAT(run.code, ::testing::AnyOf(0, 1, 3)) << name << run.err;
        if (run.code == 1) {
            EXPECT_THAT(run.err, ::testing::ContainsRegex(name + ":[0-9]+:[0-9]+: error: ")) << name;
        }
        EXPECT_EQ(tavi("tree -d '" + description + '\'').code, run.code == 3 ? 0 : run.code) << name;
    }
    EXPECT_EQ(seen, 23u);
}

} // namespace
} // namespace tavi::test
