// The child leads a process group of its own, so that one signal reaches it and what it starts. On Linux the parent
// also adopts what left that group when the child ends. Reports come through a pipe, whose end is no sign of the
// child's own: a process that it has started may hold the pipe open, and the child may close it.
#include "qorcpp/platform/child_process.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

#include "qorcpp/platform/stream.hpp"

#if defined(__has_feature)
#define QORCPP_HAS_FEATURE(feature) __has_feature(feature)
#else
#define QORCPP_HAS_FEATURE(feature) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || QORCPP_HAS_FEATURE(address_sanitizer) ||          \
    QORCPP_HAS_FEATURE(thread_sanitizer)
#define QORCPP_LIMITS_MEMORY 0
#else
#define QORCPP_LIMITS_MEMORY 1
#endif

namespace qor::platform {

namespace {

using clock = std::chrono::steady_clock;

// Where a child finds the pipe.
constexpr int report_descriptor = 3;
// How often the parent looks whether the child has ended.
constexpr int tick_milliseconds = 5;
// A millisecond each: for processes that start others faster than they are ended.
constexpr int most_rounds = 1000;

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

class descriptor {
public:
    explicit descriptor(int number) noexcept : number_(number) {}
    ~descriptor() { close(); }
    descriptor(const descriptor&) = delete;
    descriptor& operator=(const descriptor&) = delete;

    int number() const noexcept { return number_; }
    void close() noexcept {
        if (number_ >= 0) {
            ::close(number_);
            number_ = -1;
        }
    }

private:
    int number_;
};

void limit(decltype(RLIMIT_AS) resource, std::uint64_t most) {
    rlimit current{};
    if (::getrlimit(resource, &current) == 0) {
        current.rlim_cur = std::min<rlim_t>(most, current.rlim_max);
        current.rlim_max = current.rlim_cur;
        ::setrlimit(resource, &current);
    }
}

// After fork: calls of the system only. 127 is what shells give for a program that cannot be started.
[[noreturn]] void become_child(const char* program, char* const* arguments, int report, int nothing, pid_t parent,
                               [[maybe_unused]] std::uint64_t memory) {
    ::setpgid(0, 0);
#ifdef __linux__
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
    if (::getppid() != parent) {
        ::_exit(127);
    }
    limit(RLIMIT_CORE, 0);
#if QORCPP_LIMITS_MEMORY
    limit(RLIMIT_AS, memory);
#endif
    // dup2 leaves a descriptor that has its number already closed to the new program.
    const int moved = report == report_descriptor ? ::fcntl(report, F_SETFD, 0) : ::dup2(report, report_descriptor);
    if (moved >= 0 && ::dup2(nothing, STDIN_FILENO) >= 0 && ::dup2(STDERR_FILENO, STDOUT_FILENO) >= 0) {
        ::execv(program, arguments);
    }
    ::_exit(127);
}

// Ends what the child of this group has started, after its own end. True when anything of it was still running.
bool end_descendants([[maybe_unused]] pid_t group) {
#ifdef __linux__
    bool any = false;
    for (int round = 0; round < most_rounds; ++round) {
        pid_t ended = 0;
        do {
            ended = ::waitpid(-1, nullptr, WNOHANG);
        } while (ended > 0 || (ended < 0 && errno == EINTR));
        if (ended < 0) {
            break; // no child is left
        }
        any = true;
        ::kill(group, SIGKILL);
        std::ifstream children("/proc/thread-self/children");
        for (pid_t process = 0; children >> process;) {
            ::kill(process, SIGKILL);
        }
        ::poll(nullptr, 0, 1);
    }
    return any;
#else
    return ::kill(group, SIGKILL) == 0;
#endif
}

// A started child. Its end, or that of the object, is the end of all that it has started.
class child {
public:
    child(pid_t process, const child_limits& limits) : process_(process), deadline_(clock::now() + limits.time) {}
    ~child() { end(); }
    child(const child&) = delete;
    child& operator=(const child&) = delete;

    child_end follow(int reports, const std::function<void(std::string_view)>& report) {
        child_end result{child_end::kind::exited, 0, {}, false};
        while (!ended()) {
            if (interrupted() || clock::now() >= deadline_) {
                result.how = interrupted() ? child_end::kind::interrupted : child_end::kind::timed_out;
                break;
            }
            pass_on(reports, report, tick_milliseconds);
        }
        const bool by_itself = result.how == child_end::kind::exited;
        const bool left = end();
        pass_on(reports, report, 0);
        if (by_itself) {
            result.left_processes = left;
            if (WIFSIGNALED(status_)) {
                result.how = child_end::kind::crashed;
                result.cause = ::strsignal(WTERMSIG(status_));
            } else {
                result.exit_code = WEXITSTATUS(status_);
            }
        }
        return result;
    }

private:
    // Whether the child has ended by itself; it is not yet removed, so that its number stays its own.
    bool ended() const {
        siginfo_t information{};
        return ::waitid(P_PID, static_cast<id_t>(process_), &information, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               information.si_pid == process_;
    }

    // True when something that the child had started was still running.
    bool end() {
        if (process_ == 0) {
            return false;
        }
        if (!ended()) {
            ::kill(-process_, SIGKILL);
        }
        while (::waitpid(process_, &status_, 0) < 0 && errno == EINTR) {
        }
        return end_descendants(-std::exchange(process_, 0));
    }

    void pass_on(int reports, const std::function<void(std::string_view)>& report, int wait_milliseconds) {
        std::array<char, 4096> bytes;
        pollfd watched{reports_open_ ? reports : -1, POLLIN, 0};
        while (::poll(&watched, 1, wait_milliseconds) > 0) {
            const auto count = ::read(reports, bytes.data(), bytes.size());
            if (count <= 0) {
                reports_open_ = false;
                return;
            }
            report({bytes.data(), static_cast<std::size_t>(count)});
            if (clock::now() >= deadline_) {
                return; // who reports without end is ended too
            }
            wait_milliseconds = 0;
        }
    }

    pid_t process_;
    clock::time_point deadline_;
    int status_ = 0;
    bool reports_open_ = true;
};

} // namespace

child_end run_limited(const std::string& program, const std::vector<std::string>& arguments, const child_limits& limits,
                      const std::function<void(std::string_view)>& report) {
    std::vector<std::string> words = arguments;
    words.insert(words.begin(), program);
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);

    std::array<int, 2> ends{-1, -1};
    if (::pipe(ends.data()) != 0) {
        fail("cannot make a pipe");
    }
    const descriptor reading(ends[0]);
    descriptor writing(ends[1]);
    for (const int end : ends) {
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
    }
    const descriptor nothing(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    if (nothing.number() < 0) {
        fail("cannot open /dev/null");
    }
#ifdef __linux__
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
#endif
    const pid_t parent = ::getpid();
    const pid_t process = ::fork();
    if (process < 0) {
        fail("cannot start a process");
    }
    if (process == 0) {
        become_child(program.c_str(), pointers.data(), writing.number(), nothing.number(), parent, limits.memory);
    }
    ::setpgid(process, process); // whoever comes first
    child started(process, limits);
    writing.close();
    return started.follow(reading.number(), report);
}

void report_to_parent(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto written = ::write(report_descriptor, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            fail("cannot report");
        }
    }
}

} // namespace qor::platform
