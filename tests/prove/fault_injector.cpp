// Preloaded into a command: one call of the system fails.
//
//     TAVI_FAULT=FUNCTION:N:FAULT      the Nth call of the function, from 1, fails with that error number; "short"
//                                      makes a read or write end after a part of its bytes
//     TAVI_FAULT_COUNTS=FILE           instead: the calls of each function are counted, lines "FUNCTION N"
//
// Calls that belong together count as one function: open is also openat and fopen, read is also pread, and so on. What
// is written to standard error never fails, since it is what says why the command failed.
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

enum function {
    f_open,
    f_read,
    f_write,
    f_mmap,
    f_rename,
    f_unlink,
    f_fsync,
    f_truncate,
    f_close,
    f_stat,
    f_opendir,
    f_readdir,
    f_dlopen,
    f_pipe,
    f_fcntl,
    f_thread,
    f_poll,
    f_seek,
    f_realpath,
    function_count
};
constexpr const char* names[function_count] = {"open",     "read",   "write", "mmap",    "rename",  "unlink", "fsync",
                                               "truncate", "close",  "stat",  "opendir", "readdir", "dlopen", "pipe",
                                               "fcntl",    "thread", "poll",  "seek",    "realpath"};

std::atomic<unsigned> calls[function_count];

constexpr int short_count = -1;

struct order {
    int at = function_count;
    unsigned number = 0;
    int fault = 0;

    order() {
        const char* const text = std::getenv("TAVI_FAULT");
        const char* const first = text != nullptr ? std::strchr(text, ':') : nullptr;
        const char* const second = first != nullptr ? std::strchr(first + 1, ':') : nullptr;
        if (second == nullptr) {
            return;
        }
        const std::string_view name(text, static_cast<std::size_t>(first - text));
        for (int i = 0; i < function_count; ++i) {
            at = name == names[i] ? i : at;
        }
        number = static_cast<unsigned>(std::atoi(first + 1));
        fault = std::strcmp(second + 1, "short") == 0 ? short_count : std::atoi(second + 1);
    }
};

// The fault of this call: an error number, short_count or 0.
int fault_of(function which) {
    static const order ordered;
    return ++calls[which] == ordered.number && which == ordered.at ? ordered.fault : 0;
}

// Whether this call fails; errno is set then.
bool fails(function which) {
    const int fault = fault_of(which);
    if (fault > 0) {
        errno = fault;
    }
    return fault > 0;
}

// As many bytes as this call may transfer, or nothing when it fails.
bool transfers(function which, std::size_t& size) {
    const int fault = fault_of(which);
    if (fault > 0) {
        errno = fault;
        return false;
    }
    size = fault == short_count && size > 1 ? size / 2 : size;
    return true;
}

const struct counts_at_end {
    ~counts_at_end() {
        const char* const path = std::getenv("TAVI_FAULT_COUNTS");
        if (std::FILE* const file = path != nullptr ? std::fopen(path, "a") : nullptr) {
            for (int i = 0; i < function_count; ++i) {
                std::fprintf(file, "%s %u\n", names[i], calls[i].load());
            }
            std::fclose(file);
        }
    }
} counts;

} // namespace

// The function of that name in the library that would have been used. Asked for at each call: nothing is allocated.
#define TAVI_NEXT(name) reinterpret_cast<decltype(&name)>(dlsym(RTLD_NEXT, #name))
#define TAVI_EXPORT extern "C" __attribute__((visibility("default")))

#define TAVI_MODE(last)                                                                                                \
    mode_t mode = 0;                                                                                                   \
    if ((flags & (O_CREAT | O_TMPFILE)) != 0) {                                                                        \
        va_list rest;                                                                                                  \
        va_start(rest, last);                                                                                          \
        mode = va_arg(rest, mode_t);                                                                                   \
        va_end(rest);                                                                                                  \
    }

