#include "qorcpp/platform/output_file.hpp"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>

#include "qorcpp/platform/file_identity.hpp"
#include "qorcpp/src/output_file_names.hpp"
#include "text.hpp"

namespace qor::platform {

namespace {

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

[[noreturn]] void fail_by_system(const char* what) {
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), what);
}

std::string folder_of(const std::string& path) {
    return path.substr(0, path.find_last_of("\\/:") + 1);
}

void check_writable(const std::string& path) {
    const int descriptor = _wopen(widen(path).c_str(), _O_WRONLY | _O_BINARY | _O_NOINHERIT);
    if (descriptor < 0) {
        fail("cannot open");
    }
    _close(descriptor);
}

// A new file that no one else can open or remove while it is open; negative when another process has one. The one that
// a killed process left is open nowhere and can be removed.
int make_locked(const std::string& path) {
    const std::wstring wide = widen(path);
    for (int attempt = 0; attempt < 2; ++attempt) {
        const int descriptor = _wsopen(wide.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT,
                                       _SH_DENYRW, _S_IREAD | _S_IWRITE);
        if (descriptor >= 0) {
            return descriptor;
        }
        if (errno == EACCES && GetFileAttributesW(wide.c_str()) == INVALID_FILE_ATTRIBUTES) {
            throw folder_error(errno, std::generic_category(), "cannot make a file");
        }
        if (errno != EEXIST && errno != EACCES) {
            fail("cannot open");
        }
        if (DeleteFileW(wide.c_str()) == 0) {
            return -1;
        }
    }
    return -1;
}

} // namespace

output_file::output_file(const std::string& path) {
    const std::optional<file_identity> identity = identify_file(path);
    if (!identity || !identity->is_regular) {
        stream_ = std::make_unique<output_stream>(path);
        return;
    }
    if (identity->name.empty()) {
        check_writable(path);
    }
    const std::string folder = folder_of(path);
    int descriptor = -1;
    for (int number = 0; descriptor < 0; ++number) {
        if (number == most_temporaries) {
            errno = EEXIST;
            fail("cannot make a temporary file");
        }
        temporary_ = folder + temporary_file_name(path.substr(folder.size()), number);
        descriptor = make_locked(temporary_);
    }
    target_ = path;
    stream_ = std::make_unique<output_stream>(descriptor);
}

output_file::~output_file() {
    discard();
}

void output_file::discard() noexcept {
    stream_.reset();
    if (!temporary_.empty()) {
        try {
            DeleteFileW(widen(temporary_).c_str());
        } catch (const std::bad_alloc&) {
            // It is left to the next output to this name.
        }
    }
    release();
}

void output_file::release() noexcept {
    temporary_.clear();
    stream_.reset();
}

void output_file::write(const char* bytes, std::size_t count) {
    stream_->write(bytes, count);
    written_ += count;
}

// An open file cannot be renamed here, so that the lock ends before.
void output_file::publish() {
    stream_->close();
    if (temporary_.empty()) {
        return;
    }
    const std::wstring target = widen(target_);
    const std::wstring temporary = widen(temporary_);
    // The first keeps what belongs to the file that is replaced: permissions, attributes.
    const bool is_replaced = ReplaceFileW(target.c_str(), temporary.c_str(), nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS,
                                          nullptr, nullptr) != 0;
    if (!is_replaced && MoveFileExW(temporary.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING) == 0) {
        fail_by_system("cannot rename");
    }
    release();
}

std::string output_file::keep_part() {
    stream_->close();
    if (temporary_.empty()) {
        return {};
    }
    // What a write left there that failed in its midst. Where that cannot be cut off, the part is kept with it.
    if (const int descriptor = _wopen(widen(temporary_).c_str(), _O_WRONLY | _O_BINARY | _O_NOINHERIT);
        descriptor >= 0) {
        [[maybe_unused]] const auto ignored = _chsize_s(descriptor, static_cast<__int64>(written_));
        _close(descriptor);
    }
    const std::string folder = folder_of(target_);
    const std::string part = folder + part_file_name(target_.substr(folder.size()));
    const bool is_renamed = MoveFileExW(widen(temporary_).c_str(), widen(part).c_str(), MOVEFILE_REPLACE_EXISTING) != 0;
    const std::string name = is_renamed ? part : temporary_;
    release();
    return name;
}

std::vector<std::string> output_file::other_names(const std::string& path) {
    return names_beside(folder_of(path), path.substr(folder_of(path).size()));
}

} // namespace qor::platform
