// Several threads give what one gives, and readers that filter what those give that do not: rows, messages, account,
// exit code.
#include <fstream>
#include <future>
#include <random>
#include <regex>

#include <gtest/gtest.h>

#include "qorcpp/platform/stream.hpp"
#include "tests/tavi/command.hpp"
#include "tools/tavi/commands/commands.hpp"
#include "tools/tavi/output/row_format.hpp"
#include "tools/tavi/parallel/chunk_queue.hpp"

namespace tavi::test {
namespace {

using tool::decode_options;

constexpr const char* description =
    "BO_ 192 E: 2 X\n SG_ S : 0|16@1+ (0.5,0) [0|0] \"rpm\" X\n"
    "BO_ 193 M: 8 X\n SG_ Which M : 0|8@1+ (1,0) [0|0] \"\" X\n"
    " SG_ A m0 : 8|16@1- (0.1,1) [0|0] \"a,b\" X\n SG_ B m1 : 8|32@1+ (1,0) [0|0] \"\" X\n"
    "BO_ 2566844672 J: 64 X\n SG_ Far : 480|32@1+ (1,0) [0|0] \"\" X\n";

// Runs in this process, so that chunks can be small.
struct outcome {
    std::string rows;
    std::string messages;
    std::string report;

    bool operator==(const outcome&) const = default;
};

class parallel : public ::testing::Test, public workplace {
protected:
    parallel() {
        write("e.dbc", description);
        // The same messages, told again: a warning for each interface.
        write("again.dbc", std::string(description) + "BO_ 194 N: 1 X\n SG_ T : 0|8@1+ (1,0) [0|0] \"\" X\n");
        options.log = (path() / "x.log").string();
        options.output = (path() / "x.out").string();
        options.report = (path() / "x.json").string();
        options.catalogue.descriptions = {(path() / "e.dbc").string(), (path() / "again.dbc").string()};
        options.shortest_parallel_log = 0;
    }

    std::size_t below(std::size_t count) { return std::uniform_int_distribution<std::size_t>(0, count - 1)(random); }

    std::string line(std::size_t interfaces) {
        static const std::string kinds =
            "0C0#0400,0C1#0012345678,0C1#01FFFFFFFFFFFFFF,0C1#02,0C0#R2,20000080#00000000,7FF#11,98FEF100#1122,"
            "0C0#04,0C2#7F,0C0#040,0C0,0C0#11 T,18FEF100##1" +
            std::string(128, 'A');
        static const auto frames = split(kinds, ',');
        if (below(30) == 0) {
            const std::string odd[] = {"", "  ", "noise", std::string(5000, 'x'), std::string(300000, '(')};
            return odd[below(below(20) == 0 ? 5 : 4)];
        }
        std::string name = "can" + std::to_string(below(interfaces));
        name += below(8) == 0 ? "-" : below(8) == 0 ? "_" : "";
        return "(" + std::to_string(below(1000)) + ".5) " + name + ' ' + std::string(frames[below(frames.size())]);
    }

    void write_log() {
        std::string log;
        const std::size_t interfaces = below(4) == 0 ? 400 : 3;
        for (std::size_t count = 2000 + below(4000); count > 0; --count) {
            log += line(interfaces) + (below(5) == 0 ? "\r\n" : "\n");
        }
        log.resize(log.size() - below(2));
        write("x.log", log);
    }

    outcome run(std::size_t jobs) {
        options.jobs = jobs;
        ::testing::internal::CaptureStderr();
        std::string end;
        try {
            end = std::to_string(static_cast<int>(tool::run_decode(options)));
        } catch (const tool::command_error& error) {
            end = error.what();
        }
        static const std::regex time(" in [0-9.]+ s|\"seconds\":[^,]*,");
        return {read("x.out"), std::regex_replace(::testing::internal::GetCapturedStderr() + end, time, ""),
                std::regex_replace(read("x.json"), time, "")};
    }