TAVI_EXPORT int open(const char* path, int flags, ...) {
    TAVI_MODE(flags)
    return fails(f_open) ? -1 : TAVI_NEXT(open)(path, flags, mode);
}
TAVI_EXPORT int open64(const char* path, int flags, ...) {
    TAVI_MODE(flags)
    return fails(f_open) ? -1 : TAVI_NEXT(open64)(path, flags, mode);
}
TAVI_EXPORT int openat(int folder, const char* path, int flags, ...) {
    TAVI_MODE(flags)
    return fails(f_open) ? -1 : TAVI_NEXT(openat)(folder, path, flags, mode);
}
TAVI_EXPORT int openat64(int folder, const char* path, int flags, ...) {
    TAVI_MODE(flags)
    return fails(f_open) ? -1 : TAVI_NEXT(openat64)(folder, path, flags, mode);
}
TAVI_EXPORT std::FILE* fopen(const char* path, const char* mode) {
    return fails(f_open) ? nullptr : TAVI_NEXT(fopen)(path, mode);
}
TAVI_EXPORT std::FILE* fopen64(const char* path, const char* mode) {
    return fails(f_open) ? nullptr : TAVI_NEXT(fopen64)(path, mode);
}

TAVI_EXPORT ssize_t read(int file, void* buffer, std::size_t size) {
    return transfers(f_read, size) ? TAVI_NEXT(read)(file, buffer, size) : -1;
}
TAVI_EXPORT ssize_t pread(int file, void* buffer, std::size_t size, off_t offset) {
    return transfers(f_read, size) ? TAVI_NEXT(pread)(file, buffer, size, offset) : -1;
}
TAVI_EXPORT ssize_t pread64(int file, void* buffer, std::size_t size, off64_t offset) {
    return transfers(f_read, size) ? TAVI_NEXT(pread64)(file, buffer, size, offset) : -1;
}

TAVI_EXPORT ssize_t write(int file, const void* buffer, std::size_t size) {
    return file == STDERR_FILENO || transfers(f_write, size) ? TAVI_NEXT(write)(file, buffer, size) : -1;
}
TAVI_EXPORT ssize_t pwrite(int file, const void* buffer, std::size_t size, off_t offset) {
    return transfers(f_write, size) ? TAVI_NEXT(pwrite)(file, buffer, size, offset) : -1;
}
TAVI_EXPORT ssize_t pwrite64(int file, const void* buffer, std::size_t size, off64_t offset) {
    return transfers(f_write, size) ? TAVI_NEXT(pwrite64)(file, buffer, size, offset) : -1;
}

TAVI_EXPORT void* mmap(void* place, std::size_t size, int protection, int flags, int file, off_t offset) {
    return fails(f_mmap) ? MAP_FAILED : TAVI_NEXT(mmap)(place, size, protection, flags, file, offset);
}
TAVI_EXPORT void* mmap64(void* place, std::size_t size, int protection, int flags, int file, off64_t offset) {
    return fails(f_mmap) ? MAP_FAILED : TAVI_NEXT(mmap64)(place, size, protection, flags, file, offset);
}

TAVI_EXPORT int rename(const char* from, const char* to) noexcept {
    return fails(f_rename) ? -1 : TAVI_NEXT(rename)(from, to);
}
TAVI_EXPORT int renameat(int from_folder, const char* from, int to_folder, const char* to) noexcept {
    return fails(f_rename) ? -1 : TAVI_NEXT(renameat)(from_folder, from, to_folder, to);
}
TAVI_EXPORT int link(const char* from, const char* to) noexcept {
    return fails(f_rename) ? -1 : TAVI_NEXT(link)(from, to);
}
TAVI_EXPORT int linkat(int from_folder, const char* from, int to_folder, const char* to, int flags) noexcept {
    return fails(f_rename) ? -1 : TAVI_NEXT(linkat)(from_folder, from, to_folder, to, flags);
}
TAVI_EXPORT int unlink(const char* path) noexcept {
    return fails(f_unlink) ? -1 : TAVI_NEXT(unlink)(path);
}
TAVI_EXPORT int unlinkat(int folder, const char* path, int flags) noexcept {
    return fails(f_unlink) ? -1 : TAVI_NEXT(unlinkat)(folder, path, flags);
}

TAVI_EXPORT int fsync(int file) {
    return fails(f_fsync) ? -1 : TAVI_NEXT(fsync)(file);
}
TAVI_EXPORT int fdatasync(int file) {
    return fails(f_fsync) ? -1 : TAVI_NEXT(fdatasync)(file);
}
TAVI_EXPORT int ftruncate(int file, off_t size) noexcept {
    return fails(f_truncate) ? -1 : TAVI_NEXT(ftruncate)(file, size);
}
TAVI_EXPORT int ftruncate64(int file, off64_t size) noexcept {
    return fails(f_truncate) ? -1 : TAVI_NEXT(ftruncate64)(file, size);
}
// The descriptor is closed in any case, as on Linux.
TAVI_EXPORT int close(int file) {
    const bool failing = fails(f_close);
    const int closed = TAVI_NEXT(close)(file);
    return failing ? (errno = EIO, -1) : closed;
}

