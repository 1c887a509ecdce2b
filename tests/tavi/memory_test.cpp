// Structures cut out of a piece of memory.
#include <algorithm>

#include <gmock/gmock.h>

#include "tests/tavi/command.hpp"

namespace tavi::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* layout = R"({"sdl": 1, "views": [
 {"name": "Raw", "objects": [
  {"name": "Table", "address": "0x20000004", "members": [
   {"name": "Count", "stored": "uint16", "byte_order": "big_endian"},
   {"name": "Object", "count": 3, "members": [
    {"name": "id", "stored": "uint8"}, {"name": "speed", "stored": "int8", "factor": 0.5, "unit": "m/s"}]}]},
  {"name": "Part", "address": "0x20000010", "count": 2, "members": [{"name": "x", "stored": "uint16"}]}]},
 {"name": "Late View", "cycle": 5, "objects": [
  {"name": "Head", "address": "0x20000000", "members": [{"name": "tag", "stored": "uint32"}]}]}]})";

class memory : public ::testing::Test, public workplace {
protected:
    memory() {
        write("layout.sdl", layout);
        const unsigned char bytes[] = {1, 0, 0, 0, 3, 0, 7, 2, 8, 0xFE, 9, 6, 0, 0, 0, 0, 0x34, 0x12, 0x78, 0x56};
        write("image.bin", {reinterpret_cast<const char*>(bytes), sizeof bytes});
    }

    std::vector<std::string> rows(const std::string& arguments) {
        const ended run = tavi("decode image.bin -d layout.sdl " + arguments);
        errors = run.err;
        code = run.code;
        return rows_of(run.out);
    }

    std::string errors;
    int code = 0;
};

TEST_F(memory, gives_all_objects_that_lie_in_the_piece) {
    EXPECT_THAT(rows("--memory address=0x20000000,cycle=5 -s 'Raw.Table.Object' -s 'Raw.Part' -s 'Late View.Head.tag'"),
                ElementsAre(",memory.Raw.Table.Object[0].id,7,", ",memory.Raw.Table.Object[0].speed,1,m/s",
                            ",memory.Raw.Table.Object[1].id,8,", ",memory.Raw.Table.Object[1].speed,-1,m/s",
                            ",memory.Raw.Table.Object[2].id,9,", ",memory.Raw.Table.Object[2].speed,3,m/s",
                            ",memory.Raw.Part[0].x,4660,", ",memory.Raw.Part[1].x,22136,",
                            ",memory.Late View.Head.tag,1,"));
    EXPECT_EQ(code, 0) << errors;
    EXPECT_THAT(errors, StartsWith("tavi: 1 memory block read: 1 matched\ntavi: lost: nothing\n"));
    EXPECT_THAT(rows("--memory address=536870912,cycle=4 -s 'Late View' -s Raw.Part -f jsonl").at(1),
                R"({"timestamp":null,"signal":"memory.Raw.Part[1].x","value":22136,"unit":""})");
    EXPECT_THAT(errors, StartsWith("tavi: note: 1 of 2 objects are not in the 20 bytes from 0x20000000 in cycle 4\n"));
}

TEST_F(memory, selects_elements_as_url_expressions_do) {
    const std::pair<const char*, const char*> cases[] = {
        {"Raw.Table.Object[1].*", "Object[1].id Object[1].speed "},
        {"Raw.Table.Object[last()]", "Object[2].id Object[2].speed "},
        {"Raw.Table.Object[ first() ].speed", "Object[0].speed "},
        {"*.Ob*[*].id", "Object[0].id Object[1].id Object[2].id "},
        {"Raw.Part[last()].x", "Part[1].x "},
    };
    for (const auto& [pattern, signals] : cases) {
        std::string names;
        for (const std::string& row : rows(std::string("--memory address=0x20000000 -s '") + pattern + '\'')) {
            const auto url = split(row, ',')[1];
            names += std::string(url.substr(std::min(url.find("Object"), url.find("Part")))) + ' ';
        }
        EXPECT_EQ(names, signals) << pattern << '\n' << errors;
    }
}

TEST_F(memory, tells_what_is_not_there) {
    EXPECT_THAT(rows("--memory address=0x20000000,cycle=5 -s 'Raw.Table.Object[3]'"), ElementsAre());
    EXPECT_THAT(errors, StartsWith("tavi: error: no signal fits 'Raw.Table.Object[3]'\n"));
    for (const char* const pattern : {"Raw.Part[x()]", "Raw.Part[1", "Raw.Part[1]x"}) {
        rows(std::string("--memory address=0x20000000 -s '") + pattern + '\'');
        EXPECT_EQ(code, 2) << pattern;
    }
    for (const char* const place : {"cycle=5", "address=x", "address=1,cycle=4294967296", "addres=1"}) {
        rows(std::string("--memory ") + place);
        EXPECT_THAT(errors, StartsWith("tavi: error: --memory ")) << place;
    }
    // From 0x2000000A on: Table began before; of Part the last byte is missing.
    write("image.bin", std::string(9, '\1'));
    EXPECT_THAT(rows("--memory address=0x2000000A -s Raw"), ElementsAre(",memory.Raw.Part[0].x,257,"));
    EXPECT_EQ(code, 3);
    EXPECT_THAT(errors, HasSubstr("image.bin: warning: the piece ends within Raw.Part, after 3 of 4 bytes: 1 value is "
                                  "not in it\n"));
}

} // namespace
} // namespace tavi::test