    std::mt19937 random{20};
    decode_options options;
};

TEST_F(parallel, gives_what_one_thread_gives) {
    for (int round = 0; round < 24; ++round) {
        write_log();
        options.format = below(tool::row_formats.size());
        options.catalogue.strict = below(6) == 0;
        options.j1939 = below(3) == 0;
        options.patterns = below(2) == 0 ? std::vector<std::string>() : std::vector<std::string>{"*.A", "CAN.J"};
        options.chunk_size = std::size_t{1} << below(18);
        options.filters = below(2) == 0;
        const outcome one = run(1);
        options.filters = below(2) == 0;
        const outcome several = run(3);
        ASSERT_EQ(one.messages, several.messages) << round;
        ASSERT_EQ(one.report, several.report) << round;
        ASSERT_TRUE(one.rows == several.rows) << round;
    }
}

TEST_F(parallel, writes_rows_of_one_chunk_that_are_too_many_to_keep) {
    std::string wide = "BO_ 192 E: 64 X\n";
    for (int signal = 0; signal < 500; ++signal) {
        wide += " SG_ Signal_" + std::to_string(signal) + " : " + std::to_string(signal) + "|8@1+ (1,0) [0|0] \"\" X\n";
    }
    write("e.dbc", wide);
    options.catalogue.descriptions.resize(1);
    std::string log;
    for (int frame = 0; frame < 600; ++frame) {
        log += "(" + std::to_string(frame) + ".0) can0 0C0##1" + std::string(128, '7') + '\n';
    }
    write("x.log", log);
    options.chunk_size = log.size() / 2;
    const outcome one = run(1);
    EXPECT_GT(one.rows.size(), std::size_t{9} << 20);
    EXPECT_TRUE(one == run(2));
}

TEST_F(parallel, counts_unknown_ids_as_one_thread) {
    std::string log;
    for (int frame = 0; frame < 3000; ++frame) {
        char line[64];
        std::snprintf(line, sizeof line, "(%d.0) can%d 18FE%02X%02X#00\n", frame, frame % 3, frame % 7, frame % 11);
        log += line;
    }
    write("x.log", log);
    options.chunk_size = 1000;
    const outcome one = run(1);
    EXPECT_NE(one.messages.find("most frequent: 18FE0000 (39 frames), 18FE0001 (39 frames)"), std::string::npos)
        << one.messages;
    EXPECT_TRUE(one == run(3));
}

// What one thread and several read until the output fails differs; each account adds up.
TEST_F(parallel, accounts_for_all_frames_when_the_output_fails) {
    std::string log;
    for (int frame = 0; frame < 30000; ++frame) {
        log += "(" + std::to_string(frame) + ".0) can0 0C0#0400\n";
    }
    write("x.log", log);
    options.output = "/dev/full";
    for (const std::size_t jobs : {1, 3}) {
        const outcome ended = run(jobs);
        std::smatch counts;
        ASSERT_TRUE(std::regex_search(ended.report, counts, std::regex("\"frames\":([0-9]+),\"matched\":([0-9]+)")));
        EXPECT_EQ(counts[1], counts[2]);
        EXPECT_NE(ended.report.find("\"output\":\"failed\""), std::string::npos);
        EXPECT_EQ(ended.messages.find("written in"), std::string::npos) << ended.messages;
        EXPECT_EQ(ended.messages.find("lost: nothing"), std::string::npos);
    }
}

// A pipe that brings nothing for a while must not keep back what went wrong.
TEST_F(parallel, ends_a_wait_for_more_when_the_run_has_failed) {
    shell("mkfifo in");
    const std::fstream writer(path() / "in"); // opened for both, which waits for nobody
    qor::platform::input_stream input((path() / "in").string());
    std::promise<void> waits;
    const auto source = [&](char* buffer, std::size_t room) {
        waits.set_value();
        return input.read(buffer, room);
    };
    const auto no_end = [](std::span<const char>) { return std::size_t{0}; };
    tool::chunk_cutter cutter(source, no_end, {}, true, 64, [&] { input.end(); });
    tool::chunk_queue queue(2, cutter, [](const tool::log_chunk&) {});
    auto taken = std::async(std::launch::async, [&] { return queue.take(); });
    waits.get_future().wait();
    queue.stop(std::make_exception_ptr(tool::abandoned()));
    EXPECT_EQ(taken.get(), nullptr);
}

} // namespace
} // namespace tavi::test
