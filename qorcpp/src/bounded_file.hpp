// A file with any content: reads are checked against its size.
#ifndef QORCPP_BOUNDED_FILE_HPP
#define QORCPP_BOUNDED_FILE_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "regular_file.hpp"

namespace qor::runtime {

class bounded_file {
public:
    // Throws: unusable_file for a name that leads to no regular file; std::system_error for a file that cannot be read.
    // `path` is UTF-8.
    explicit bounded_file(const std::string& path);

    std::uint64_t size() const noexcept { return file_.size(); }

    // Fills `buffer` and returns true, or returns false when the bytes are not all there. Throws: std::system_error.
    bool read(std::uint64_t offset, void* buffer, std::size_t length);

private:
    platform::regular_file file_;
    // The bytes around the last short read: headers and names of sections are close to one another.
    std::array<char, 8192> window_;
    std::uint64_t window_begin_ = 0;
    std::size_t window_size_ = 0;
};

} // namespace qor::runtime

#endif
