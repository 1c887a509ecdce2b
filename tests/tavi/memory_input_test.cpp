// Memory images that are too large; transcripts show what is read of others.
#include <fstream>
#include <string>

#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/temporary_directory.hpp"
#include "tests/support/thrown.hpp"
#include "tools/tavi/commands/commands.hpp"

namespace tavi::tool {
namespace {

TEST(memory_image, above_the_limit_is_refused_as_soon_as_that_is_known) {
    const test::temporary_directory directory;
    decode_options options;
    options.catalogue.descriptions = {(directory.path() / "e.dbc").string()};
    std::ofstream(options.catalogue.descriptions[0]) << "BO_ 192 E: 2 X\n SG_ S : 0|16@1+ (1,0) [0|0] \"\" X\n";
    options.memory = "address=0";
    options.output = "/dev/null";
    options.largest_image = 100;
    // A pipe that nobody closes.
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const std::string image(101, '\0');
    ASSERT_EQ(::write(ends[1], image.data(), image.size()), 101);
    std::ofstream(directory.path() / "image") << image;
    for (const std::string& log : {"/dev/fd/" + std::to_string(ends[0]), (directory.path() / "image").string()}) {
        options.log = log;
        EXPECT_EQ(test::thrown<command_error>([&] { run_decode(options); }),
                  log + ": error: the memory image is larger than 100 bytes");
    }
    ::close(ends[0]);
    ::close(ends[1]);
    std::ofstream(directory.path() / "image") << image.substr(1);
    EXPECT_NO_THROW(run_decode(options));
}

} // namespace
} // namespace tavi::tool
