// Hostile plug-ins: every function of a plug-in of every kind with every deed of hostile_plugin.cpp, in two ways.
//
//   check    `tavi plugins --check` gives a verdict within its limits, and the right exit code
//   decode   a plug-in beside the extractor that fails without harming the process: `tavi decode` ends by itself, says
//            why when it fails, and gives the rows of a good run when it succeeds
#include <algorithm>
#include <fstream>
#include <string_view>

#include "tests/prove/hostile_copy.hpp"
#include "tests/prove/trial.hpp"
#include "tests/support/paths.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tavi::prove {
namespace {

namespace fs = std::filesystem;

struct kind {
    std::string word;
    std::vector<std::string> functions; // that a check calls
    std::vector<std::string> further;   // that a decode calls too
};

const std::vector<std::string> life = {"load", "create", "get_service_locator", "can_resolve", "resolve"};
const std::vector<std::string> end = {"destroy", "unload"};
const kind kinds[] = {
    {"data-matcher",
     {"get_supported_format_count", "get_supported_format", "unregister_type", "match", "match_batch"},
     {"register_type"}},
    {"data-description-parser",
     {"get_supported_format_count", "get_supported_format", "get_context_type", "parse_buffer"},
     {}},
    {"data-processor",
     {"get_supported_format_count", "get_supported_format", "unregister_type", "process"},
     {"register_type", "get_data_descriptions"}},
    {"recording-reader",
     {"get_supported_format_count", "get_format", "recognise", "open", "next_batch", "close", "get_sources",
      "get_properties", "get_other_records"},
     {}},
    {"signal-storage", {"find_node"}, {}},
};

// The process does not outlive these wherever they happen.
const std::vector<std::string> fatal = {"crash", "abort", "exit", "exit_with_handlers", "kill", "recurse", "close"};
// Only a limit of time ends these.
const std::vector<std::string> endless = {"loop", "stop", "flood"};
const std::vector<std::string> leaving = {"fork", "daemon"};
const std::vector<std::string> thrown = {"throw", "throw_standard"};
const std::vector<std::string> spoiling = {"fail", "fail_without_text", "fail_without_details", "null", "none", "many",
                                           "empty"};

bool is_count(const std::string& function) {
    return function == "get_supported_format_count" || function == "match_batch" || function == "process";
}

enum class expectation {
    fault,   // the check has to call the plug-in unfit
    verdict, // the check has to come to a verdict
    decode   // a decode has to end by itself
};

struct row {
    const kind* of;
    std::string function;
    std::string deed;
    expectation expected;

    std::string name() const { return of->word + ' ' + function + ':' + deed; }
};

void add_rows(std::vector<row>& rows, const kind& of, const std::string& function, effort effort) {
    const auto add = [&](const std::vector<std::string>& deeds, expectation expected) {
        for (const std::string& deed : deeds) {
            rows.push_back({&of, function, deed, expected});
        }
    };
    add(fatal, expectation::fault);
    add(leaving, expectation::fault);
    // Outside of a call an exception has no host to reach; what is no problem for the process is left to the verdict.
    add(thrown, expectation::fault);
    add(spoiling, expectation::verdict);
    add({"wild"}, is_count(function) ? expectation::fault : expectation::verdict);
    add({"thread"}, expectation::verdict);
    if (effort == effort::long_form || &of == kinds) {
        add(endless, expectation::fault);
    }
    if (TAVI_LIMITS_MEMORY && (effort == effort::long_form || &of == kinds)) {
        add({"memory"}, expectation::fault);
    }
}

std::vector<row> all_rows(effort effort) {
    std::vector<row> rows;
    for (const kind& of : kinds) {
        rows.push_back({&of, "nothing", "nothing", expectation::verdict});
        std::vector<std::string> functions = life;
        functions.insert(functions.end(), of.functions.begin(), of.functions.end());
        functions.insert(functions.end(), end.begin(), end.end());
        for (const std::string& function : functions) {
            add_rows(rows, of, function, effort);
        }
        functions.insert(functions.end(), of.further.begin(), of.further.end());
        for (const std::string& function : functions) {
            for (const auto* const deeds : {&thrown, &spoiling}) {
                // A static constructor that throws ends every process; a storage is the extractor's own.
                for (const std::string& deed : *deeds) {
                    if (function != "load" && function != "unload" && function != "destroy" &&
                        of.word != "signal-storage") {
                        rows.push_back({&of, function, deed, expectation::decode});
                    }
                }
            }
            if (is_count(function) && of.word != "signal-storage") {
                rows.push_back({&of, function, "wild", expectation::decode});
            }
        }
    }
    return rows;
}

// Every `step`th row of each expectation.
std::vector<row> thinned(const std::vector<row>& rows, std::size_t step) {
    std::vector<row> some;
    std::map<expectation, std::size_t> seen;
    for (const row& each : rows) {
        if (seen[each.expected]++ % step == 0) {
            some.push_back(each);
        }
    }
    return some;
}

class hostile_trial {
public:
    explicit hostile_trial(tally& counts) : counts_(counts) {
        for (const kind& of : kinds) {
            write_hostile_plugin(TAVI_HOSTILE_PLUGIN, of.word, plugin_of(of));
            const fs::path beside = folder_of(of);
            fs::create_directories(beside);
            for (const auto& library : fs::directory_iterator(test::library_folder)) {
                if (library.path().extension() == ".so") {
                    fs::create_symlink(library.path(), beside / library.path().filename());
                }
            }
            // The extractor looks for plug-ins beside its own file.
            const fs::path extractor = beside / "libqor_tavi_extractor.so";
            fs::copy_file(extractor, extractor.string() + ".copy");
            fs::rename(extractor.string() + ".copy", extractor);
            write_hostile_plugin(TAVI_HOSTILE_PLUGIN, of.word, beside / "libqor_hostile.so");
        }
        const std::string drive = std::string(test::source_folder) + "/examples/sample_drive/sample.";
        fs::copy_file(drive + "dbc", here_.path() / "sample.dbc");
        std::ofstream(here_.path() / "sample.log", std::ios::binary) << read_file(drive + "log").substr(0, 4000);
        std::ofstream(here_.path() / "sample.log", std::ios::binary | std::ios::app) << '\n';
        // With a matcher for "can" in the place of the real one, and without.
        good_rows_ = {decode(kinds[0], "nothing:nothing").out, decode(kinds[0], "get_supported_format_count:none").out};
    }

