#include "qorcpp/platform/file_identity.hpp"

#include <windows.h>

#include <string_view>

#include "text.hpp"

namespace qor::platform {

namespace {

std::optional<file_identity> identify_handle(HANDLE handle) {
    BY_HANDLE_FILE_INFORMATION information{};
    if (handle == INVALID_HANDLE_VALUE || handle == nullptr) {
        return std::nullopt;
    }
    if (GetFileType(handle) != FILE_TYPE_DISK || GetFileInformationByHandle(handle, &information) == 0) {
        return file_identity{0, reinterpret_cast<std::uintptr_t>(handle), {}, false};
    }
    return file_identity{information.dwVolumeSerialNumber,
                         std::uint64_t{information.nFileIndexHigh} << 32 | information.nFileIndexLow,
                         {},
                         (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0};
}

// A folder too. Links are followed.
std::optional<file_identity> identify_existing(const std::wstring& path) {
    const HANDLE handle = CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    const std::optional<file_identity> identity = identify_handle(handle);
    if (handle != INVALID_HANDLE_VALUE) {
        CloseHandle(handle);
    }
    return identity;
}

} // namespace

std::optional<file_identity> identify_file(const std::string& path) {
    const std::wstring wide = widen(path);
    if (const auto identity = identify_existing(wide)) {
        return identity;
    }
    const auto end_of_folder = wide.find_last_of(L"\\/:") + 1; // 0 when there is none
    auto identity = identify_existing(end_of_folder == 0 ? L"." : wide.substr(0, end_of_folder));
    if (identity) {
        std::wstring name = wide.substr(end_of_folder);
        // Names that differ in case only are one.
        CharLowerBuffW(name.data(), static_cast<DWORD>(name.size()));
        identity->name = narrow(name);
        identity->is_regular = true;
    }
    return identity;
}

std::optional<file_identity> identify_standard_input() {
    return identify_handle(GetStdHandle(STD_INPUT_HANDLE));
}

std::optional<file_identity> identify_standard_output() {
    return identify_handle(GetStdHandle(STD_OUTPUT_HANDLE));
}

} // namespace qor::platform
