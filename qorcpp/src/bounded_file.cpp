#include "bounded_file.hpp"

#include <algorithm>
#include <cstring>
#include <system_error>

#include "unusable_file.hpp"

namespace qor::runtime {

namespace {

// Whether the failure says that the name leads to no file: a dangling link, a ring of links.
bool is_absent(const std::error_code& code) noexcept {
    return code == std::errc::no_such_file_or_directory || code == std::errc::not_a_directory ||
           code == std::errc::too_many_symbolic_link_levels || code == std::errc::filename_too_long;
}

platform::regular_file opened(const std::string& path) {
    try {
        return platform::regular_file(path);
    } catch (const std::system_error& error) {
        if (is_absent(error.code())) {
            throw unusable_file(error.code().message());
        }
        throw;
    }
}

} // namespace

bounded_file::bounded_file(const std::string& path) : file_(opened(path)) {
    if (!file_.is_regular()) {
        throw unusable_file("not a regular file");
    }
}

bool bounded_file::read(std::uint64_t offset, void* buffer, std::size_t length) {
    if (length > size() || offset > size() - length) {
        return false;
    }
    if (length > window_.size() / 2) {
        return file_.read(offset, buffer, length) == length;
    }
    if (offset < window_begin_ || offset + length > window_begin_ + window_size_) {
        const std::uint64_t begin = offset - std::min<std::uint64_t>(offset, window_.size() / 2);
        const auto size_there = static_cast<std::size_t>(std::min<std::uint64_t>(window_.size(), size() - begin));
        window_size_ = 0;
        const std::size_t count = file_.read(begin, window_.data(), size_there);
        window_begin_ = begin;
        window_size_ = count;
        if (offset + length > begin + count) {
            return false; // the file became shorter
        }
    }
    std::memcpy(buffer, window_.data() + (offset - window_begin_), length);
    return true;
}

} // namespace qor::runtime
