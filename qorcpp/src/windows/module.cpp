#include "qorcpp/platform/module.hpp"

#include <windows.h>

#include <filesystem>
#include <stdexcept>

#include "text.hpp"

namespace qor::platform {

namespace {

std::wstring file_of(HMODULE module) {
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0) {
            throw std::runtime_error("no module holds the given address");
        }
        if (length < path.size()) {
            path.resize(length);
            return path;
        }
        path.resize(path.size() * 2);
    }
}

std::filesystem::path resolved_file_of(const void* address) {
    HMODULE module = nullptr;
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            static_cast<LPCWSTR>(address), &module)) {
        throw std::runtime_error("no module holds the given address");
    }
    const std::filesystem::path file = file_of(module);
    std::error_code code;
    const std::filesystem::path resolved = std::filesystem::canonical(file, code);
    return code ? file : resolved;
}

} // namespace

std::string module_path_of(const void* address) {
    return narrow(resolved_file_of(address).native());
}

std::string module_directory_of(const void* address) {
    return narrow(resolved_file_of(address).parent_path().native());
}

std::string get_shared_library_search_path(const std::string& directory) {
    return directory;
}

std::string shared_library_file_name(const std::string& base_name) {
    return base_name + ".dll";
}

bool is_shared_library_file_name(std::string_view file_name) {
    return file_name.ends_with(".dll");
}

} // namespace qor::platform
