// The content of a directory.
#ifndef QORCPP_PLATFORM_DIRECTORY_HPP
#define QORCPP_PLATFORM_DIRECTORY_HPP

#include <string>
#include <vector>

#include "qorcpp/export.hpp"

namespace qor::platform {

// The names in the directory at `path`, sorted by their bytes, without "." and "..". All texts are UTF-8. Thread: any.
// Throws: std::system_error "cannot list 'PATH'" with an errno value of the generic category; std::bad_alloc.
QORCPP_API std::vector<std::string> names_in_directory(const std::string& path);

} // namespace qor::platform

#endif
