#include "bounded_file.hpp"

#include <algorithm>
#include <cstring>
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
    // The window does better than the stream's own buffer, which every seek empties.
    file_.rdbuf()->pubsetbuf(nullptr, 0);
    file_.open(native, std::ios::binary);
    size_ = file_ ? size : 0;
}

bool bounded_file::read(std::uint64_t offset, void* buffer, std::size_t length) {
    if (length > size_ || offset > size_ - length) {
        return false;
    }
    if (length > window_.size() / 2) {
        return read_file(offset, static_cast<char*>(buffer), length);
    }
    if (offset < window_begin_ || offset + length > window_begin_ + window_size_) {
        const std::uint64_t begin = offset - std::min<std::uint64_t>(offset, window_.size() / 2);
        const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(window_.size(), size_ - begin));
        window_size_ = 0;
        if (!read_file(begin, window_.data(), size)) {
            return false;
        }
        window_begin_ = begin;
        window_size_ = size;
    }
    std::memcpy(buffer, window_.data() + (offset - window_begin_), length);
    return true;
}

bool bounded_file::read_file(std::uint64_t offset, char* buffer, std::size_t length) {
    file_.clear();
    file_.seekg(static_cast<std::streamoff>(offset));
    file_.read(buffer, static_cast<std::streamsize>(length));
    return file_.good();
}

} // namespace qor::runtime
