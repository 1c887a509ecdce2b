#include "qorcpp/platform/module.hpp"

#include <dlfcn.h>
#include <link.h>

#include <filesystem>
#include <stdexcept>

namespace qor::platform {

std::string module_path_of(const void* address) {
    Dl_info info = {};
    void* found = nullptr;
    if (dladdr1(address, &info, &found, RTLD_DL_LINKMAP) == 0 || found == nullptr) {
        throw std::runtime_error("no module holds the given address");
    }
    // The program itself has no name there, and what it was called as need not be a path.
    const std::string name = static_cast<const link_map*>(found)->l_name;
    std::error_code code;
    const std::filesystem::path path = std::filesystem::canonical(name.empty() ? "/proc/self/exe" : name, code);
    return code ? name : path.string();
}

std::string module_directory_of(const void* address) {
    return std::filesystem::path(module_path_of(address)).parent_path().string();
}

std::string get_shared_library_search_path(const std::string& directory) {
    return directory;
}

std::string shared_library_file_name(const std::string& base_name) {
    return "lib" + base_name + ".so";
}

bool is_shared_library_file_name(std::string_view file_name) {
    return file_name.starts_with("lib") && file_name.ends_with(".so");
}

} // namespace qor::platform
