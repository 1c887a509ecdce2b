#include "qorcpp/platform/directory.hpp"

#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <system_error>

#include "text.hpp"

namespace qor::platform {

namespace {

[[noreturn]] void fail(DWORD number, const std::string& path) {
    const std::error_code code(static_cast<int>(number), std::system_category());
    const std::error_condition condition = code.default_error_condition();
    const int value = condition.category() == std::generic_category() ? condition.value() : EIO;
    throw std::system_error(value, std::generic_category(), "cannot list '" + path + "'");
}

struct search_closer {
    using pointer = HANDLE;
    void operator()(HANDLE search) const noexcept { FindClose(search); }
};

} // namespace

std::vector<std::string> names_in_directory(const std::string& path) {
    WIN32_FIND_DATAW entry = {};
    const HANDLE found = FindFirstFileW((widen(path) + L"\\*").c_str(), &entry);
    if (found == INVALID_HANDLE_VALUE) {
        fail(GetLastError(), path);
    }
    const std::unique_ptr<HANDLE, search_closer> search(found);
    std::vector<std::string> names;
    do {
        const std::wstring_view name = entry.cFileName;
        if (name != L"." && name != L"..") {
            names.push_back(narrow(name));
        }
    } while (FindNextFileW(search.get(), &entry));
    if (const DWORD number = GetLastError(); number != ERROR_NO_MORE_FILES) {
        fail(number, path);
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace qor::platform
