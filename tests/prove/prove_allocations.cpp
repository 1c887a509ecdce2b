// Shortage of memory: every single allocation in the life of an extractor fails, in three ways. A case is a process of
// its own, forked from a life that went well until then, so that a crash is a finding like any other.
//
//   once      one allocation fails. The call fails for lack of memory and succeeds when it is repeated, or it did
//             without. All calls after it give what they give in a good life
//   call      all allocations fail from there to the end of the call; then as above
//   to end    all allocations fail from there on, during the end of the extractor too
//
// In each case nothing is left allocated in the end.
//
//   prove_allocations [--smoke|--short|--long]
//   prove_allocations --part STORAGE WAY STRIDE     what the above starts: every STRIDEth allocation
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sys/wait.h>
#include <unistd.h>

#include "tests/prove/extractor_life.hpp"
#include "tests/prove/trial.hpp"
#include "tests/support/memory_shortage.hpp"
#include "tests/support/temporary_directory.hpp"

namespace tavi::prove {
namespace {

enum class way { once, call, to_end };
const char* const way_names[] = {"once", "call", "to end"};

bool equal(const answer& left, const answer& right) {
    return left.status == right.status && left.text == right.text && left.content == right.content;
}

std::string shown(const answer& given) {
    char status[16];
    std::snprintf(status, sizeof(status), "0x%08X", given.status);
    return std::string(status) + (given.has_details ? " '" + given.text + "'" : " without details") +
           (given.content.empty() ? "" : " and content '" + given.content.substr(0, 200) + "'");
}

// A failure that says that memory ran out. The last text is that of a service name that cannot be made.
bool is_shortage(const answer& given) {
    const auto says = [&given](const char* text) { return given.text.find(text) != std::string::npos; };
    return given.status != QOR_STATUS_OK && (says("memory") || says("unavailable") || says("not a valid object"));
}

// Without how many sentences the receiver counted: the first eight bytes of the statistics.
std::string without_count(std::string content) {
    const std::size_t record = content.find(extractor_life::sentence_statistics);
    return record == std::string::npos ? content : content.replace(record, 18, "5=N");
}

class sweep {
public:
    sweep(bool on_disk, way how, std::size_t stride, tally& counts)
        : on_disk_(on_disk), how_(how), stride_(stride), counts_(counts) {}

    void run() {
        keep_good_answers();
        extractor_life life(uri(folder_));
        for (std::size_t step = 0; step < good_.size(); ++step) {
            std::size_t number = 1 + step % stride_;
            while (try_case(life, step, number)) {
                number += stride_;
            }
            if (!on_disk_) {
                life.perform(step);
            }
        }
    }

private:
    std::string uri(const test::temporary_directory& folder) const {
        return on_disk_ ? "file:" + (folder.path() / "c.db3").string() : "file:prove?mode=memory";
    }

    // From a second life: the first one has what is made once in a process.
    void keep_good_answers() {
        for (int round = 0; round < 2; ++round) {
            const test::temporary_directory folder;
            extractor_life life(uri(folder));
            good_.clear();
            for (std::size_t step = 0; step < life.step_count(); ++step) {
                good_.push_back(life.perform(step));
                const bool fails = std::strcmp(life.name(step), "unknown name") == 0;
                if (good_.back().good() == fails) {
                    counts_.report(std::string(life.name(step)) + " gives " + shown(good_.back()) + " in a good life");
                }
            }
            if (round == 1 && life.blocks() != 0) {
                counts_.report("a good life leaves " + std::to_string(life.blocks()) + " blocks");
            }
        }
    }

    // False when the step has no such allocation.
    bool try_case(extractor_life& life, std::size_t step, std::size_t number) {
        int ends[2];
        if (pipe(ends) != 0) {
            std::abort();
        }
        std::fflush(stdout);
        const pid_t process = fork();
        if (process == 0) {
            perform_in_child(life, step, number, ends[1]);
        }
        close(ends[1]);
        std::string told;
        char bytes[4096];
        for (ssize_t count; (count = read(ends[0], bytes, sizeof(bytes))) > 0;) {
            told.append(bytes, static_cast<std::size_t>(count));
        }
        close(ends[0]);
        int status = 0;
        waitpid(process, &status, 0);
        const bool struck = told.empty() || told[0] != 'n';
        if (struck) {
            counts_.count(std::string(on_disk_ ? "disk, " : "memory, ") + way_names[static_cast<int>(how_)]);
        }
        const std::string place = std::string(on_disk_ ? "disk, " : "memory, ") + way_names[static_cast<int>(how_)] +
                                  ", allocation " + std::to_string(number) + " of '" + life.name(step) + "' (step " +
                                  std::to_string(step) + ")";
        if (!WIFEXITED(status)) {
            counts_.report(place + ": ended by signal " + std::to_string(WTERMSIG(status)));
        } else if (told.size() > 1) {
            counts_.report(place + told.substr(1));
        }
        return struck;
    }

