// Plug-ins that are missing, damaged or refuse to start: exit code 4, with the file at fault. The extractor looks for
// plug-ins in the folder of its own file: each test has a copy of all of them.
#include <fstream>

#include <gtest/gtest.h>

#include "tests/prove/hostile_copy.hpp"
#include "tests/support/paths.hpp"
#include "tests/tavi/command.hpp"

namespace tavi::test {
namespace {

namespace fs = std::filesystem;

class plugin_folder : public ::testing::Test, public workplace {
protected:
    plugin_folder() {
        write("e.dbc", "BO_ 192 E: 2 X\n SG_ S : 0|16@1+ (1,0) [0|0] \"\" X\n");
        write("e.sdl", "{\"sdl\": 1, \"views\": [{\"name\": \"V\", \"objects\": [{\"name\": \"O\", \"address\": 0, "
                       "\"members\": [{\"name\": \"m\", \"stored\": \"uint8\"}]}]}]}");
        write("x.log", "(1.0) can0 0C0#0400\n");
        write("x.nmea", "$GPGSV,1,1,00*79\n");
        fs::create_directory(path() / "lib");
        for (const auto& library : fs::directory_iterator(library_folder)) {
            if (library.path().extension() == ".so") {
                fs::copy_file(library.path(), path() / "lib" / library.path().filename());
            }
        }
    }

    fs::path library(const std::string& name) const { return path() / "lib" / ("lib" + name + ".so"); }

