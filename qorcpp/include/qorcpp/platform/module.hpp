// Where the code lies that is running: by this the extractor finds its plug-ins.
//
// All paths are UTF-8. Thread: any.
#ifndef QORCPP_PLATFORM_MODULE_HPP
#define QORCPP_PLATFORM_MODULE_HPP

#include <string>
#include <string_view>

#include "qorcpp/export.hpp"

namespace qor::platform {

// The file of the library or program that `address`, code or data, belongs to: absolute, symbolic links resolved.
// Throws: std::runtime_error "no module holds the given address".
QORCPP_API std::string module_path_of(const void* address);

// The directory of that file.
QORCPP_API std::string module_directory_of(const void* address);

// The directory in which the plug-ins of a library in `directory` are looked for: the same one.
QORCPP_API std::string get_shared_library_search_path(const std::string& directory);

// "libx.so" for "x", or what the platform makes of it.
QORCPP_API std::string shared_library_file_name(const std::string& base_name);

// Whether a file name without directory has the form of the platform's shared libraries: "lib*.so".
QORCPP_API bool is_shared_library_file_name(std::string_view file_name);

// Each library and program has an anchor of its own, and so the functions below answer for the one that calls them:
// internal linkage keeps the loader from binding them to another library's.
static const char module_anchor = 0;

// The directory of the calling module. Not to be called from an inline function that several libraries share.
[[maybe_unused]] static std::string get_current_module_directory() {
    return module_directory_of(&module_anchor);
}

// The file of the calling module.
[[maybe_unused]] static std::string get_current_module_path() {
    return module_path_of(&module_anchor);
}

} // namespace qor::platform

#endif
