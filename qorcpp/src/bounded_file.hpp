// A file that may say anything: reads are checked against its size.
#ifndef QORCPP_BOUNDED_FILE_HPP
#define QORCPP_BOUNDED_FILE_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>

namespace qor::runtime {

class bounded_file {
public:
    // A file that cannot be opened, or is no regular one, has size 0. `path` is UTF-8.
    explicit bounded_file(const std::string& path);

    std::uint64_t size() const noexcept { return size_; }

    // Fills `buffer` and returns true, or returns false when the bytes are not all there.
    bool read(std::uint64_t offset, void* buffer, std::size_t length);

private:
    bool read_file(std::uint64_t offset, char* buffer, std::size_t length);

    std::ifstream file_;
    std::uint64_t size_ = 0;
    // The bytes around the last short read: headers and names of sections lie side by side.
    std::array<char, 8192> window_;
    std::uint64_t window_begin_ = 0;
    std::size_t window_size_ = 0;
};

} // namespace qor::runtime

#endif
