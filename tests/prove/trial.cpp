#include "tests/prove/trial.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/temporary_directory.hpp"

extern char** environ;

namespace tavi::prove {

namespace fs = std::filesystem;

effort effort_of(int argc, char** argv) {
    const std::string word = argc > 1 ? argv[1] : "--short";
    if (argc <= 2 && word == "--smoke") {
        return effort::smoke;
    }
    if (argc <= 2 && (word == "--short" || word == "--long")) {
        return word == "--short" ? effort::short_form : effort::long_form;
    }
    std::fprintf(stderr, "usage: %s [--smoke|--short|--long]\n", argv[0]);
    std::exit(2);
}

void tally::count(const std::string& group) {
    const std::lock_guard lock(mutex_);
    ++counts_[group];
}

void tally::report(const std::string& finding) {
    constexpr std::size_t most_printed = 40;
    const std::lock_guard lock(mutex_);
    if (++findings_ <= most_printed) {
        std::printf("FINDING %s: %s\n", subject_.c_str(), finding.c_str());
        std::fflush(stdout);
    }
}

int tally::conclude() const {
    const std::lock_guard lock(mutex_);
    std::size_t all = 0;
    std::string groups;
    for (const auto& [group, number] : counts_) {
        all += number;
        groups += (groups.empty() ? "" : ", ") + group + ' ' + std::to_string(number);
    }
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start_;
    std::printf("%s: %zu cases (%s), %zu findings, %.0f s\n", subject_.c_str(), all, groups.c_str(), findings_,
                taken.count());
    return findings_ == 0 && all != 0 ? 0 : 1;
}

ended run(const command& what) {
    const test::temporary_directory outputs;
    const std::string out = (outputs.path() / "out").string();
    const std::string err = (outputs.path() / "err").string();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, what.folder.c_str());
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, out.c_str(), O_WRONLY | O_CREAT, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, err.c_str(), O_WRONLY | O_CREAT, 0600);
    std::vector<std::string> words = what.words;
    std::vector<std::string> added = what.environment;
    std::vector<char*> arguments, environment;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    for (std::string& setting : added) {
        environment.push_back(setting.data());
    }
    for (char** setting = environ; *setting != nullptr; ++setting) {
        environment.push_back(*setting);
    }
    arguments.push_back(nullptr);
    environment.push_back(nullptr);
    const auto start = std::chrono::steady_clock::now();
    pid_t process = 0;
    const int failed =
        posix_spawn(&process, words.front().c_str(), &actions, nullptr, arguments.data(), environment.data());
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) {
        throw std::system_error(failed, std::generic_category(), words.front());
    }
    ended result;
    int status = 0;
    bool in_time = true;
    while (waitpid(process, &status, WNOHANG) == 0) {
        if (in_time && std::chrono::steady_clock::now() - start > what.limit) {
            in_time = false;
            kill(process, SIGKILL);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    result.code = !in_time ? -1 : WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    result.out = read_file(out);
    result.err = read_file(err);
    return result;
}

void in_parallel(std::size_t count, const std::function<void(std::size_t)>& work) {
    std::atomic<std::size_t> next{0};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < std::max(1u, std::thread::hardware_concurrency()); ++i) {
        threads.emplace_back([&] {
            for (std::size_t index = next++; index < count; index = next++) {
                work(index);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

std::string read_file(const fs::path& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

} // namespace tavi::prove
