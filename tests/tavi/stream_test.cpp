// Pipes and interrupts.
#include <gmock/gmock.h>

#include "tests/tavi/command.hpp"

namespace tavi::test {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

class stream : public ::testing::Test, public workplace {
protected:
    stream() {
        write("e.dbc", engine_dbc);
        std::string log;
        for (int line = 0; line < 50000; ++line) {
            log += "(" + std::to_string(line) + ".0) can0 0C0#0400\n";
        }
        write("long.log", log);
    }

    // Decodes what the script writes to file 3; `wait_for_lines FILE COUNT` waits ten seconds at most.
    ended fed(const std::string& script) {
        return shell("wait_for_lines() {\n"
                     "    for try in $(seq 200); do\n"
                     "        [ $(wc -l <$1) -ge $2 ] && return 0\n"
                     "        sleep 0.05\n"
                     "    done\n"
                     "    exit 1\n"
                     "}\n"
                     "rm -f in; mkfifo in\n"
                     "\"$TAVI\" decode - -d e.dbc --report report <in >rows 2>account &\n"
                     "exec 3>in\n" +
                     script + "\nwait $!");
    }
};

TEST_F(stream, reads_standard_input) {
    const ended whole = tavi("decode long.log -d e.dbc");
    for (const char* const script :
         {"cat long.log | \"$TAVI\" decode - -d e.dbc", "\"$TAVI\" decode - -d e.dbc <long.log"}) {
        const ended piped = shell(script);
        EXPECT_EQ(piped.code, 0) << piped.err;
        EXPECT_TRUE(piped.out == whole.out) << script;
    }
    const ended damaged = shell("echo noise | \"$TAVI\" decode - -d e.dbc");
    EXPECT_THAT(damaged.err, HasSubstr("<standard input>:1:1: error: "));
}

TEST_F(stream, writes_what_it_has_before_it_waits_for_more) {
    const ended run =
        fed("echo '(1.0) can0 0C0#0400' >&3; wait_for_lines rows 2; printf '(2.0) can0 0C0#0400' >&3\nexec 3>&-");
    EXPECT_EQ(run.code, 0) << run.err;
    EXPECT_EQ(read("rows"), "timestamp,signal,value,unit\n1.0,can0.CAN.E.S,2,rpm\n2.0,can0.CAN.E.S,2,rpm\n");
}

TEST_F(stream, ends_quietly_when_nobody_reads_on) {
    for (const char* const command : {"decode long.log -d e.dbc", "tree -d e.dbc"}) {
        const ended run = shell(std::string("{ \"$TAVI\" ") + command + "; echo $? >code; } | sleep 0.2");
        EXPECT_EQ(run.err, "") << command;
        EXPECT_EQ(read("code"), "0\n") << command;
    }
    const ended head = shell("\"$TAVI\" decode long.log -d e.dbc | head -n 2");
    EXPECT_EQ(head.out, "timestamp,signal,value,unit\n0.0,can0.CAN.E.S,2,rpm\n");
    EXPECT_EQ(head.err, "");
}

TEST_F(stream, leaves_whole_lines_and_an_account_when_interrupted) {
    for (const std::string signal : {"INT", "TERM"}) {
        const ended run =
            fed("printf '(1.0) can0 0C0#0400\\n(2.0) can0 0C' >&3; wait_for_lines rows 2; kill -" + signal + " $!");
        EXPECT_EQ(run.code, 130) << run.err;
        EXPECT_EQ(read("rows"), "timestamp,signal,value,unit\n1.0,can0.CAN.E.S,2,rpm\n");
        EXPECT_THAT(read("account"), HasSubstr("tavi: lost: nothing\n"));
        EXPECT_THAT(read("account"), EndsWith(", then interrupted\n"));
        EXPECT_THAT(read("report"), HasSubstr("\"interrupted\":true"));
    }
}

TEST_F(stream, leaves_whole_lines_when_interrupted_in_full_run) {
    const ended run =
        shell("(while cat long.log; do :; done) 2>feeder | \"$TAVI\" decode - -d e.dbc >rows 2>account &\n"
              "sleep 0.3\n"
              "kill -INT $!\n"
              "wait $!");
    EXPECT_EQ(run.code, 130) << run.err;
    const std::string rows = read("rows");
    EXPECT_THAT(rows.substr(rows.size() - 40), EndsWith("can0.CAN.E.S,2,rpm\n"));
}

} // namespace
} // namespace tavi::test
