#include "qorcpp/platform/stream.hpp"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <system_error>

#include "text.hpp"

namespace qor::platform {

namespace {

constexpr int standard_input = 0;
constexpr int standard_output = 1;
constexpr int standard_error = 2;

std::atomic<bool> interrupt_noted{false};

// Runs on a thread of the system's. FALSE hands a second interrupt on, which ends the process.
BOOL WINAPI note_interrupt(DWORD event) {
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) {
        return FALSE;
    }
    return interrupt_noted.exchange(true) ? FALSE : TRUE;
}

[[noreturn]] void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// Bytes of a regular file, nothing for everything else.
std::optional<std::uint64_t> size_of(int descriptor) {
    struct _stat64 status {};
    if (_fstat64(descriptor, &status) == 0 && (status.st_mode & _S_IFMT) == _S_IFREG) {
        return static_cast<std::uint64_t>(status.st_size);
    }
    return std::nullopt;
}

} // namespace

input_stream::input_stream() noexcept : input_stream(standard_input) {}

input_stream::input_stream(int descriptor) noexcept : descriptor_(descriptor), size_(size_of(descriptor)) {
    _setmode(descriptor_, _O_BINARY);
}

input_stream::input_stream(const std::string& path)
    : descriptor_(_wopen(widen(path).c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT)), owned_(true) {
    if (descriptor_ < 0) {
        fail("cannot open");
    }
    size_ = size_of(descriptor_);
}

input_stream::~input_stream() {
    if (owned_) {
        _close(descriptor_);
    }
}

void input_stream::seek(std::uint64_t offset) {
    if (_lseeki64(descriptor_, static_cast<std::int64_t>(offset), SEEK_SET) < 0) {
        fail("cannot seek");
    }
}

// An interrupt ends a read from a console at once, and one from a pipe with the next bytes.
bool input_stream::wait() {
    return !interrupted() && std::atomic_ref(end_pipe_[0]).load() < 0;
}

// There is no pipe here: its place says that the end was told, and the read that waits is called off.
void input_stream::end() noexcept {
    if (!size_) {
        std::atomic_ref(end_pipe_[0]).store(0);
        CancelIoEx(reinterpret_cast<HANDLE>(_get_osfhandle(descriptor_)), nullptr);
    }
}

std::size_t input_stream::read(char* buffer, std::size_t room) {
    if (!wait()) {
        return 0;
    }
    const auto most = static_cast<unsigned>(std::min<std::size_t>(room, INT_MAX));
    const int count = _read(descriptor_, buffer, most);
    if (!wait()) {
        return 0;
    }
    if (count < 0) {
        if (errno == EPIPE) {
            return 0; // the writer is gone: the end
        }
        fail("cannot read");
    }
    return static_cast<std::size_t>(count);
}

output_stream::output_stream() noexcept : descriptor_(standard_output), owned_(false) {
    _setmode(descriptor_, _O_BINARY);
}

output_stream::output_stream(const std::string& path)
    : descriptor_(_wopen(widen(path).c_str(), _O_WRONLY | _O_CREAT | _O_TRUNC | _O_BINARY | _O_NOINHERIT,
                         _S_IREAD | _S_IWRITE)),
      owned_(true) {
    if (descriptor_ < 0) {
        fail("cannot open");
    }
}

output_stream::~output_stream() {
    if (owned_ && descriptor_ >= 0) {
        _close(descriptor_);
    }
}

bool output_stream::is_terminal() const noexcept {
    return _isatty(descriptor_) != 0;
}

void output_stream::write(const char* bytes, std::size_t count) {
    while (count != 0) {
        const int written = _write(descriptor_, bytes, static_cast<unsigned>(std::min<std::size_t>(count, INT_MAX)));
        if (written < 0) {
            // A closed pipe comes as EINVAL when it was closed during the write.
            if (errno == EPIPE || (errno == EINVAL && _doserrno == ERROR_NO_DATA)) {
                throw closed_pipe_error("closed pipe");
            }
            fail("cannot write");
        }
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
}

void output_stream::close() {
    if (owned_ && descriptor_ >= 0) {
        const int descriptor = descriptor_;
        descriptor_ = -1;
        if (_close(descriptor) != 0) {
            fail("cannot write");
        }
    }
}

void watch_interrupts() {
    if (SetConsoleCtrlHandler(note_interrupt, TRUE) == 0) {
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), "cannot watch interrupts");
    }
}

bool interrupted() noexcept {
    return interrupt_noted;
}

bool standard_error_is_terminal() noexcept {
    return _isatty(standard_error) != 0;
}

} // namespace qor::platform