    void perform(const row& row) {
        if (row.expected == expectation::decode) {
            counts_.count("decode");
            judge_decode(row);
        } else {
            counts_.count("check");
            judge_check(row);
        }
    }

private:
    fs::path plugin_of(const kind& of) const { return here_.path() / ("lib" + of.word + ".so"); }
    fs::path folder_of(const kind& of) const { return here_.path() / of.word; }

    void judge_check(const row& row) {
        const bool ends_by_limit =
            std::find(endless.begin(), endless.end(), row.deed) != endless.end() || row.deed == "thread";
        const ended run =
            prove::run({{std::string(test::program_folder) + "/tavi", "plugins", "--check", plugin_of(*row.of).string(),
                         "--time-limit", ends_by_limit ? "0.5" : "60", "--memory-limit", "256"},
                        here_.path(),
                        {"TAVI_HOSTILE=" + row.function + ':' + row.deed}});
        const bool is_fit = run.out.ends_with(": fit for use\n");
        const bool is_unfit = run.out.ends_with(": not fit for use\n") && run.out.find("FAULT") != std::string::npos;
        const bool fits = run.code == 0 ? is_fit && !is_unfit : run.code == 4 && is_unfit;
        const bool expected = row.function == "nothing"            ? run.code == 0
                              : row.expected == expectation::fault ? run.code == 4
                                                                   : true;
        if (!fits || !expected) {
            counts_.report("check of " + row.name() + " ends with " + std::to_string(run.code) + ":\n" + run.out);
        }
    }

    ended decode(const kind& of, const std::string& order) const {
        return prove::run(
            {{std::string(test::program_folder) + "/tavi", "decode", "sample.log", "-d", "sample.dbc"},
             here_.path(),
             {"LD_LIBRARY_PATH=" + folder_of(of).string(), "TAVI_HOSTILE=" + order, "TAVI_HOSTILE_FORMAT=can"}});
    }

    void judge_decode(const row& row) {
        const ended run = decode(*row.of, row.function + ':' + row.deed);
        const bool ended_by_itself = run.code == 0 || run.code == 1 || run.code == 3 || run.code == 4;
        const bool says_why = run.code == 0 || !run.err.empty();
        const bool rows_are_good =
            run.code != 0 || std::find(good_rows_.begin(), good_rows_.end(), run.out) != good_rows_.end();
        if (!ended_by_itself || !says_why || !rows_are_good) {
            counts_.report("decode beside " + row.name() + " ends with " + std::to_string(run.code) + ":\n" + run.err);
        }
    }

    tally& counts_;
    test::temporary_directory here_;
    std::vector<std::string> good_rows_;
};

} // namespace
} // namespace tavi::prove

int main(int argc, char** argv) {
    using namespace tavi::prove;
    const effort effort = effort_of(argc, argv);
    tally counts("hostile plug-ins");
    hostile_trial trial(counts);
    std::vector<row> rows = all_rows(effort);
    if (effort == effort::smoke) {
        rows = thinned(rows, 29);
    }
    in_parallel(rows.size(), [&](std::size_t index) { trial.perform(rows[index]); });
    return counts.conclude();
}
