#include "qorcpp/platform/output_file.hpp"

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "link_target.hpp"
#include "qorcpp/src/output_file_names.hpp"

namespace qor::platform {

namespace {

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// Also refuses what only opening can find out, such as a program that is running.
void check_writable(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) {
        fail("cannot open");
    }
    ::close(descriptor);
}

bool is_still(const std::string& path, int descriptor) {
    struct stat named {};
    struct stat opened {};
    return ::lstat(path.c_str(), &named) == 0 && ::fstat(descriptor, &opened) == 0 && named.st_dev == opened.st_dev &&
           named.st_ino == opened.st_ino;
}

// Removes the temporary file of a process that was killed: a regular file of this user alone that no one has locked.
bool remove_abandoned(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) {
        return errno == ENOENT;
    }
    struct stat status {};
    const bool is_abandoned = ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1 &&
                              status.st_uid == ::geteuid() && ::flock(descriptor, LOCK_EX | LOCK_NB) == 0;
    // Meanwhile its owner may have given it its final name.
    const bool is_free = is_abandoned && (!is_still(path, descriptor) || ::unlink(path.c_str()) == 0);
    ::close(descriptor);
    return is_free;
}

// A new file of this name, locked as long as it is open; negative when another process has one.
int make_locked(const std::string& path, mode_t mode) {
    for (int attempt = 0; attempt < 3; ++attempt) {
        const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
        if (descriptor >= 0) {
            // Between the two calls another process may take it for abandoned. File systems without locks have
            // no one who does.
            const bool locked = ::flock(descriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
            if (locked && is_still(path, descriptor)) {
                return descriptor;
            }
            ::close(descriptor);
        } else if (errno == EACCES || errno == EPERM || errno == EROFS) {
            throw folder_error(errno, std::generic_category(), "cannot make a file");
        } else if (errno != EEXIST) {
            fail("cannot open");
        } else if (!remove_abandoned(path)) {
            return -1;
        }
    }
    return -1;
}

// The file that is replaced passes its owner and permissions on, as far as the system allows that.
void take_permissions(int descriptor, const struct stat& replaced) {
    struct stat made {};
    if (::fstat(descriptor, &made) == 0 && (made.st_uid != replaced.st_uid || made.st_gid != replaced.st_gid)) {
        [[maybe_unused]] const int ignored = ::fchown(descriptor, replaced.st_uid, replaced.st_gid);
    }
    ::fchmod(descriptor, replaced.st_mode & 07777);
}

} // namespace

output_file::output_file(const std::string& path) {
    struct stat status {};
    const bool exists = ::stat(path.c_str(), &status) == 0;
    if (!exists && errno != ENOENT) {
        fail("cannot open");
    }
    const link_target target = follow_links(path);
    if (target.is_descriptor || (exists && !S_ISREG(status.st_mode)) || target.path.ends_with('/') || path.empty()) {
        stream_ = std::make_unique<output_stream>(path);
        return;
    }
    if (exists) {
        check_writable(target.path);
    }
    const std::string folder = folder_prefix(target.path);
    const std::string name = target.path.substr(folder.size());
    int descriptor = -1;
    for (int number = 0; descriptor < 0; ++number) {
        if (number == most_temporaries) {
            errno = EEXIST;
            fail("cannot make a temporary file");
        }
        temporary_ = folder + temporary_file_name(name, number);
        // Until it has the permissions of the file that it replaces, the new one is for this user alone.
        descriptor = make_locked(temporary_, exists ? 0600 : 0666);
    }
    target_ = target.path;
    stream_ = std::make_unique<output_stream>(descriptor);
    if (exists) {
        take_permissions(descriptor, status);
    }
    lock_ = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    if (lock_ < 0) {
        const int cause = errno;
        discard();
        errno = cause;
        fail("cannot open");
    }
}

output_file::~output_file() {
    discard();
}

void output_file::discard() noexcept {
    if (!temporary_.empty()) {
        ::unlink(temporary_.c_str());
    }
    release();
}

void output_file::release() noexcept {
    temporary_.clear();
    stream_.reset();
    if (lock_ >= 0) {
        ::close(std::exchange(lock_, -1));
    }
}

void output_file::write(const char* bytes, std::size_t count) {
    stream_->write(bytes, count);
    written_ += count;
}

void output_file::publish() {
    stream_->close();
    if (temporary_.empty()) {
        return;
    }
    if (::rename(temporary_.c_str(), target_.c_str()) != 0) {
        fail("cannot rename");
    }
    release();
}

std::string output_file::keep_part() {
    std::string name;
    if (!temporary_.empty()) {
        // What a write left there that failed in its midst. Where that cannot be cut off, the part is kept with it.
        [[maybe_unused]] const int ignored = ::ftruncate(lock_, static_cast<off_t>(written_));
        const std::string folder = folder_prefix(target_);
        const std::string part = folder + part_file_name(target_.substr(folder.size()));
        name = ::rename(temporary_.c_str(), part.c_str()) == 0 ? part : temporary_;
        temporary_.clear();
    }
    stream_->close();
    release();
    return name;
}

std::vector<std::string> output_file::other_names(const std::string& path) {
    const std::string target = follow_links(path).path;
    return names_beside(folder_prefix(target), target.substr(folder_prefix(target).size()));
}

} // namespace qor::platform
