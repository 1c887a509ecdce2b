#include "qorcpp/platform/shared_library.hpp"

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "qorcpp/src/library_file.hpp"

namespace qor::platform {

namespace {

// The loader forgets its text when it was read once or the next call succeeds. Of a type without a destructor: the C
// library ends the process when it has no memory to note one for a thread.
thread_local std::array<char, 1024> last_error{};

void set_last_error(const char* text) noexcept {
    const std::size_t length = std::min(std::strlen(text), last_error.size() - 1);
    std::memcpy(last_error.data(), text, length);
    last_error[length] = '\0';
}

const char* take_loader_error() noexcept {
    const char* const text = dlerror();
    return text != nullptr ? text : "unknown loader error";
}

} // namespace

shared_library::shared_library(const std::string& path, load_mode) : path_(path) {
    // The loader would take the empty path for the program itself.
    if (path.empty()) {
        load_error_ = "no library file given";
    } else {
        // A name without a directory is looked for by the loader.
        if (path.find('/') != std::string::npos) {
            runtime::check_library_is_whole(path);
        }
        handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (handle_ == nullptr) {
            load_error_ = take_loader_error();
        }
    }
    if (handle_ == nullptr) {
        set_last_error(load_error_.c_str());
    }
}

shared_library::shared_library(shared_library&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr)), path_(std::move(other.path_)),
      load_error_(std::move(other.load_error_)) {}

shared_library::~shared_library() {
    if (handle_ != nullptr) {
        dlclose(handle_);
    }
}

void* shared_library::get_symbol(const std::string& name) const {
    if (handle_ == nullptr) {
        set_last_error(load_error_.empty() ? "the library is not loaded" : load_error_.c_str());
        return nullptr;
    }
    void* const symbol = dlsym(handle_, name.c_str());
    if (symbol == nullptr) {
        set_last_error(take_loader_error());
    }
    return symbol;
}

std::string get_last_error() {
    return last_error.data();
}

} // namespace qor::platform
