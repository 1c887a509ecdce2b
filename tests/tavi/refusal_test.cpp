// Exit code 4: a plug-in that cannot start. Transcripts show the other codes.
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

} // namespace
} // namespace tavi::test
