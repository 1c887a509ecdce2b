// The program's own definitions take the place of the C library's in all libraries of the process.
#include "tests/support/file_fault.hpp"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <string_view>

namespace {

std::string_view failing_function;
std::string_view failing_end;
int error_number = 0;
std::string stored_end;

bool fails(std::string_view function, std::string_view path) noexcept {
    if (function != failing_function || !path.ends_with(failing_end)) {
        return false;
    }
    errno = error_number;
    return true;
}

template<typename Function>
Function* next(Function*, const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

// The build hides symbols by default.
#pragma GCC visibility push(default)
extern "C" {

int stat(const char* path, struct stat* status) noexcept {
    static auto* const real = next(&stat, "stat");
    return fails("stat", path) ? -1 : real(path, status);
}

int open(const char* path, int flags, ...) {
    static auto* const real = next(&open, "open");
    std::va_list arguments;
    va_start(arguments, flags);
    const auto mode = static_cast<mode_t>(va_arg(arguments, int));
    va_end(arguments);
    return fails("open", path) ? -1 : real(path, flags, mode);
}

ssize_t pread(int descriptor, void* buffer, size_t size, off_t offset) {
    static auto* const real = next(&pread, "pread");
    return fails("pread", failing_end) ? -1 : real(descriptor, buffer, size, offset);
}

DIR* opendir(const char* path) {
    static auto* const real = next(&opendir, "opendir");
    return fails("opendir", path) ? nullptr : real(path);
}

dirent* readdir(DIR* directory) {
    static auto* const real = next(&readdir, "readdir");
    return fails("readdir", failing_end) ? nullptr : real(directory);
}
}
#pragma GCC visibility pop

namespace tavi::test {

file_fault::file_fault(const char* function, int number, std::string end) {
    stored_end = std::move(end);
    failing_end = stored_end;
    error_number = number;
    failing_function = function;
}

file_fault::~file_fault() {
    failing_function = {};
}

} // namespace tavi::test
