#include "bounded_file.hpp"

#include <filesystem>

namespace qor::runtime {

bounded_file::bounded_file(const std::string& path) {
    const std::filesystem::path native(std::u8string(path.begin(), path.end()));
    std::error_code code;
    // Opening a pipe would wait for its other end.
    if (!std::filesystem::is_regular_file(native, code)) {
        return;
    }
    const std::uintmax_t size = std::filesystem::file_size(native, code);
    if (code) {
        return;
    }
    file_.open(native, std::ios::binary);
    size_ = file_ ? size : 0;
}

bool bounded_file::read(std::uint64_t offset, void* buffer, std::size_t length) {
    if (length > size_ || offset > size_ - length) {
        return false;
    }
    file_.clear();
    file_.seekg(static_cast<std::streamoff>(offset));
    file_.read(static_cast<char*>(buffer), static_cast<std::streamsize>(length));
    return file_.good();
}

} // namespace qor::runtime
