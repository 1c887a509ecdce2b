// Each exit code, and what is said with it.
#include <filesystem>

#include <gmock/gmock.h>

#include "tests/tavi/command.hpp"

namespace tavi::test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class exit_code : public ::testing::Test, public workplace {
protected:
    exit_code() {
        write("e.dbc", engine_dbc);
        write("good.log", "(1.0) can0 0C0#0400\n");
        write("bad.log", "(1.0) can0 0C0#0400\n(2.0) can0 0C0#040\n(3.0) can0 0C0#0800\n");
        write("short.log", "(1.0) can0 0C0#04\n(3.0) can0 0C0#0800\n");
    }
};

TEST_F(exit_code, is_0_when_all_was_decoded) {
    const ended run = tavi("decode good.log -d e.dbc");
    EXPECT_EQ(run.code, 0);
    EXPECT_EQ(run.out, "timestamp,signal,value,unit\n1.0,can0.CAN.E.S,2,rpm\n");
    EXPECT_THAT(run.err, StartsWith("tavi: 1 frame read: 1 matched\ntavi: lost: nothing\ntavi: 1 value written in "));
    EXPECT_EQ(tavi("decode /dev/null -d e.dbc").out, "timestamp,signal,value,unit\n");
    for (const char* const asked : {"--help", "decode --help", "tree --help", "schema --help", "--version"}) {
        const ended help = tavi(asked);
        EXPECT_EQ(help.code, 0) << asked;
        EXPECT_FALSE(help.out.empty()) << asked;
        EXPECT_EQ(help.err, "") << asked;
    }
    EXPECT_THAT(tavi("--version").out, ::testing::MatchesRegex("tavi [0-9.]+-[0-9a-f]+(-dirty)?\n"));
}

TEST_F(exit_code, is_1_when_the_work_could_not_be_done) {
    write("no.dbc", "this is no description\n");
    write("no.json", "1");
    const std::pair<const char*, const char*> runs[] = {
        {"decode none.log -d e.dbc", "none.log: error: cannot be read: No such file or directory\n"},
        {"decode . -d e.dbc", ".: error: cannot be read: Is a directory\n"},
        {"decode good.log -d none.dbc", "none.dbc: error: cannot be read: No such file or directory\n"},
        {"decode good.log -d no.dbc", "no.dbc:1:1: error: "},
        {"decode good.log -d good.log", "good.log: error: failed to find a data description parser for data "
                                        "description type 'log'\n  hint: "},
        {"decode good.log -d no.json", "no.json: error: /: expected an object, found 1\n"},
        {"plugins --check .", ".: error: is a directory\n"},
        {"decode good.log -d e.dbc -s CAN.E.T", "tavi: error: no signal fits 'CAN.E.T'\n  hint: "},
        {"decode good.log -d e.dbc -o nowhere/x.csv",
         "nowhere/x.csv: error: cannot be written: No such file or directory\n"},
        {"decode good.log -d e.dbc -o good.log", "good.log: error: is the log that is read\n"},
        {"decode good.log -d e.dbc --report good.log", "good.log: error: is the log that is read\n"},
        {"decode good.log -d can0=e.dbc --report e.dbc", "e.dbc: error: is a description that is read\n"},
        {"decode good.log -d e.dbc -o x --report ./x", "./x: error: is written twice, as output and as report\n"},
        {"decode good.log -d e.dbc --report nowhere/x.json",
         "nowhere/x.json: error: cannot be written: No such file or directory\n"},
        {"decode good.log -d e.dbc --storage file:nowhere/c.db3", "tavi: error: the catalogue 'file:nowhere/c.db3' "},
        {"schema CAN.E.T -d e.dbc", "tavi: error: "},
        {"decode bad.log -d e.dbc --strict", "bad.log:2:18: error: the data have an odd number of digits\n"},
        {"decode short.log -d e.dbc --strict", "short.log:1: error: a frame of 1 byte, CAN.E has 2: 1 signal is not"},
    };
    for (const auto& [arguments, message] : runs) {
        const ended run = tavi(arguments);
        EXPECT_EQ(run.code, 1) << arguments;
        EXPECT_THAT(run.err, StartsWith(message)) << arguments;
    }
    EXPECT_EQ(read("good.log"), "(1.0) can0 0C0#0400\n");
}

