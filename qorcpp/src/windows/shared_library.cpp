#include "qorcpp/platform/shared_library.hpp"

#include <windows.h>

#include <utility>

#include "text.hpp"

namespace qor::platform {

namespace {

thread_local std::string last_error;

std::string text_of(DWORD number) {
    wchar_t* text = nullptr;
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                       nullptr, number, 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    if (length == 0) {
        return "system error " + std::to_string(number);
    }
    std::wstring_view message(text, length);
    while (!message.empty() && (message.back() == L'\n' || message.back() == L'\r')) {
        message.remove_suffix(1);
    }
    const std::string result = narrow(message);
    LocalFree(text);
    return result;
}

} // namespace

shared_library::shared_library(const std::string& path, load_mode) : path_(path) {
    // With an absolute path the libraries beside the file are found too.
    handle_ = LoadLibraryExW(widen(path).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (handle_ == nullptr) {
        load_error_ = text_of(GetLastError());
        last_error = load_error_;
    }
}

shared_library::shared_library(shared_library&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr)), path_(std::move(other.path_)),
      load_error_(std::move(other.load_error_)) {}

shared_library::~shared_library() {
    if (handle_ != nullptr) {
        FreeLibrary(static_cast<HMODULE>(handle_));
    }
}

void* shared_library::get_symbol(const std::string& name) const {
    if (handle_ == nullptr) {
        last_error = load_error_.empty() ? "the library is not loaded" : load_error_;
        return nullptr;
    }
    const FARPROC symbol = GetProcAddress(static_cast<HMODULE>(handle_), name.c_str());
    if (symbol == nullptr) {
        last_error = text_of(GetLastError());
    }
    return reinterpret_cast<void*>(symbol);
}

std::string get_last_error() {
    return last_error;
}

} // namespace qor::platform
