// Descriptions kept in a catalogue on disk.
#include <gmock/gmock.h>

#include "tests/tavi/command.hpp"

namespace tavi::test {
namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

class storage : public ::testing::Test, public workplace {
protected:
    storage() {
        write("e.dbc", engine_dbc);
        write("f.dbc", "BO_ 193 F: 1 X\n SG_ T : 0|8@1+ (1,0) [0|0] \"\" X\n");
        write("x.log", "(1.0) can0 0C0#0400\n(2.0) can1 0C1#07\n(3.0) can1 0C0#0200\n");
        registered = tavi("register -d e.dbc -d f.dbc --storage file:c.db3");
        for (const std::string& line : lines_of(registered.out)) {
            signatures.emplace_back(line.substr(0, line.find('\t')));
        }
    }

    ended registered;
    std::vector<std::string> signatures;
};

TEST_F(storage, serves_descriptions_that_are_not_there_any_more) {
    EXPECT_EQ(registered.code, 0) << registered.err;
    EXPECT_THAT(registered.out, MatchesRegex("[0-9a-f]+\te.dbc\n[0-9a-f]+\tf.dbc\n"));
    ASSERT_EQ(signatures.size(), 2u);
    EXPECT_EQ(tavi("register -d e.dbc -d f.dbc --storage file:c.db3").out, registered.out);
    const std::string both = tavi("decode x.log -d e.dbc -d f.dbc").out;
    const std::string routed = tavi("decode x.log -d can1=e.dbc").out;
    EXPECT_EQ(lines_of(both).size(), 4u);
    std::filesystem::remove(path() / "e.dbc");
    std::filesystem::remove(path() / "f.dbc");
    EXPECT_EQ(tavi("decode x.log --storage file:c.db3").out, both);
    EXPECT_EQ(tavi("decode x.log --storage file:c.db3 --signature can1=" + signatures[0]).out, routed);
    EXPECT_THAT(tavi("tree --storage file:c.db3 --signature " + signatures[1]).out, HasSubstr("F  (0C1, 1 byte)"));
}

TEST_F(storage, tells_what_it_cannot_serve) {
    write("nothing.txt", std::string(9000, 'x'));
    const struct {
        std::string arguments;
        int code;
        const char* message;
    } cases[] = {
        {"decode x.log --storage file:c.db3 --signature abc", 1,
         "tavi: error: signature 'abc' is not in the signal storage\n  hint: "},
        {"decode x.log --storage file:none.db3", 1, "tavi: error: the catalogue 'file:none.db3' cannot be opened: "},
        {"tree --storage file:nothing.txt", 1, "tavi: error: the catalogue 'file:nothing.txt' cannot be opened: "},
        {"decode x.log --signature " + signatures.at(0), 2, "--signature requires --storage\n"},
        {"decode x.log", 2, "tavi: error: a description is needed\n  hint: "},
        {"register -d e.dbc", 2, "--storage is required\n"},
        {"register --storage file:c.db3", 2, "--description is required\n"},
    };
    for (const auto& each : cases) {
        const ended run = tavi(each.arguments);
        EXPECT_EQ(run.code, each.code) << each.arguments;
        EXPECT_THAT(run.err, StartsWith(each.message)) << each.arguments;
    }
    EXPECT_FALSE(std::filesystem::exists(path() / "none.db3"));
}

} // namespace
} // namespace tavi::test