    // With the folder's path as DIR, and as much of a reason as does not depend on the build.
    // `order` is what a hostile plug-in does.
    ended run(const std::string& arguments, const std::string& order = "nothing") const {
        ended run = shell("TAVI_HOSTILE=" + order + " LD_LIBRARY_PATH=lib \"$TAVI\" " + arguments);
        const std::string folder = fs::canonical(path() / "lib").string();
        for (std::string* const text : {&run.out, &run.err}) {
            for (auto at = text->find(folder); at != std::string::npos; at = text->find(folder)) {
                text->replace(at, folder.size(), "DIR");
            }
            for (auto at = text->find(": its headers"); at != std::string::npos; at = text->find(": its headers")) {
                text->erase(at, text->find('\n', at) - at);
            }
        }
        return run;
    }
};

struct fault_case {
    const char* library;
    const char* command;
    // What is printed, without what passed over files add.
    const char* message;
};

constexpr const char* no_can = "tavi: error: no plug-in supports packages of format 'can' (searched DIR)\n";
constexpr const char* no_dbc =
    "e.dbc: error: failed to find a data description parser for data description type 'dbc' (searched DIR)\n";
constexpr fault_case fault_cases[] = {
    {"qor_can_matcher", "decode x.log -d e.dbc", no_can},
    {"qor_can_matcher", "decode x.log -d e.dbc --strict -j 2 -o x.csv", no_can},
    {"qor_can_matcher", "decode x.log -d e.dbc --j1939",
     "tavi: error: no plug-in supports packages of format 'j1939' (searched DIR)\n"},
    {"qor_can_matcher", "filter -d e.dbc", no_can},
    {"qor_memory_matcher", "decode x.log -d e.sdl --memory address=0",
     "tavi: error: no plug-in supports packages of format 'memory' (searched DIR)\n"},
    {"qor_nmea_processor", "decode x.nmea",
     "tavi: error: no plug-in supports packages of format 'nmea' (searched DIR)\n"},
    {"qor_sdl_parser", "decode x.nmea",
     "tavi: error: failed to find a data description parser for data description type 'gps-sdl' (searched DIR)\n"},
    {"qor_dbc_parser", "decode x.log -d e.dbc", no_dbc},
    {"qor_dbc_parser", "tree -d e.dbc", no_dbc},
    {"qor_dbc_parser", "schema CAN.E -d e.dbc", no_dbc},
    {"qor_dbc_parser", "filter -d e.dbc", no_dbc},
    {"qor_dbc_parser", "register -d e.dbc --storage file:c.db3", no_dbc},
};

TEST_F(plugin_folder, is_named_when_a_plugin_is_missing_or_damaged) {
    for (const auto& [name, command, message] : fault_cases) {
        const fs::path file = library(name);
        fs::rename(file, path() / "kept.so");
        const ended missing = run(command);
        EXPECT_EQ(missing.code, 4) << command;
        EXPECT_EQ(missing.out + missing.err, message) << command;
        EXPECT_EQ(run("plugins").code, 0);

        const std::string line = "lib" + std::string(name) + ".so: ";
        for (const auto& [size, reason] : {std::pair(20000, "cut short"), std::pair(0, "not a shared library")}) {
            fs::copy_file(path() / "kept.so", file, fs::copy_options::overwrite_existing);
            fs::resize_file(file, size);
            const ended damaged = run(command);
            EXPECT_EQ(damaged.code, 4) << command;
            EXPECT_EQ(damaged.out + damaged.err, std::string(message) + "  skipped: DIR/" + line + reason + '\n');
            const ended listed = run("plugins");
            EXPECT_EQ(listed.code, 4);
            EXPECT_NE(listed.out.find(std::string("skipped: ") + reason + '\n'), std::string::npos) << listed.out;
        }
        fs::rename(path() / "kept.so", file);
        EXPECT_FALSE(fs::exists(path() / "x.csv"));
    }
}

TEST_F(plugin_folder, is_named_when_a_reader_is_damaged) {
    const std::string rest = "formats: asc, blf, gvret-csv, memory, mf4, nmea, pcap, pcapng, python-can-csv, trc";
    const std::tuple<const char*, const char*, std::string, int> cases[] = {
        {"qor_candump_reader", "decode x.log -d e.dbc", "x.log: error: the format is not known (" + rest + ")\n", 1},
        {"qor_candump_reader", "decode x.log -d e.dbc --input candump",
         "tavi: error: there is no format 'candump'\n  hint: " + rest + "\n", 2},
        {"qor_memory_reader", "decode x.log -d e.sdl --memory address=0",
         "tavi: error: no plug-in reads memory images (searched DIR)\n", 4},
    };
    for (const auto& [name, command, message, code] : cases) {
        const fs::path file = library(name);
        fs::rename(file, path() / "kept.so");
        const ended missing = run(command);
        EXPECT_EQ(missing.out + missing.err, message);
        EXPECT_EQ(missing.code, code) << command;
        std::ofstream(file, std::ios::binary);
        const ended damaged = run(command);
        std::string expected = message;
        expected.insert(message.find('\n') + 1,
                        "  skipped: DIR/lib" + std::string(name) + ".so: not a shared library\n");
        EXPECT_EQ(damaged.out + damaged.err, expected);
        EXPECT_EQ(damaged.code, 4) << command;
        fs::rename(path() / "kept.so", file);
    }
}

TEST_F(plugin_folder, is_named_when_the_storage_is_missing_or_damaged) {
    const fs::path file = library("qor_signal_storage");
    for (const char* const command :
         {"decode x.log -d e.dbc", "decode x.log -d e.dbc --storage file:c.db3", "tree -d e.dbc"}) {
        fs::rename(file, path() / "kept.so");
        EXPECT_EQ(run(command).err, "tavi: error: invalid shared library handle specified for the signal storage "
                                    "library (searched DIR)\n");
        fs::copy_file(path() / "kept.so", file);
        fs::resize_file(file, 20000);
        EXPECT_EQ(run(command).err, "tavi: error: cannot load 'DIR/libqor_signal_storage.so': cut short\n");
        fs::resize_file(file, 0);
        EXPECT_EQ(run(command).err,
                  "tavi: error: invalid shared library handle specified for the signal storage library "
                  "(searched DIR)\n  skipped: DIR/libqor_signal_storage.so: not a shared library\n");
        EXPECT_EQ(run(command).code, 4);
        fs::rename(path() / "kept.so", file);
    }
}

TEST_F(plugin_folder, shows_a_library_without_metadata_without_a_fault) {
    fs::copy_file(fs::path(program_folder) / "tavi", library("other"));
    const ended listed = run("plugins");
    EXPECT_EQ(listed.code, 0);
    EXPECT_NE(listed.out.find("libother.so                 skipped: no metadata block (section .qorrt)\n"),
              std::string::npos)
        << listed.out;
    EXPECT_EQ(run("decode x.log -d e.dbc").code, 0);
}

TEST_F(plugin_folder, names_the_file_of_a_plugin_that_cannot_start) {
    const std::string file = "DIR/libhostile.so: ";
    for (const std::string kind : {"data-matcher", "data-description-parser", "data-processor"}) {
        prove::write_hostile_plugin(TAVI_HOSTILE_PLUGIN, kind, library("hostile"));
        for (const char* const command : {"decode x.log -d e.dbc", "decode x.log -d e.dbc --storage file:c.db3",
                                          "register -d e.dbc --storage file:c.db3", "tree -d e.dbc", "decode x.nmea"}) {
            const ended refused = run(command, "create:fail");
            EXPECT_EQ(refused.code, 4) << kind << ' ' << command;
            EXPECT_EQ(refused.err, file + "error: no licence\n") << kind << ' ' << command;
        }
    }
    const std::pair<const char*, std::string> cases[] = {
        {"create:throw", file + "error: unknown error\n"},
        {"resolve:empty", file + "error: invalid qor_data_matcher_format_support_t interface, missing "
                                 "'get_supported_format' function\n"},
        {"get_supported_format:null", "tavi: error: invalid qor_data_matcher_format_support_t interface, no text from "
                                      "'get_supported_format' function\n  cannot be used: " +
                                          file + "a format without text\n"},
    };
    prove::write_hostile_plugin(TAVI_HOSTILE_PLUGIN, "data-matcher", library("hostile"));
    for (const auto& [order, message] : cases) {
        EXPECT_EQ(run("tree -d e.dbc", order).err, message);
        const ended listed = run("plugins", order);
        EXPECT_EQ(listed.code, 4);
        EXPECT_NE(listed.out.find("cannot be used: "), std::string::npos) << listed.out;
    }
}

// A parser that does not see to it that paths are different: only the first of a path can be subscribed to.
TEST(parser_that_repeats_a_path, loses_the_second_message_of_it) {
    const workplace here;
    here.write("twice.lines", "E 192 a 0 8\nF 193 b 0 8\nE 194 c 0 8\n");
    here.write("once.lines", "F 195 b 0 8\n");
    const std::string decode =
        "printf '(1.0) can0 0C0#01\\n(1.1) can0 0C2#02\\n(1.2) can0 0C3#03\\n' | LD_LIBRARY_PATH=" +
        std::string(TAVI_EXAMPLE_LIBRARIES) + " \"$TAVI\" decode - -d twice.lines -d once.lines -s 'Lines.*'";
    const ended run = here.shell(decode);
    EXPECT_EQ(run.code, 3);
    EXPECT_EQ(run.out, "timestamp,signal,value,unit\n1.0,can0.Lines.E.a,1,\n1.2,can0.Lines.F_1.b,3,\n");
    EXPECT_NE(run.err.find("twice.lines: warning: 'Lines.E' is left out: an earlier one has the same path\n"),
              std::string::npos)
        << run.err;
    EXPECT_EQ(here.shell(decode + " --strict").code, 1);
}

} // namespace
} // namespace tavi::test