TAVI_EXPORT int stat(const char* path, struct stat* status) noexcept {
    return fails(f_stat) ? -1 : TAVI_NEXT(stat)(path, status);
}
TAVI_EXPORT int stat64(const char* path, struct stat64* status) noexcept {
    return fails(f_stat) ? -1 : TAVI_NEXT(stat64)(path, status);
}
TAVI_EXPORT int lstat(const char* path, struct stat* status) noexcept {
    return fails(f_stat) ? -1 : TAVI_NEXT(lstat)(path, status);
}
TAVI_EXPORT int lstat64(const char* path, struct stat64* status) noexcept {
    return fails(f_stat) ? -1 : TAVI_NEXT(lstat64)(path, status);
}
TAVI_EXPORT int fstat(int file, struct stat* status) noexcept {
    return fails(f_stat) ? -1 : TAVI_NEXT(fstat)(file, status);
}
TAVI_EXPORT int fstat64(int file, struct stat64* status) noexcept {
    return fails(f_stat) ? -1 : TAVI_NEXT(fstat64)(file, status);
}
TAVI_EXPORT int fstatat(int folder, const char* path, struct stat* status, int flags) noexcept {
    return fails(f_stat) ? -1 : TAVI_NEXT(fstatat)(folder, path, status, flags);
}

TAVI_EXPORT DIR* opendir(const char* path) {
    return fails(f_opendir) ? nullptr : TAVI_NEXT(opendir)(path);
}
TAVI_EXPORT DIR* fdopendir(int file) {
    return fails(f_opendir) ? nullptr : TAVI_NEXT(fdopendir)(file);
}
TAVI_EXPORT dirent* readdir(DIR* folder) {
    return fails(f_readdir) ? nullptr : TAVI_NEXT(readdir)(folder);
}
TAVI_EXPORT dirent64* readdir64(DIR* folder) {
    return fails(f_readdir) ? nullptr : TAVI_NEXT(readdir64)(folder);
}

// The loader has its own text for why: so a file is asked for that is not there.
TAVI_EXPORT void* dlopen(const char* path, int mode) noexcept {
    return TAVI_NEXT(dlopen)(fails(f_dlopen) ? "/nowhere/with-this-fault.so" : path, mode);
}
TAVI_EXPORT int pipe(int* ends) noexcept {
    return fails(f_pipe) ? -1 : TAVI_NEXT(pipe)(ends);
}
TAVI_EXPORT int pipe2(int* ends, int flags) noexcept {
    return fails(f_pipe) ? -1 : TAVI_NEXT(pipe2)(ends, flags);
}

#define TAVI_FCNTL(name)                                                                                               \
    TAVI_EXPORT int name(int file, int what, ...) {                                                                    \
        va_list rest;                                                                                                  \
        va_start(rest, what);                                                                                          \
        void* const argument = va_arg(rest, void*);                                                                    \
        va_end(rest);                                                                                                  \
        return fails(f_fcntl) ? -1 : TAVI_NEXT(name)(file, what, argument);                                            \
    }
TAVI_FCNTL(fcntl)
TAVI_FCNTL(fcntl64)

TAVI_EXPORT int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                               void* argument) noexcept {
    return fails(f_thread) ? EAGAIN : TAVI_NEXT(pthread_create)(thread, attributes, start, argument);
}
TAVI_EXPORT int poll(pollfd* watched, nfds_t count, int timeout) {
    return fails(f_poll) ? -1 : TAVI_NEXT(poll)(watched, count, timeout);
}
TAVI_EXPORT off_t lseek(int file, off_t offset, int whence) noexcept {
    return fails(f_seek) ? -1 : TAVI_NEXT(lseek)(file, offset, whence);
}
TAVI_EXPORT off64_t lseek64(int file, off64_t offset, int whence) noexcept {
    return fails(f_seek) ? -1 : TAVI_NEXT(lseek64)(file, offset, whence);
}
TAVI_EXPORT char* realpath(const char* path, char* resolved) noexcept {
    return fails(f_realpath) ? nullptr : TAVI_NEXT(realpath)(path, resolved);
}
