// What the programs of scripts/prove have in common: how much they try, what they count, and commands run in parallel.
#ifndef TESTS_PROVE_TRIAL_HPP
#define TESTS_PROVE_TRIAL_HPP

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace tavi::prove {

// Smoke: what ctest runs, in seconds. Short: within a minute or two for each program. Long: everything.
enum class effort { smoke, short_form, long_form };

// Of --smoke, --short (which is the default) or --long. Ends the program for other arguments.
effort effort_of(int argc, char** argv);

// Cases and findings. Thread: any.
class tally {
public:
    explicit tally(std::string subject) : subject_(std::move(subject)) {}

    void count(const std::string& group);
    // Prints the finding at once, unless there were many already.
    void report(const std::string& finding);
    // Prints the counts and gives the exit code of the program: 1 when there were findings or no cases.
    int conclude() const;

private:
    mutable std::mutex mutex_;
    std::string subject_;
    std::map<std::string, std::size_t> counts_;
    std::size_t findings_ = 0;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// A command that has ended.
struct ended {
    int code = 0; // exit code, 128 + the signal that ended it, or -1 when it was ended after `limit`
    double seconds = 0;
    std::string out;
    std::string err;
};

// What to run, in a folder. The environment is that of this process with `environment` added, "NAME=VALUE" each.
struct command {
    std::vector<std::string> words;
    std::filesystem::path folder;
    std::vector<std::string> environment;
    std::chrono::seconds limit{120};
};

// Reads nothing. Throws: std::system_error when no process can be started.
ended run(const command& what);

// Calls `work(index)` for 0 to `count` - 1 in as many threads as there are processors.
void in_parallel(std::size_t count, const std::function<void(std::size_t)>& work);

std::string read_file(const std::filesystem::path& path);

} // namespace tavi::prove

#endif
