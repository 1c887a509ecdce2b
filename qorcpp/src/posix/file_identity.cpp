#include "qorcpp/platform/file_identity.hpp"

#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

#include "link_target.hpp"

namespace qor::platform {

namespace {

file_identity identity_of(const struct stat& status) {
    return {static_cast<std::uint64_t>(status.st_dev),
            static_cast<std::uint64_t>(status.st_ino),
            {},
            S_ISREG(status.st_mode)};
}

std::optional<file_identity> identify_descriptor(int descriptor) {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 ? std::optional(identity_of(status)) : std::nullopt;
}

// Folder and name of a file that is not there.
std::optional<file_identity> identify_missing(const std::string& path) {
    const std::string folder = folder_prefix(path);
    struct stat status {};
    if (::stat(folder.empty() ? "." : folder.c_str(), &status) != 0) {
        return std::nullopt;
    }
    file_identity identity = identity_of(status);
    identity.name = path.substr(folder.size());
    identity.is_regular = true;
    return identity;
}

} // namespace

std::optional<file_identity> identify_file(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0) {
        return identity_of(status);
    }
    try {
        return identify_missing(follow_links(path).path);
    } catch (const std::system_error&) {
        return std::nullopt;
    }
}

std::optional<file_identity> identify_standard_input() {
    return identify_descriptor(STDIN_FILENO);
}

std::optional<file_identity> identify_standard_output() {
    return identify_descriptor(STDOUT_FILENO);
}

} // namespace qor::platform
