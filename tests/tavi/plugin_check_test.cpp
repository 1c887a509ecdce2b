// `tavi plugins --check` with plug-ins that do harm; scripts/prove tries them all.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/prove/hostile_copy.hpp"
#include "tests/tavi/command.hpp"

namespace tavi::test {
namespace {

class plugin_check : public ::testing::Test, public workplace {
protected:
    plugin_check() {
        for (const std::string kind :
             {"data-matcher", "data-description-parser", "data-processor", "recording-reader", "signal-storage"}) {
            prove::write_hostile_plugin(TAVI_HOSTILE_PLUGIN, kind, path() / (kind + ".so"));
        }
    }

    ended check(const std::string& kind, const std::string& order, const std::string& limits = "") const {
        return shell("TAVI_HOSTILE=" + order + " \"$TAVI\" plugins --check " + kind + ".so " + limits + " 2>/dev/null");
    }
};

TEST_F(plugin_check, gives_a_verdict_whatever_the_plugin_does) {
    struct row {
        const char* kind;
        const char* order;
        const char* fault; // none for a plug-in that is fit
    };
    const row rows[] = {
        {"data-matcher", "nothing", nullptr},
        {"data-description-parser", "nothing", nullptr},
        {"data-processor", "nothing", nullptr},
        {"signal-storage", "nothing", nullptr},
        {"recording-reader", "nothing", nullptr},
        {"data-description-parser", "parse_buffer:fail", nullptr}, // a refusal is an answer
        {"data-matcher", "load:exit", "an instance and gives a locator: it ended the process, with exit code 0"},
        {"data-matcher", "create:crash", "makes an instance and gives a locator: it "},
        {"data-matcher", "create:fail", "makes an instance and gives a locator: no licence"},
        {"data-matcher", "create:throw", "gives a locator: an exception that is no std::exception"},
        {"data-matcher", "resolve:abort", "table qor_data_matcher_support_t: it crashed: Aborted"},
        {"data-matcher", "resolve:empty", "table qor_data_matcher_support_t has no 'match' function"},
        {"data-matcher", "match:loop", "matches no empty package: it has not ended within 3 s"},
        {"data-matcher", "match:stop", "matches no empty package: it has not ended within 3 s"},
        {"data-matcher", "match_batch:wild", "in a batch: it gave 9223372036854775807 outcomes"},
        {"data-matcher", "match:fork", "leaves no processes running: it did, they were ended"},
        {"data-matcher", "match:daemon", "leaves no processes running: it did, they were ended"},
        {"data-matcher", "unload:exit", "is destroyed and unloaded: it ended the process, with exit code 0"},
        {"data-processor", "get_supported_format_count:wild", "names its formats: 9223372036854775807 formats"},
        {"data-processor", "get_supported_format:null", "names its formats: a format without text"},
        {"data-processor", "process:exit", "no record of an empty package: it ended the process, with exit code 0"},
        {"data-description-parser", "parse_buffer:kill", "if only by a refusal: it crashed: Killed"},
        {"recording-reader", "get_format:wild", "names its formats: the name 'No Word' is not one word"},
        {"recording-reader", "get_supported_format_count:none", "has a format at least: it has none"},
        {"recording-reader", "recognise:wild", "random beginnings: the answer is 101"},
        {"recording-reader", "recognise:many", "random beginnings: it is, by 0 of an empty stream"},
        {"recording-reader", "open:null", "or refuses them: open gave neither a recording nor a failure"},
        {"recording-reader", "open:none", "refuses options that it does not have: it takes no-such-option=1"},
        {"recording-reader", "open:many", "the stream cannot be read: it comes to an end without a failure"},
        {"recording-reader", "next_batch:many", "a batch has more packages than the host takes"},
        {"recording-reader", "next_batch:wild", "a package has a source that get_sources does not have"},
        {"recording-reader", "next_batch:none", "the faults of a batch are not in the order of its packages"},
        {"recording-reader", "next_batch:null", "a fault has no cause"},
        {"recording-reader", "get_sources:null", "a source has no name"},
        {"recording-reader", "get_properties:null", "version or producer is at a null pointer"},
        {"recording-reader", "get_other_records:null", "there are other records at a null pointer"},
        {"recording-reader", "close:crash", "or refuses them: it crashed"},
        {"signal-storage", "find_node:throw_standard", "an exception out of a C function"},
    };
    for (const auto& [kind, order, fault] : rows) {
        const ended run = check(kind, order,
                                std::string(order).find(":loop") != std::string::npos ||
                                        std::string(order).find(":stop") != std::string::npos
                                    ? "--time-limit 3"
                                    : "--time-limit 60");
        EXPECT_EQ(run.code, fault == nullptr ? 0 : 4) << order << '\n' << run.out;
        EXPECT_THAT(run.out, ::testing::EndsWith(fault == nullptr ? ": fit for use\n" : ": not fit for use\n"))
            << order;
        if (fault != nullptr) {
            EXPECT_THAT(run.out, ::testing::ContainsRegex(std::string("FAULT .*") + fault)) << order;
        }
    }
}

TEST_F(plugin_check, is_ended_at_once_by_a_signal) {
    for (const std::string signal : {"INT", "TERM", "HUP"}) {
        const ended run =
            shell("rm -f rows; TAVI_HOSTILE=match:loop \"$TAVI\" plugins --check data-matcher.so --time-limit 100 "
                  ">rows & until grep -q withdrawn rows; do sleep 0.02; done; kill -" +
                  signal + " $!; wait $!");
        EXPECT_EQ(run.code, 130) << signal;
        EXPECT_THAT(read("rows"), ::testing::EndsWith(": not checked to the end: interrupted\n"));
    }
}

TEST_F(plugin_check, refuses_limits_that_are_none) {
    EXPECT_EQ(check("data-matcher", "nothing", "--time-limit 0").code, 2);
    EXPECT_EQ(check("data-matcher", "nothing", "--memory-limit 1").code, 2);
    EXPECT_EQ(tavi("plugins --time-limit 1").code, 2);
}

TEST(hangup, ends_a_decode_unless_it_is_ignored_at_the_start) {
    const workplace here;
    here.write("e.dbc", "BO_ 192 E: 2 X\n SG_ S : 0|16@1+ (1,0) [0|0] \"\" X\n");
    const std::string start = "mkfifo in; exec 3<>in; \"$TAVI\" decode - -d e.dbc <in >rows 2>account & "
                              "echo '(1.0) can0 0C0#0400' >&3; until grep -q can0 rows; do sleep 0.02; done; ";
    EXPECT_EQ(here.shell(start + "kill -HUP $!; wait $!").code, 130);
    EXPECT_THAT(here.read("account"), ::testing::HasSubstr("then interrupted"));
    // Still there after it, for the second row.
    EXPECT_EQ(here.shell("rm in; trap '' HUP; " + start +
                         "kill -HUP $!; sleep 0.1; echo '(2.0) can0 0C0#0400' >&3; "
                         "until grep -q ^2 rows; do sleep 0.02; done; kill -TERM $!; wait $!")
                  .code,
              130);
}

} // namespace
} // namespace tavi::test