    [[noreturn]] void perform_in_child(extractor_life& forked, std::size_t step, std::size_t number, int report) {
        // Of a child's own: connections to a database are not for two processes.
        std::optional<test::temporary_directory> folder;
        std::optional<extractor_life> own;
        if (on_disk_) {
            folder.emplace();
            own.emplace(uri(*folder));
            for (std::size_t before = 0; before < step; ++before) {
                own->perform(before);
            }
        }
        findings_.clear();
        const bool struck = judge(own ? *own : forked, step, {number, how_ != way::once});
        own.reset();
        folder.reset();
        const std::string told = (struck ? "s" : "n") + findings_;
        [[maybe_unused]] const auto written = write(report, told.data(), told.size());
        _exit(0);
    }

    bool judge(extractor_life& life, std::size_t step, const shortage_plan& plan) {
        const answer first = life.perform(step, plan);
        if (!first.struck) {
            return false;
        }
        const bool in_spite = equal(first, good_[step]);
        if (!in_spite && !is_shortage(first)) {
            find("gives " + shown(first));
        }
        if (how_ == way::to_end) {
            for (std::size_t next = step + 1; next < good_.size(); ++next) {
                const answer later = life.perform(next, {1, true});
                if (later.status != QOR_STATUS_OK && later.text.empty() &&
                    later.status != QOR_STATUS_BUFFER_TOO_SMALL) {
                    find("then '" + std::string(life.name(next)) + "' gives " + shown(later));
                }
            }
        } else {
            if (const bool last = step + 1 == good_.size(); !in_spite && !last) {
                const answer again = life.perform(step);
                processor_is_bound_ = is_without_processor(life, step, again);
                sentence_came_twice_ = std::string(life.name(step)).starts_with("process sentence");
                if (!processor_is_bound_) {
                    expect(again, step, "repeated");
                }
            }
            for (std::size_t next = step + 1; next < good_.size(); ++next) {
                expect(life.perform(next), next, life.name(next));
            }
        }
        if (life.blocks() != 0) {
            find("leaves " + std::to_string(life.blocks()) + " blocks");
        }
        return true;
    }

    // A data processor that was bound before the call failed stays bound, and its descriptions are registered with that
    // call only: they are missing from then on.
    bool is_without_processor(const extractor_life& life, std::size_t step, const answer& again) const {
        return std::strcmp(life.name(step), "register receiver") == 0 && again.good() && !again.content.empty() &&
               again.content.size() < good_[step].content.size() && good_[step].content.starts_with(again.content);
    }

    void expect(const answer& given, std::size_t step, const std::string& what) {
        const bool differs_for_a_reason = (processor_is_bound_ && (given.good() || !given.text.empty())) ||
                                          (sentence_came_twice_ && given.good() &&
                                           without_count(given.content) == without_count(good_[step].content));
        if (!differs_for_a_reason && !equal(given, good_[step])) {
            find(what + " gives " + shown(given) + " instead of " + shown(good_[step]));
        }
    }

    void find(const std::string& text) { findings_ += (findings_.empty() ? ": " : "; ") + text; }

    const bool on_disk_;
    const way how_;
    const std::size_t stride_;
    tally& counts_;
    const test::temporary_directory folder_;
    std::vector<answer> good_;
    std::string findings_;
    bool processor_is_bound_ = false;
    bool sentence_came_twice_ = false; // the receiver counts a package that is repeated after a failure once more
};

int run_part(char** arguments) {
    const bool on_disk = std::strcmp(arguments[0], "disk") == 0;
    const auto how = static_cast<way>(std::atoi(arguments[1]));
    tally counts("allocations");
    sweep(on_disk, how, static_cast<std::size_t>(std::atoi(arguments[2])), counts).run();
    return counts.conclude();
}

// Each part in a process of its own, since threads and fork do not go together.
int run_parts(const char* program, effort effort) {
    struct part {
        const char* storage;
        way how;
    };
    const part parts[] = {{"disk", way::once},   {"disk", way::call},   {"disk", way::to_end},
                          {"memory", way::once}, {"memory", way::call}, {"memory", way::to_end}};
    std::mutex printing;
    int code = 0;
    in_parallel(std::size(parts), [&](std::size_t index) {
        const part& part = parts[index];
        const bool on_disk = std::strcmp(part.storage, "disk") == 0;
        const char* const stride = effort == effort::smoke        ? (on_disk ? "499" : "97")
                                   : effort == effort::short_form ? (on_disk ? "17" : "1")
                                                                  : "1";
        const ended run =
            prove::run({{program, "--part", part.storage, std::to_string(static_cast<int>(part.how)), stride},
                        "/",
                        {},
                        std::chrono::hours(2)});
        const std::lock_guard lock(printing);
        std::printf("%s%s", run.out.c_str(), run.err.c_str());
        code = run.code != 0 ? 1 : code;
    });
    return code;
}

} // namespace
} // namespace tavi::prove

int main(int argc, char** argv) {
    using namespace tavi::prove;
    if (!tavi::test::memory_shortage::is_possible()) {
        std::printf("allocations: the heap of this build cannot be replaced\n");
        return 0;
    }
    if (argc == 5 && std::strcmp(argv[1], "--part") == 0) {
        return run_part(argv + 2);
    }
    return run_parts(std::filesystem::canonical("/proc/self/exe").c_str(), effort_of(argc, argv));
}
