#include "link_target.hpp"

#include <array>
#include <cerrno>
#include <climits>
#include <system_error>

#if defined(__linux__)
#include <linux/magic.h>
#include <sys/vfs.h>
#endif
#include <unistd.h>

namespace qor::platform {

namespace {

constexpr int most_links = 40;

bool lists_descriptors([[maybe_unused]] const std::string& folder) {
#if defined(__linux__)
    struct statfs status {};
    return ::statfs(folder.empty() ? "." : folder.c_str(), &status) == 0 && status.f_type == PROC_SUPER_MAGIC;
#else
    return false;
#endif
}

} // namespace

std::string folder_prefix(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

link_target follow_links(const std::string& path) {
    link_target target{path};
    for (int links = 0; links <= most_links; ++links) {
        std::array<char, PATH_MAX> text{};
        const auto length = ::readlink(target.path.c_str(), text.data(), text.size());
        if (length < 0) {
            return target;
        }
        const std::string folder = folder_prefix(target.path);
        target.is_descriptor = target.is_descriptor || lists_descriptors(folder);
        const std::string next(text.data(), static_cast<std::size_t>(length));
        target.path = next.starts_with('/') ? next : folder + next;
    }
    throw std::system_error(ELOOP, std::generic_category(), "cannot follow links");
}

} // namespace qor::platform
