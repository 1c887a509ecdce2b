#include "qorcpp/src/regular_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace qor::platform {

regular_file::regular_file(const std::string& path) : path_(path) {
    // Looked at before it is opened: opening some devices has an effect.
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        fail();
    }
    if (!S_ISREG(status.st_mode)) {
        return;
    }
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        fail();
    }
    // Another file may have taken the name meanwhile.
    if (::fstat(descriptor, &status) != 0) {
        const int number = errno;
        ::close(descriptor);
        errno = number;
        fail();
    }
    if (!S_ISREG(status.st_mode)) {
        ::close(descriptor);
        return;
    }
    descriptor_ = descriptor;
    size_ = static_cast<std::uint64_t>(status.st_size);
}

regular_file::~regular_file() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

std::size_t regular_file::read(std::uint64_t offset, void* buffer, std::size_t length) {
    std::size_t done = 0;
    while (done < length) {
        const auto count =
            ::pread(descriptor_, static_cast<char*>(buffer) + done, length - done, static_cast<off_t>(offset + done));
        if (count > 0) {
            done += static_cast<std::size_t>(count);
        } else if (count == 0) {
            break;
        } else if (errno != EINTR) {
            fail();
        }
    }
    return done;
}

void regular_file::fail() const {
    const int number = errno; // before the text, which allocates
    throw std::system_error(number, std::generic_category(), "cannot read '" + path_ + "'");
}

} // namespace qor::platform
