#include "qorcpp/src/regular_file.hpp"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <system_error>

#include "text.hpp"

namespace qor::platform {

regular_file::regular_file(const std::string& path) : path_(path) {
    struct _stat64 status {};
    const std::wstring wide = widen(path);
    if (_wstat64(wide.c_str(), &status) != 0) {
        fail();
    }
    if ((status.st_mode & _S_IFMT) != _S_IFREG) {
        return;
    }
    descriptor_ = _wopen(wide.c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT);
    if (descriptor_ < 0) {
        fail();
    }
    size_ = static_cast<std::uint64_t>(status.st_size);
}

regular_file::~regular_file() {
    if (descriptor_ >= 0) {
        _close(descriptor_);
    }
}

std::size_t regular_file::read(std::uint64_t offset, void* buffer, std::size_t length) {
    if (_lseeki64(descriptor_, static_cast<__int64>(offset), SEEK_SET) < 0) {
        fail();
    }
    std::size_t done = 0;
    while (done < length) {
        const auto part = static_cast<unsigned>(std::min<std::size_t>(length - done, INT_MAX));
        const int count = _read(descriptor_, static_cast<char*>(buffer) + done, part);
        if (count < 0) {
            fail();
        }
        if (count == 0) {
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    return done;
}

void regular_file::fail() const {
    const int number = errno; // before the text, which allocates
    throw std::system_error(number, std::generic_category(), "cannot read '" + path_ + "'");
}

} // namespace qor::platform
