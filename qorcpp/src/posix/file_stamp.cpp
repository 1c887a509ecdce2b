#include "qorcpp/src/file_stamp.hpp"

#include <ctime>

#include <sys/stat.h>

namespace qor::platform {

namespace {

constexpr std::int64_t second = 1'000'000'000;

std::int64_t nanoseconds(const timespec& time) noexcept {
    return static_cast<std::int64_t>(time.tv_sec) * second + time.tv_nsec;
}

} // namespace

std::optional<file_stamp> settled_stamp(const std::string& path) noexcept {
    struct stat status {};
    timespec now{};
    if (::stat(path.c_str(), &status) != 0 || ::clock_gettime(CLOCK_REALTIME, &now) != 0 ||
        nanoseconds(now) - nanoseconds(status.st_ctim) < 2 * second) {
        return std::nullopt;
    }
    return file_stamp{static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino),
                      static_cast<std::uint64_t>(status.st_size), nanoseconds(status.st_mtim),
                      nanoseconds(status.st_ctim)};
}

} // namespace qor::platform
