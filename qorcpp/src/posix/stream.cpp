#include "qorcpp/platform/stream.hpp"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qor::platform {

namespace {

// A byte in this pipe wakes whoever waits for input, so that no interrupt is lost between a test and a wait.
std::array<int, 2> wake_pipe{-1, -1};
// The signal comes in any thread, and every thread asks.
std::atomic<bool> interrupt_noted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void note_interrupt(int) {
    const int saved = errno;
    interrupt_noted = true;
    const char byte = 0;
    [[maybe_unused]] const auto written = ::write(wake_pipe[1], &byte, 1);
    errno = saved;
}

std::array<int, 2> make_pipe() noexcept {
    std::array<int, 2> ends{-1, -1};
    if (::pipe(ends.data()) == 0) {
        for (const int end : ends) {
            ::fcntl(end, F_SETFD, FD_CLOEXEC);
        }
    }
    return ends;
}

[[noreturn]] void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

} // namespace

input_stream::input_stream() noexcept : input_stream(STDIN_FILENO) {}

input_stream::input_stream(int descriptor) noexcept : descriptor_(descriptor) {
    struct stat status {};
    if (::fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode)) {
        size_ = static_cast<std::uint64_t>(status.st_size);
    } else {
        end_pipe_ = make_pipe();
    }
}

input_stream::input_stream(const std::string& path)
    : descriptor_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)), owned_(true) {
    if (descriptor_ < 0) {
        fail("cannot open");
    }
    struct stat status {};
    if (::fstat(descriptor_, &status) == 0) {
        if (S_ISDIR(status.st_mode)) {
            ::close(descriptor_);
            errno = EISDIR;
            fail("cannot read");
        }
        if (S_ISREG(status.st_mode)) {
            size_ = static_cast<std::uint64_t>(status.st_size);
            return;
        }
    }
    end_pipe_ = make_pipe();
}

input_stream::~input_stream() {
    if (owned_) {
        ::close(descriptor_);
    }
    for (const int end : end_pipe_) {
        if (end >= 0) {
            ::close(end);
        }
    }
}

void input_stream::seek(std::uint64_t offset) {
    if (::lseek(descriptor_, static_cast<off_t>(offset), SEEK_SET) < 0) {
        fail("cannot seek");
    }
}

void input_stream::end() noexcept {
    const char byte = 0;
    [[maybe_unused]] const auto written = ::write(end_pipe_[1], &byte, 1);
}

bool input_stream::wait() {
    std::array<pollfd, 3> watched{{{descriptor_, POLLIN, 0}, {wake_pipe[0], POLLIN, 0}, {end_pipe_[0], POLLIN, 0}}};
    while (!interrupted()) {
        if (::poll(watched.data(), watched.size(), -1) > 0 && (watched[0].revents | watched[2].revents) != 0) {
            return !interrupted() && watched[2].revents == 0;
        }
    }
    return false;
}

std::size_t input_stream::read(char* buffer, std::size_t room) {
    for (;;) {
        if (interrupted() || (!size_ && !wait())) {
            return 0;
        }
        const auto count = ::read(descriptor_, buffer, room);
        if (count >= 0) {
            return static_cast<std::size_t>(count);
        }
        if (errno != EINTR && errno != EAGAIN) {
            fail("cannot read");
        }
    }
}

output_stream::output_stream() noexcept : descriptor_(STDOUT_FILENO), owned_(false) {}

output_stream::output_stream(const std::string& path)
    : descriptor_(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)), owned_(true) {
    if (descriptor_ < 0) {
        fail("cannot open");
    }
}

output_stream::~output_stream() {
    if (owned_ && descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

bool output_stream::is_terminal() const noexcept {
    return ::isatty(descriptor_) == 1;
}

void output_stream::write(const char* bytes, std::size_t count) {
    while (count != 0) {
        const auto written = ::write(descriptor_, bytes, count);
        if (written >= 0) {
            bytes += written;
            count -= static_cast<std::size_t>(written);
        } else if (errno == EAGAIN) {
            pollfd watched{descriptor_, POLLOUT, 0};
            ::poll(&watched, 1, -1);
        } else if (errno == EPIPE) {
            throw closed_pipe_error("closed pipe");
        } else if (errno != EINTR) {
            fail("cannot write");
        }
    }
}

void output_stream::close() {
    if (owned_ && descriptor_ >= 0) {
        const int descriptor = descriptor_;
        descriptor_ = -1;
        if (::close(descriptor) != 0 && errno != EINTR) {
            fail("cannot write");
        }
    }
}

void watch_interrupts() {
    if (wake_pipe[0] < 0 && (wake_pipe = make_pipe())[0] < 0) {
        fail("cannot make a pipe");
    }
    struct sigaction action {};
    action.sa_handler = note_interrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
    // Ignored at the start by what is meant to outlive its terminal.
    struct sigaction hangup {};
    if (::sigaction(SIGHUP, nullptr, &hangup) == 0 && hangup.sa_handler != SIG_IGN) {
        ::sigaction(SIGHUP, &action, nullptr);
    }
    std::signal(SIGPIPE, SIG_IGN);
    // A file that becomes larger than the process may write is an error like a full disk.
    std::signal(SIGXFSZ, SIG_IGN);
}

bool interrupted() noexcept {
    return interrupt_noted;
}

bool standard_error_is_terminal() noexcept {
    return ::isatty(STDERR_FILENO) != 0;
}

} // namespace qor::platform
