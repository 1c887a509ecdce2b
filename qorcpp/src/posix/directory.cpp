// By the C functions: the standard library's iterator ends the process when an allocation fails in it.
#include "qorcpp/platform/directory.hpp"

#include <dirent.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string_view>
#include <system_error>

namespace qor::platform {

namespace {

[[noreturn]] void fail(int number, const std::string& path) {
    throw std::system_error(number, std::generic_category(), "cannot list '" + path + "'");
}

struct directory_closer {
    void operator()(DIR* directory) const noexcept { ::closedir(directory); }
};

} // namespace

std::vector<std::string> names_in_directory(const std::string& path) {
    const std::unique_ptr<DIR, directory_closer> directory(::opendir(path.c_str()));
    if (directory == nullptr) {
        fail(errno, path);
    }
    std::vector<std::string> names;
    for (;;) {
        errno = 0; // the end and a failure are both null
        const dirent* const entry = ::readdir(directory.get());
        if (entry == nullptr) {
            break;
        }
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
    }
    if (errno != 0) {
        fail(errno, path);
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace qor::platform
