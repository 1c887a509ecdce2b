// A regular file, read at any offset.
#ifndef QORCPP_REGULAR_FILE_HPP
#define QORCPP_REGULAR_FILE_HPP

#include <cstddef>
#include <cstdint>
#include <string>

namespace qor::platform {

// Thread: one at a time.
class regular_file {
public:
    // Opening never waits. Anything but a regular file is not opened, see is_regular. `path` is UTF-8.
    // Throws: std::system_error "cannot read 'PATH'" with an errno value of the generic category.
    explicit regular_file(const std::string& path);
    ~regular_file();
    regular_file(const regular_file&) = delete;
    regular_file& operator=(const regular_file&) = delete;

    // False for a directory, pipe or device: it has no bytes here.
    bool is_regular() const noexcept { return descriptor_ >= 0; }
    std::uint64_t size() const noexcept { return size_; }

    // Fills `buffer` from `offset` on and returns how many bytes the file had for it.
    // Throws: std::system_error as the constructor.
    std::size_t read(std::uint64_t offset, void* buffer, std::size_t length);

private:
    [[noreturn]] void fail() const;

    std::string path_;
    int descriptor_ = -1;
    std::uint64_t size_ = 0;
};

} // namespace qor::platform

#endif