TEST_F(exit_code, tells_warnings_of_what_is_left_out_from_those_of_what_is_kept) {
    write("out.dbc", "BO_ 1 M: 8 X\n SG_ Good : 0|8@1+ (1,0) [0|0] \"\" X\n SG_ Bad : 0|65@1+ (1,0) [0|0] \"\" X\n");
    write("kept.dbc", "BO_ 1 M: 8 X\n SG_ A : 0|8@1+ (1,0) [0|0] \"\" X\n SG_ B : 7|8@1+ (1,0) [0|0] \"\" X\n");
    const struct {
        const char* arguments;
        int code;
        const char* message;
    } runs[] = {
        {"-d out.dbc", 3, "tavi: lost: 1 part of descriptions (first: out.dbc:3)\n"},
        {"-d kept.dbc", 0, "tavi: lost: nothing\n"},
        {"-d out.dbc --strict", 1, "out.dbc: error: refused for its warnings, since the run is strict\n"},
    };
    for (const auto& each : runs) {
        const ended run = tavi(std::string("decode good.log -d e.dbc ") + each.arguments);
        EXPECT_EQ(run.code, each.code) << each.arguments;
        EXPECT_THAT(run.err, HasSubstr(each.code == 1 ? ": error: " : ": warning: ")) << each.arguments;
        EXPECT_THAT(run.err, HasSubstr(each.message)) << each.arguments;
    }
}

TEST_F(exit_code, is_1_on_a_full_disk) {
    if (!fs::exists("/dev/full")) {
        GTEST_SKIP() << "needs /dev/full";
    }
    for (const char* const arguments :
         {"decode good.log -d e.dbc >/dev/full", "decode good.log -d e.dbc -o /dev/full", "tree -d e.dbc >/dev/full"}) {
        const ended run = tavi(arguments);
        EXPECT_EQ(run.code, 1) << arguments;
        EXPECT_THAT(run.err, HasSubstr(": error: cannot be written: No space left on device\n")) << arguments;
    }
}

TEST_F(exit_code, is_2_for_a_wrong_command_line) {
    for (const char* const arguments :
         {"", "nothing", "decode", "decode good.log", "decode good.log -d", "decode good.log -d e.dbc -f 0",
          "decode good.log -d e.dbc --unknown", "decode good.log good.log -d e.dbc", "tree", "schema -d e.dbc",
          "decode good.log -d e.dbc -s ''", "decode good.log -d e.dbc -s 'CAN.\"E'"}) {
        const ended run = tavi(arguments);
        EXPECT_EQ(run.code, 2) << arguments;
        EXPECT_FALSE(run.err.empty()) << arguments;
    }
}

TEST_F(exit_code, is_3_when_something_was_damaged_or_skipped) {
    const ended damaged = tavi("decode bad.log -d e.dbc");
    EXPECT_EQ(damaged.code, 3);
    EXPECT_EQ(lines_of(damaged.out).size(), 3u);
    EXPECT_THAT(damaged.err, StartsWith("bad.log:2:18: error: the data have an odd number of digits\n"
                                        "  (2.0) can0 0C0#040\n"
                                        "                   ^\n"
                                        "  hint: data are pairs of hexadecimal digits"));
    EXPECT_THAT(damaged.err, HasSubstr("\ntavi: lost: 1 damaged line (first: bad.log:2)\n"));

    const ended cut = tavi("decode short.log -d e.dbc");
    EXPECT_EQ(cut.code, 3);
    EXPECT_THAT(cut.err, StartsWith("short.log:1: warning: a frame of 1 byte, CAN.E has 2: 1 signal is not in it\n"
                                    "  (1.0) can0 0C0#04\n"));
    EXPECT_THAT(cut.err, HasSubstr("tavi: lost: signals of 1 short frame (first: short.log:1)\n"));
}

TEST_F(exit_code, is_3_with_ten_messages_and_a_count_for_many_damaged_lines) {
    const ended run = shell("yes noise | head -n 25 >noise.log; \"$TAVI\" decode noise.log -d e.dbc");
    EXPECT_EQ(run.code, 3);
    EXPECT_THAT(run.err, HasSubstr("noise.log:10:1: error: "));
    EXPECT_THAT(run.err, ::testing::Not(HasSubstr("noise.log:11:1: error: ")));
    EXPECT_THAT(run.err, HasSubstr("tavi: 15 more damaged lines\n"));
    EXPECT_THAT(run.err, HasSubstr("tavi: lost: 25 damaged lines (first: noise.log:1)\n"));
}

TEST_F(exit_code, is_4_when_a_plugin_refuses) {
    // The extractor looks for plug-ins where its own file lies: a copy of all with one more beside it.
    fs::create_directory(path() / "lib");
    for (const auto& library : fs::directory_iterator(TAVI_LIBRARY_DIR)) {
        if (library.path().extension() == ".so") {
            fs::copy_file(library.path(), path() / "lib" / library.path().filename());
        }
    }
    EXPECT_EQ(shell("LD_LIBRARY_PATH=lib \"$TAVI\" decode good.log -d e.dbc").code, 0);
    fs::copy_file(TAVI_REFUSING_MATCHER, path() / "lib" / "libqor_refusing_matcher.so");
    for (const char* const storage : {"", " --storage file:c.db3"}) {
        const ended run = shell(std::string("LD_LIBRARY_PATH=lib \"$TAVI\" decode good.log -d e.dbc") + storage);
        EXPECT_EQ(run.code, 4);
        EXPECT_EQ(run.err, "tavi: error: no licence for this matcher\n");
    }
}

} // namespace
} // namespace tavi::test
