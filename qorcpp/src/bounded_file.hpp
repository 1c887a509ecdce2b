// A file that may say anything: reads are checked against its size.
#ifndef QORCPP_BOUNDED_FILE_HPP
#define QORCPP_BOUNDED_FILE_HPP

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
    std::ifstream file_;
    std::uint64_t size_ = 0;
};

} // namespace qor::runtime

#endif
