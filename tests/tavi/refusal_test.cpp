// What other plug-ins than ours lead to. Transcripts show the rest.
#include <gtest/gtest.h>

#include "tests/support/paths.hpp"
#include "tests/tavi/command.hpp"

namespace tavi::test {
namespace {

namespace fs = std::filesystem;

TEST(refusal, of_a_plugin_ends_the_run_with_its_text) {
    const workplace here;
    here.write("e.dbc", "BO_ 192 E: 2 X\n SG_ S : 0|16@1+ (1,0) [0|0] \"\" X\n");
    // The extractor looks for plug-ins where its own file lies: a copy of all with one more beside it.
    fs::create_directory(here.path() / "lib");
    for (const auto& library : fs::directory_iterator(library_folder)) {
        if (library.path().extension() == ".so") {
            fs::copy_file(library.path(), here.path() / "lib" / library.path().filename());
        }
    }
    const std::string decode = "LD_LIBRARY_PATH=lib \"$TAVI\" decode /dev/null -d e.dbc";
    EXPECT_EQ(here.shell(decode).code, 0);
    fs::copy_file(TAVI_REFUSING_MATCHER, here.path() / "lib" / "libqor_refusing_matcher.so");
    for (const char* const storage : {"", " --storage file:c.db3"}) {
        const ended run = here.shell(decode + storage);
        EXPECT_EQ(run.code, 4);
        EXPECT_EQ(run.err, "tavi: error: no licence for this matcher\n");
    }
}

// A parser that does not see to it that paths are different: only the first of a path can be subscribed to.
TEST(refusal, of_the_second_message_of_a_path_in_a_description) {
    const workplace here;
    here.write("twice.lines", "E 192 a 0 8\nF 193 b 0 8\nE 194 c 0 8\n");
    here.write("once.lines", "F 195 b 0 8\n");
    const std::string decode =
        "printf '(1.0) can0 0C0#01\\n(1.1) can0 0C2#02\\n(1.2) can0 0C3#03\\n' | LD_LIBRARY_PATH=" +
        std::string(TAVI_EXAMPLE_LIBRARIES) + " \"$TAVI\" decode - -d twice.lines -d once.lines -s 'Lines.*'";
    const ended run = here.shell(decode);
    EXPECT_EQ(run.code, 3);
    EXPECT_EQ(run.out, "timestamp,signal,value,unit\n1.0,can0.Lines.E.a,1,\n1.2,can0.Lines.F_1.b,3,\n");
    EXPECT_NE(run.err.find("twice.lines: warning: 'Lines.E' is left out: another one before it has the path\n"),
              std::string::npos)
        << run.err;
    EXPECT_EQ(here.shell(decode + " --strict").code, 1);
}

} // namespace
} // namespace tavi::test
