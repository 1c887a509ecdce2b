// Where symbolic links lead to.
#ifndef QORCPP_SRC_POSIX_LINK_TARGET_HPP
#define QORCPP_SRC_POSIX_LINK_TARGET_HPP

#include <string>

namespace qor::platform {

struct link_target {
    // The path itself when it is no link; the last link's target need not exist.
    std::string path;
    // Whether one of the links is a name for an open descriptor, such as /dev/stdout: its text may name another file.
    bool is_descriptor = false;
};

// Throws: std::system_error with ELOOP for links that lead to each other.
link_target follow_links(const std::string& path);

// "folder/" of "folder/name", empty for a name alone.
std::string folder_prefix(const std::string& path);

} // namespace qor::platform

#endif
