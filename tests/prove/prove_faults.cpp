// Faults of the system: each call of the system by the command fails once, with each of the errors that it may give.
//
// A run that ends with 0 has given what a run without faults gives; one that fails says why, and never that nothing was
// lost. None crashes or hangs. Inputs and catalogues stay as they were, an output file of an earlier run stays or is
// replaced by a whole one, and nothing else is left behind. Interrupted and short reads and writes make no difference.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "tests/prove/trial.hpp"
#include "tests/support/paths.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tavi::prove {
namespace {

namespace fs = std::filesystem;

using words = std::vector<std::string>;
using files = std::map<std::string, std::string>; // content by name

struct fault {
    const char* function;
    std::vector<int> errors; // 0 for a short count
    std::string name_of(int error) const {
        return std::string(function) + ' ' + (error == 0 ? "short" : strerrorname_np(error));
    }
};

const fault faults[] = {
    {"open", {EMFILE, EACCES, ENOMEM}},
    {"read", {EIO, EINTR, 0}},
    {"write", {ENOSPC, EIO, EINTR, 0}},
    {"mmap", {ENOMEM}},
    {"rename", {EIO, EACCES}},
    {"unlink", {EACCES}},
    {"fsync", {EIO}},
    {"truncate", {EIO}},
    {"close", {EIO}},
    {"stat", {EACCES, EIO}},
    {"opendir", {EMFILE}},
    {"readdir", {EIO}},
    {"dlopen", {ENOMEM}},
    {"pipe", {EMFILE}},
    {"fcntl", {ENOLCK}},
    {"thread", {EAGAIN}},
    {"poll", {EINTR}},
    {"seek", {EIO}},
    {"realpath", {EACCES}},
};

struct scenario {
    const char* name;
    words arguments;
    std::set<std::string> outputs; // files that the run makes or replaces
    std::string catalogue = {};    // that is in the folder before and is used
    bool runs_threads = false;     // the nth call is not always the same one
};

const scenario scenarios[] = {
    {"decode", {"decode", "sample.log", "-d", "sample.dbc", "-j", "1"}, {}},
    {"decode to files",
     {"decode", "sample.log", "-d", "sample.dbc", "-j", "1", "-o", "out.csv", "--report", "report"},
     {"out.csv", "report"}},
    {"decode in parallel",
     {"decode", "long.log", "-d", "sample.dbc", "-j", "3", "-s", "*.EngineSpeed", "-o", "out.csv"},
     {"out.csv"},
     {},
     true},
    {"decode into a catalogue",
     {"decode", "sample.log", "-d", "sample.dbc", "--storage", "file:new.db3", "-j", "1"},
     {"new.db3"}},
    {"decode with a catalogue",
     {"decode", "sample.log", "--storage", "file:old.db3", "-j", "1", "-o", "out.csv"},
     {"out.csv"},
     "old.db3"},
    {"register", {"register", "-d", "layout.sdl", "--storage", "file:old.db3"}, {}, "old.db3"},
    {"decode a receiver", {"decode", "sample.nmea"}, {}},
    {"decode memory", {"decode", "memory.bin", "-d", "layout.sdl", "--memory", "address=0x20000000"}, {}},
    {"tree", {"tree", "-d", "sample.dbc"}, {}},
    {"schema", {"schema", "CAN.EngineData", "-d", "sample.dbc"}, {}},
    {"filter", {"filter", "-d", "sample.dbc"}, {}},
    {"plugins", {"plugins"}, {}},
};

// What differs from run to run.
std::string without_times(const std::string& text) {
    static const std::regex time("( in |\"seconds\":)[0-9][0-9.e-]*");
    return std::regex_replace(text, time, "$1N");
}

files read_folder(const fs::path& folder) {
    files content;
    for (const auto& entry : fs::directory_iterator(folder)) {
        content[entry.path().filename().string()] = read_file(entry.path());
    }
    return content;
}

class fault_trial {
public:
    explicit fault_trial(tally& counts) : counts_(counts) {
        const std::string examples = std::string(test::source_folder) + "/examples/";
        for (const char* const path :
             {"sample_drive/sample.dbc", "gps/sample.nmea", "memory_layout/layout.sdl", "memory_layout/memory.bin"}) {
            given_[fs::path(path).filename().string()] = read_file(examples + path);
        }
        const std::string log = read_file(examples + "sample_drive/sample.log");
        given_["sample.log"] = log.substr(0, log.find('\n', 100'000) + 1);
        given_["long.log"] = log + log;
        given_["out.csv"] = given_["report"] = "of an earlier run\n";
        const test::temporary_directory folder;
        lay(folder.path(), given_);
        run_in(folder.path(), {"register", "-d", "sample.dbc", "--storage", "file:old.db3"}, "");
        given_["old.db3"] = read_file(folder.path() / "old.db3");
    }

    // All cases of a scenario, each by its number.
    void prepare(const scenario& what, effort effort) {
        const test::temporary_directory folder;
        lay(folder.path(), given_of(what));
        good good;
        good.run = run_in(folder.path(), what.arguments, "TAVI_FAULT_COUNTS=" + folder.path().string() + ".counts");
        good.after = read_folder(folder.path());
        good.catalogue = what.catalogue.empty() ? "" : tree_of(folder.path());
        lay(folder.path(), {{what.catalogue.empty() ? "old.db3" : what.catalogue, given_["old.db3"]}});
        good.catalogue_before = what.catalogue.empty() ? "" : tree_of(folder.path());
        if (good.run.code != 0) {
            counts_.report(std::string(what.name) + " fails without a fault: " + good.run.err);
        }
        std::istringstream counts(read_file(folder.path().string() + ".counts"));
        fs::remove(folder.path().string() + ".counts");
        std::map<std::string, unsigned> calls;
        for (std::string function; counts >> function >> calls[function];) {
        }
        const std::size_t index = good_.size();
        good_.push_back(good);
        for (const fault& fault : faults) {
            for (const int error : fault.errors) {
                for (const unsigned number : chosen(calls[fault.function], effort)) {
                    cases_.push_back({&what, index, &fault, error, number});
                }
            }
        }
    }

    std::size_t size() const noexcept { return cases_.size(); }

    void perform(std::size_t index) {
        const one_case& what = cases_[index];
        counts_.count(what.of->name);
        const test::temporary_directory folder;
        const files before = given_of(*what.of);
        lay(folder.path(), before);
        const std::string order = std::string(what.injected->function) + ':' + std::to_string(what.number) + ':' +
                                  (what.error == 0 ? "short" : std::to_string(what.error));
        const ended run = run_in(folder.path(), what.of->arguments, "TAVI_FAULT=" + order);
        std::string findings = judge(what, run) + judge_files(what, run, before, read_folder(folder.path()));
        if (!what.of->catalogue.empty()) {
            findings += judge_catalogue(what, run, tree_of(folder.path()));
        }
        if (!findings.empty()) {
            counts_.report(std::string(what.of->name) + ", call " + std::to_string(what.number) + " of " +
                           what.injected->name_of(what.error) + findings + "\n  code " + std::to_string(run.code) +
                           ", stderr: " + run.err.substr(0, 400));
        }
    }

private:
    struct good {
        ended run;
        files after;
        std::string catalogue;        // what is in the catalogue after the run
        std::string catalogue_before; // and before it
    };
    struct one_case {
        const scenario* of;
        std::size_t good_index;
        const fault* injected;
        int error;
        unsigned number;
    };

    static void lay(const fs::path& folder, const files& content) {
        for (const auto& [name, bytes] : content) {
            std::ofstream(folder / name, std::ios::binary) << bytes;
        }
    }

    // The files that it names.
    files given_of(const scenario& what) const {
        files content;
        for (const auto& [name, bytes] : given_) {
            const bool named = std::any_of(what.arguments.begin(), what.arguments.end(), [&](const std::string& word) {
                return word == name || word == "file:" + name;
            });
            if (named) {
                content[name] = bytes;
            }
        }
        return content;
    }

    static ended run_in(const fs::path& folder, const words& arguments, const std::string& setting) {
        words all = {std::string(test::program_folder) + "/tavi"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        words environment;
        if (!setting.empty()) {
            environment = {setting, "LD_PRELOAD=" TAVI_FAULT_INJECTOR};
        }
        return run({all, folder, environment});
    }

    static std::string tree_of(const fs::path& folder) {
        const ended run = run_in(folder, {"tree", "--storage", "file:old.db3"}, "");
        return run.code == 0 ? run.out : "code " + std::to_string(run.code) + ": " + run.err;
    }

    // Some of the calls 1 to `count`: the first ones, the last one, and some between them.
    static std::vector<unsigned> chosen(unsigned count, effort effort) {
        if (effort == effort::smoke) {
            return count == 0 ? std::vector<unsigned>() : std::vector<unsigned>{(count + 1) / 2};
        }
        const unsigned all_to = effort == effort::long_form ? count : 8;
        std::vector<unsigned> numbers;
        for (unsigned number = 1; number < count; number += number < all_to ? 1 : 1 + number / 2) {
            numbers.push_back(number);
        }
        if (count != 0) {
            numbers.push_back(count);
        }
        return numbers;
    }

    std::string judge(const one_case& what, const ended& run) const {
        const good& good = good_[what.good_index];
        const bool transparent = what.error == 0 || what.error == EINTR;
        std::string findings;
        if (run.code < 0 || (run.code >= 128 && run.code != 130)) {
            return "\n  did not end by itself";
        }
        if (transparent && run.code != 0) {
            findings += "\n  made a difference";
        }
        if (run.code == 0 && (run.out != good.run.out || without_times(run.err) != without_times(good.run.err))) {
            findings += "\n  ended with 0, and its output is another one";
        }
        if (run.code != 0 && run.err.empty() && run.out == good.run.out) {
            findings += "\n  failed without a word";
        }
        // It speaks of the values: not of a report that cannot be written.
        if (run.code != 0 && run.err.find("lost: nothing") != std::string::npos &&
            run.err.find("\nreport: error: ") == std::string::npos) {
            findings += "\n  failed and said that nothing was lost";
        }
        return findings;
    }

    std::string judge_files(const one_case& what, const ended& run, const files& before, const files& after) const {
        const good& good = good_[what.good_index];
        std::string findings;
        for (const auto& [name, bytes] : before) {
            const auto now = after.find(name);
            if (name == what.of->catalogue) {
                continue;
            }
            if (now == after.end()) {
                findings += "\n  removed " + name;
            } else if (!what.of->outputs.contains(name) && now->second != bytes) {
                findings += "\n  changed " + name;
            }
        }
        for (const auto& [name, bytes] : after) {
            const bool is_output = what.of->outputs.contains(name);
            if (!is_output && !before.contains(name) && !good.after.contains(name) &&
                what.injected->function != std::string("unlink") && !is_announced_part(name, bytes, run, good.after)) {
                findings += "\n  left " + name;
            }
            // A catalogue is judged by what it holds.
            if (is_output && !name.ends_with(".db3")) {
                const auto of_earlier_run = before.find(name);
                const bool is_old = of_earlier_run != before.end() && of_earlier_run->second == bytes;
                const bool is_good = without_times(bytes) == without_times(good.after.at(name));
                const bool is_report = name == "report"; // which is written of failures too
                if (run.code == 0 ? !is_good : !is_old && !is_good && !(is_report && bytes.ends_with("}\n"))) {
                    findings += "\n  " + name + (run.code == 0 ? " is another one" : " is cut short");
                }
            }
        }
        return findings;
    }

    // The first rows of a good run, kept by a failed one that says so.
    static bool is_announced_part(const std::string& name, const std::string& bytes, const ended& run,
                                  const files& good) {
        const std::string whole = name.ends_with(".part") ? name.substr(0, name.size() - 5) : "";
        return good.contains(whole) && good.at(whole).starts_with(bytes) && run.code != 0 &&
               run.err.find(" are in " + name) != std::string::npos;
    }

    std::string judge_catalogue(const one_case& what, const ended& run, const std::string& held) const {
        const good& good = good_[what.good_index];
        if (held != good.catalogue && (run.code == 0 || held != good.catalogue_before)) {
            return "\n  then the catalogue holds: " + held.substr(0, 200);
        }
        return "";
    }

    tally& counts_;
    files given_;
    std::vector<good> good_;
    std::vector<one_case> cases_;
};

} // namespace
} // namespace tavi::prove

int main(int argc, char** argv) {
    using namespace tavi::prove;
    const effort effort = effort_of(argc, argv);
    tally counts("faults of the system");
    fault_trial trial(counts);
    for (const scenario& each : scenarios) {
        trial.prepare(each, effort);
    }
    in_parallel(trial.size(), [&](std::size_t index) { trial.perform(index); });
    return counts.conclude();
}
